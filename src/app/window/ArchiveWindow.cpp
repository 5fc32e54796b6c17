#include "app/window/ArchiveWindow.h"

#include "app/core/Delays.h"
#include "app/popover/PopoverPresenter.h"
#include "app/prefs/PreferencesWindow.h"
#include "app/style/ThemeManager.h"
#include "app/window/ArchiveCommands.h"
#include "app/window/ArchiveSaving.h"
#include "app/window/MainView.h"
#include "app/window/Menus.h"
#include "app/window/TitleStrip.h"
#include "app/window/ViewTransition.h"
#include "app/window/WelcomeDuration.h"
#include "app/window/WelcomeView.h"
#include "controls/TessaryBeachBallView.h"
#include "model/QuillarcContainer.h"
#include "model/QuillarcPreferences.h"
#include "store/Document.h"
#include "text/KVLocalizationDictionary.h"

#include <QCloseEvent>
#include <QFileInfo>
#include <QGuiApplication>
#include <QScreen>
#include <QStackedWidget>
#include <QTimer>
#include <QToolButton>
#include <QVBoxLayout>

ArchiveWindow::ArchiveWindow(Document* document, QWidget* parent)
    : QMainWindow(parent)
{
    setObjectName(QStringLiteral("ArchiveWindow"));
    // No file name in the title: only the edited mark, which Qt shows in place of "[*]".
    setWindowTitle(QStringLiteral("[*]"));
    resize(1120, 720);
    setMinimumSize(860, 540);

    auto* central = new QWidget(this);
    auto* layout = new QVBoxLayout(central);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    m_titlebarView = new TitleStrip(central);
    m_docView = new QStackedWidget(central);
    m_docView->setObjectName(QStringLiteral("docView"));
    m_docView->addWidget(new QWidget(m_docView)); // empty until the welcome screen comes
    layout->addWidget(m_titlebarView);
    layout->addWidget(m_docView, 1);
    setCentralWidget(central);

    attachDocument(document);
    m_saving = new ArchiveSaving(this);
    m_commands = new ArchiveCommands(this);
    m_popovers = new PopoverPresenter(this);
    m_menus = new Menus(this);

    connect(m_saving, &ArchiveSaving::closeDecided, this, &ArchiveWindow::finishClose);
    connect(m_titlebarView, &TitleStrip::infoRequested, this,
        [this] { m_popovers->showInfoWithTag(0, m_titlebarView->infoButton()); });
}

ArchiveWindow::~ArchiveWindow() = default;

void ArchiveWindow::attachDocument(Document* document)
{
    if (m_document) {
        disconnect(m_document, nullptr, this, nullptr);
        delete m_document;
    }
    m_document = document;
    document->setParent(this);
    connect(document, &Document::editedChanged, this, [this](bool edited) {
        if (edited)
            updateChangeCount(ChangeType::Done);
    });
    connect(document, &Document::changed, this, &ArchiveWindow::refreshTitle);
    // The archive's preferences decide some commands (set-up done).
    connect(document, &Document::changed, this, &ArchiveWindow::commandStateChanged);
}

void ArchiveWindow::beginLoading(const QString& packagePath)
{
    m_loadingPath = packagePath;
    m_titlebarView->setTitle(QFileInfo(packagePath).completeBaseName());
    auto* spinner = new TessaryBeachBallView;
    auto* page = new QWidget(m_docView);
    auto* layout = new QVBoxLayout(page);
    layout->addWidget(spinner, 0, Qt::AlignCenter);
    m_docView->addWidget(page);
    m_docView->setCurrentWidget(page);
    spinner->startAnimation();
}

void ArchiveWindow::adoptDocument(Document* document)
{
    m_loadingPath.clear();
    attachDocument(document);
    m_docView->setCurrentIndex(0);
}

void ArchiveWindow::windowControllerDidLoadNib()
{
    QTimer::singleShot(Delays::ms(9), this, &ArchiveWindow::checkForUpdates);
    m_hasController = true;
    setupViews();

    // A new archive has no preferences yet, so it starts without the timer.
    if (const auto preferences = m_document->preferences(); preferences && preferences->autoSaveBOOL())
        m_saving->startAutoSaveTimer();

    // Validation allowed for an archive read from its package, initial data
    // for a new one; the files folder and parents; the change count cleared.
    const bool isNew = !m_document->isInitialDataCreated();
    m_document->setUpAfterReading();
    if (isNew && screen()) {
        const QRect available = screen()->availableGeometry();
        move(available.center() - rect().center());
    }
    m_isDataLoaded = true;
    updateChangeCount(ChangeType::Cleared);
    // The application font for the user: "WriteSans" maps to Inter (or DejaVu Sans).
    ThemeManager::applyFonts();
    refreshTitle();
}

bool ArchiveWindow::isUntitled() const
{
    return !isLoading() && m_document->packagePath().isEmpty();
}

QString ArchiveWindow::archiveTitle() const
{
    const auto container = m_document->container();
    const QString title = container ? container->containerTitle() : QString();
    return title.isEmpty() ? localizedString(QStringLiteral("Untitled")) : title;
}

