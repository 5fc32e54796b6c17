#pragma once

#include <QSortFilterProxyModel>

/// Shows the rows of a KVLocalizerModel whose key or any text contains the
/// filter text, ignoring case and diacritics ("uberprufen" finds "Überprüfen",
/// "strasse" finds "Straße"). An empty filter shows every row.
class KVLocalizerFilterModel : public QSortFilterProxyModel
{
    Q_OBJECT

public:
    explicit KVLocalizerFilterModel(QObject* parent = nullptr);

    QString filterText() const { return m_filterText; }
    void setFilterText(const QString& text);

protected:
    bool filterAcceptsRow(int sourceRow, const QModelIndex& sourceParent) const override;

private:
    QString m_filterText;
    QString m_folded;
};
