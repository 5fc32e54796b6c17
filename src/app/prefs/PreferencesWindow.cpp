#include "app/prefs/PreferencesWindow.h"

#include "app/i18n/Localizer.h"
#include "app/prefs/PreferenceForm.h"
#include "app/prefs/PreferencePageButton.h"
#include "app/prefs/PreferencePages.h"
#include "app/style/Icons.h"
#include "controls/KVSeparator.h"
#include "model/QuillarcContainer.h"
#include "store/Document.h"
#include "text/KVLocalizationDictionary.h"

#include <QEvent>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QScreen>
#include <QStackedWidget>
#include <QVBoxLayout>

PreferencesWindow::PreferencesWindow(QWidget* parent)
    : QWidget(parent, Qt::Window | Qt::WindowTitleHint | Qt::WindowCloseButtonHint | Qt::CustomizeWindowHint)
{
    setObjectName(QStringLiteral("Preferences"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);

    auto* bar = new QHBoxLayout;
    bar->setContentsMargins(12, 8, 12, 8);
    bar->setSpacing(2);
    bar->addStretch(1);
    const auto& infos = PreferencePages::pageInfos();
    for (int index = 0; index < pageCount; ++index) {
        const auto& info = infos[size_t(index)];
        auto* button = new PreferencePageButton(
            index, QString::fromLatin1(info.titleKey), QString::fromLatin1(info.toolTipKey), this);
        button->setIcon(Icons::icon(QString::fromLatin1(info.iconName)));
        connect(button, &QAbstractButton::clicked, this, &PreferencesWindow::selectViewAction);
        bar->addWidget(button);
        m_prefButtons[size_t(index)] = button;
    }
    bar->addStretch(1);
    layout->addLayout(bar);

    layout->addWidget(new KVSeparator(Qt::Horizontal, this));

    // The pages stay on the window colour so that text fields stand out from them in both themes.
    m_tabView = new QStackedWidget(this);
    m_tabView->setObjectName(QStringLiteral("tabView"));
    m_pages = new PreferencePages(m_tabView);
    for (PreferenceForm* form : m_pages->forms())
        m_tabView->addWidget(form);
    layout->addWidget(m_tabView, 1);

    // A change of the title on the Archive page retitles the window at once.
    connect(m_pages, &PreferencePages::edited, this, [this](const QString& key) {
        if (key == QLatin1String("containerTitle"))
            updateTitle();
    });
    connect(Localizer::instance(), &Localizer::relocalized, this, [this] {
        viewActions();
        fitToTexts();
    });

    Localizer::localize(this);
    selectViewWithIndex(0);
    updateTitle();
    fitToTexts();
    resize(sizeHint());
}

void PreferencesWindow::fitToTexts()
{
    int width = 0;
    for (const PreferenceForm* form : m_pages->forms())
        width = qMax(width, form->labelColumnWidth());
    for (PreferenceForm* form : m_pages->forms())
        form->setLabelColumnWidth(width);
    setMinimumSize(sizeHint());
}

QAbstractButton* PreferencesWindow::prefButton(int index) const
{
    return index >= 0 && index < pageCount ? m_prefButtons[size_t(index)] : nullptr;
}

void PreferencesWindow::setMainDocument(Document* document)
{
    if (document == m_mainDocument)
        return;
    disconnect(m_documentConnection);
    m_mainDocument = document;
    // The archive's first change after a save is a cheap moment to follow a
    // title edited in the archive window while this window stays open.
    if (document)
        m_documentConnection = connect(document, &Document::editedChanged, this, &PreferencesWindow::updateTitle);
    m_pages->setDocument(document);
    updateTitle();
}

Document* PreferencesWindow::mainDocument() const
{
    return m_mainDocument;
}

void PreferencesWindow::viewActions()
{
    updateTitle();
    m_pages->refresh();
}

void PreferencesWindow::updateTitle()
{
    const ContainerPtr container = m_mainDocument ? m_mainDocument->container() : nullptr;
    const QString title = container ? container->containerTitle() : QString();
    setWindowTitle(QStringLiteral("%1 (%2)").arg(localizedString(QStringLiteral("PREFERENCES_WINDOW")), title));
}

void PreferencesWindow::selectViewAction()
{
    if (const auto* button = qobject_cast<const PreferencePageButton*>(sender()))
        selectViewWithIndex(button->tag());
}

void PreferencesWindow::selectViewWithIndex(int index)
{
    m_viewIndex = index;
    for (PreferencePageButton* button : m_prefButtons)
        button->setEnabled(true);
    // A stack asked for a page it does not have keeps the page it shows.
    m_tabView->setCurrentIndex(index);
    m_prefButtons[size_t(index >= 0 && index < pageCount ? index : 0)]->setEnabled(false);
}

void PreferencesWindow::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    if (!m_centred) {
        m_centred = true;
        centreOnScreen();
    }
    // The values may have changed elsewhere since the window was last shown.
    viewActions();
}

void PreferencesWindow::changeEvent(QEvent* event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::ActivationChange && isActiveWindow())
        viewActions();
}

void PreferencesWindow::centreOnScreen()
{
    const QWidget* owner = parentWidget() ? parentWidget()->window() : nullptr;
    QScreen* screen = owner ? owner->screen() : QGuiApplication::primaryScreen();
    if (!screen)
        return;
    QRect frame = frameGeometry();
    frame.moveCenter(screen->availableGeometry().center());
    move(frame.topLeft());
}
