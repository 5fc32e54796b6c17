#pragma once

#include <QWidget>

class Document;
class QLabel;

/// The archive's integrity state as the window shows it: the state line of
/// the last validation (Document::integrityString) with its mark, following
/// every change of it. Hidden until a validation has said something; a click
/// asks for the information popover.
class IntegrityStatusLabel : public QWidget
{
    Q_OBJECT

public:
    explicit IntegrityStatusLabel(Document* archive, QWidget* parent = nullptr);

    QString text() const;

Q_SIGNALS:
    void clicked();

protected:
    void mouseReleaseEvent(QMouseEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void showState(const QString& text);

    Document* m_archive;
    QLabel* m_icon;
    QLabel* m_text;
};