void ArchiveWindow::refreshTitle()
{
    m_titlebarView->setTitle(archiveTitle());
}

void ArchiveWindow::updateChangeCount(ChangeType change)
{
    if (!m_hasController)
        return;
    bool dirty = m_isDirty;
    switch (change) {
    case ChangeType::Done:
    case ChangeType::Undone:
    case ChangeType::Redone:
    case ChangeType::ReadOtherContents:
        dirty = true;
        break;
    case ChangeType::Autosaved:
        dirty = false;
        break;
    case ChangeType::Cleared:
    case ChangeType::Discardable:
        return;
    }
    m_isDirty = dirty;
    setWindowModified(dirty);
    m_titlebarView->setEdited(dirty);
    refreshTitle();
    Q_EMIT dirtyChanged(dirty);
}

void ArchiveWindow::setupViews()
{
    setBackgroundRole(QPalette::Base);
    QTimer::singleShot(Delays::ms(0.7), this, &ArchiveWindow::showWelcomeView);
}

void ArchiveWindow::swapInto(QWidget* view, QWidget* toolbar, bool zoom)
{
    ViewTransition::swap(
        m_docView, view, zoom ? ViewTransition::Kind::Zoom : ViewTransition::Kind::Fade, Delays::ms(0.35));
    m_titlebarView->setToolbar(toolbar);
}

void ArchiveWindow::showWelcomeView()
{
    if (m_welcomeView || m_mainView)
        return;
    m_welcomeView = new WelcomeView(m_document, m_docView);
    swapInto(m_welcomeView, m_welcomeView->toolbarView(), false);
    m_welcomeView->setProgress(0.01);
    m_welcomeView->setBusy(true);
    doTheEndWelcome();
}

void ArchiveWindow::doTheEndWelcome()
{
    const auto preferences = m_document->preferences();
    const bool setupDone = preferences && preferences->isSetupDone();
    const double duration = WelcomeDuration::durationOverride().value_or(
        double(WelcomeDuration::duration(setupDone, WelcomeDuration::randomSource())));

    m_tickTimer = new QTimer(this);
    m_tickTimer->setInterval(qMax(1, Delays::ms(duration / 100.0)));
    connect(m_tickTimer, &QTimer::timeout, this, [this] {
        // Once the bar is full further ticks change nothing: stop waking up.
        if (!m_welcomeView || m_welcomeView->progress() >= 1.0) {
            m_tickTimer->stop();
            return;
        }
        m_welcomeView->uiTimerFired();
    });
    m_tickTimer->start();
    QTimer::singleShot(Delays::ms(duration), this, &ArchiveWindow::endWelcome);
}

void ArchiveWindow::endWelcome()
{
    if (m_mainView)
        return;
    Q_EMIT welcomeEnding();
    if (m_welcomeView)
        m_welcomeView->setBusy(false);
    m_mainView = new MainView(m_document, m_docView);
    QPointer<MainView> mainView = m_mainView;
    m_document->setSelectionProvider([mainView]() -> std::pair<qint64, qint64> {
        return mainView ? mainView->selectionIndexes() : std::pair<qint64, qint64>(-1, -1);
    });
    connect(m_mainView, &MainView::selectionChanged, this, &ArchiveWindow::commandStateChanged);
    swapInto(m_mainView, m_mainView->toolbarView(), true);
    m_mainView->viewActions();
    m_isMainViewLoaded = true;
    Q_EMIT mainViewLoaded();
    Q_EMIT commandStateChanged();
}

void ArchiveWindow::showPreferencesWindow()
{
    // Made on first use and kept for the archive's life; it goes with the window.
    if (!m_preferencesWindow) {
        m_preferencesWindow = new PreferencesWindow(this);
        m_preferencesWindow->setWindowFlag(Qt::Window);
    }
    m_preferencesWindow->setMainDocument(document());
    m_preferencesWindow->viewActions();
    m_preferencesWindow->show();
    m_preferencesWindow->raise();
    m_preferencesWindow->activateWindow();
}

PreferencesWindow* ArchiveWindow::preferencesWindow() const
{
    return m_preferencesWindow;
}

void ArchiveWindow::bringToFront()
{
    if (isMinimized())
        showNormal();
    else
        show();
    raise();
    activateWindow();
}

void ArchiveWindow::closeEvent(QCloseEvent* event)
{
    // An archive still being read has nothing to save yet.
    if (m_closeApproved || isLoading()) {
        m_popovers->closePopover();
        QMainWindow::closeEvent(event);
        Q_EMIT closed(this);
        deleteLater();
        return;
    }
    // Every close saves first; the window goes once that save has completed.
    event->ignore();
    if (m_closePending)
        return;
    m_closePending = true;
    m_saving->shouldCloseWindow();
}

void ArchiveWindow::finishClose(bool approved)
{
    m_closePending = false;
    if (!approved) {
        Q_EMIT closeCancelled(this);
        return;
    }
    m_closeApproved = true;
    close();
}

void ArchiveWindow::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::ActivationChange)
        Q_EMIT commandStateChanged();
    QMainWindow::changeEvent(event);
}
