#pragma once

#include <QDialog>

class QCheckBox;
class KVButton;

/// The offer, on a first start, to add Quillarc to the desktop's application
/// menu and make it the handler of quillarc:// links, with "do not ask again".
class InstallOfferDialog : public QDialog
{
    Q_OBJECT

public:
    explicit InstallOfferDialog(QWidget* parent = nullptr);

    bool doNotAskAgain() const;
    QCheckBox* doNotAskBox() const { return m_doNotAsk; }
    KVButton* installButton() const { return m_install; }
    KVButton* laterButton() const { return m_later; }

private:
    QCheckBox* m_doNotAsk;
    KVButton* m_install;
    KVButton* m_later;
};
