#include "app/core/InstallOfferDialog.h"

#include "app/i18n/Localizer.h"
#include "app/style/AppFonts.h"
#include "controls/KVButton.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QIcon>
#include <QLabel>
#include <QVBoxLayout>

InstallOfferDialog::InstallOfferDialog(QWidget* parent)
    : QDialog(parent)
    , m_doNotAsk(new QCheckBox(QStringLiteral("INSTALL_OFFER_DONT_ASK"), this))
    , m_install(new KVButton(QStringLiteral("INSTALL_OFFER_INSTALL"), this))
    , m_later(new KVButton(QStringLiteral("INSTALL_OFFER_LATER"), this))
{
    setObjectName(QStringLiteral("InstallOfferDialog"));
    setWindowTitle(QStringLiteral("INSTALL_OFFER_WINDOW"));
    setModal(true);

    auto* icon = new QLabel(this);
    icon->setPixmap(QIcon(QStringLiteral(":/icons/quillarc.svg")).pixmap(QSize(64, 64)));
    icon->setAlignment(Qt::AlignTop);
    auto* title = new QLabel(QStringLiteral("INSTALL_OFFER_TITLE"), this);
    title->setFont(AppFonts::archiveFont(13, true));
    title->setWordWrap(true);
    auto* text = new QLabel(QStringLiteral("INSTALL_OFFER_TEXT"), this);
    text->setWordWrap(true);
    text->setMinimumWidth(380);

    m_install->setDefault(true);
    connect(m_install, &KVButton::clicked, this, &QDialog::accept);
    connect(m_later, &KVButton::clicked, this, &QDialog::reject);

    auto* texts = new QVBoxLayout;
    texts->setSpacing(8);
    texts->addWidget(title);
    texts->addWidget(text);
    texts->addSpacing(6);
    texts->addWidget(m_doNotAsk);
    auto* top = new QHBoxLayout;
    top->setSpacing(16);
    top->addWidget(icon);
    top->addLayout(texts, 1);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(m_later);
    buttons->addWidget(m_install);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(20, 20, 20, 16);
    layout->setSpacing(16);
    layout->addLayout(top);
    layout->addLayout(buttons);

    Localizer::localize(this);
}

bool InstallOfferDialog::doNotAskAgain() const
{
    return m_doNotAsk->isChecked();
}
