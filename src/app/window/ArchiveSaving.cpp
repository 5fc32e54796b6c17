#include "app/window/ArchiveSaving.h"

#include "app/core/Delays.h"
#include "app/util/MessageBox.h"
#include "app/window/ArchiveWindow.h"
#include "model/QuillarcContainer.h"
#include "model/QuillarcPreferences.h"
#include "store/Document.h"
#include "text/KVLocalizationDictionary.h"
#include "text/Logging.h"
#include "text/StringHelpers.h"

#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>
#include <QTimer>

namespace {
const QString packageSuffix = QStringLiteral(".quillarc");

QString key(const char* text)
{
    return QString::fromUtf8(text);
}
} // namespace

ArchiveSaving::ArchiveSaving(ArchiveWindow* window)
    : QObject(window)
    , m_window(window)
{
}

void ArchiveSaving::saveDocument(Done done, bool alertOnFailure)
{
    if (m_window->isUntitled()) {
        saveDocumentAs(std::move(done), alertOnFailure);
        return;
    }
    saveTo(m_window->document()->packagePath(), std::move(done), alertOnFailure);
}

void ArchiveSaving::saveDocumentAs(Done done, bool alertOnFailure)
{
    if (!m_window->isUntitled()) {
        // An archive is one folder with its archived files: it is never saved a second time elsewhere.
        saveDocument(std::move(done), alertOnFailure);
        return;
    }
    FileDialog::Options options;
    options.title = localizedString(key("SAVE_PANEL_TITLE"));
    options.directory = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    options.nameFilters = { localizedString(key("ARCHIVE_FILE_FILTER")) + QStringLiteral(" (*.quillarc)") };
    options.defaultSuffix = packageSuffix.mid(1);
    prepareSavePanel(options);
    FileDialog::saveFile(
        m_window, options, [self = QPointer<ArchiveSaving>(this), done, alertOnFailure](const QString& chosen) {
            if (self)
                self->savePanelEnded(chosen, done, alertOnFailure);
        });
}

void ArchiveSaving::savePanelEnded(const QString& chosen, const Done& done, bool alertOnFailure)
{
    if (chosen.isEmpty()) {
        m_lastError.clear();
        if (done)
            done(false);
        return;
    }
    QString path = chosen;
    if (!path.endsWith(packageSuffix))
        path += packageSuffix;
    // Saving into an existing folder would replace another archive's database.
    if (QFileInfo::exists(path)) {
        m_lastError = QStringLiteral("%1: %2").arg(path, localizedString(key("SAVE_EXISTS_ALERT")));
        if (alertOnFailure) {
            MessageBox::alert(m_window, MessageBox::Icon::Warning, localizedString(key("SAVE_ERROR_TITLE")),
                m_lastError, { localizedString(key("OK")) });
        }
        if (done)
            done(false);
        return;
    }
    saveTo(path, done, alertOnFailure);
}

bool ArchiveSaving::prepareSavePanel(FileDialog::Options& options) const
{
    if (options.proposedName.isEmpty())
        options.proposedName = allowedPathString(defaultDraftName());
    return true;
}

QString ArchiveSaving::defaultDraftName() const
{
    const auto container = m_window->document()->container();
    return container ? container->containerTitle() : QString();
}

void ArchiveSaving::saveTo(const QString& packagePath, Done done, bool alertOnFailure)
{
    QPointer<ArchiveWindow> window = m_window;
    m_window->document()->saveToURL(
        packagePath, [this, window, packagePath, done, alertOnFailure](const QString& error) {
            if (!window)
                return;
            if (error.isEmpty()) {
                m_lastError.clear();
                // Changes made while the save was written are not in it: they keep the edited mark.
                window->updateChangeCount(window->document()->isDocumentEdited()
                        ? ArchiveWindow::ChangeType::Done
                        : ArchiveWindow::ChangeType::Autosaved);
                Q_EMIT saved(window->document()->packagePath());
                if (done)
                    done(true);
                return;
            }
            // The user is told where, not only why.
            const QString database = QDir(packagePath).filePath(QLatin1String(Document::databaseName));
            m_lastError = error.contains(packagePath) ? error : QStringLiteral("%1: %2").arg(database, error);
            if (alertOnFailure) {
                MessageBox::alert(window, MessageBox::Icon::Critical, localizedString(key("SAVE_ERROR_TITLE")),
                    m_lastError, { localizedString(key("OK")) });
            }
            if (done)
                done(false);
        });
}

void ArchiveSaving::startAutoSaveTimer()
{
    if (m_autoSaveTimer)
        return;
    m_autoSaveTimer = new QTimer(this);
    m_autoSaveTimer->setInterval(qMax(1, Delays::ms(360)));
    connect(m_autoSaveTimer, &QTimer::timeout, this, [this] {
        // A new archive has no place yet; asking for one every few minutes would interrupt the user.
        if (!m_window->isUntitled())
            saveDocument({}, false);
    });
    m_autoSaveTimer->start();
}

void ArchiveSaving::shouldCloseWindow()
{
    QTimer::singleShot(Delays::ms(0.36), this, [this] {
        Document* document = m_window->document();
        document->clearOpenMark();
        if (const auto preferences = document->preferences())
            preferences->setValue(QuillarcPreferences::ValidationPosssible, Value::boolean(true));
        saveDocument(
            [this](bool saved) {
                if (saved)
                    Q_EMIT closeDecided(true);
                else
                    askAfterFailedCloseSave();
            },
            false);
        m_window->updateChangeCount(ArchiveWindow::ChangeType::Done);
    });
}

void ArchiveSaving::askAfterFailedCloseSave()
{
    // A new archive whose save dialog was cancelled: keep it or let it go.
    if (m_window->isUntitled() && m_lastError.isEmpty()) {
        MessageBox::alert(m_window, MessageBox::Icon::Warning, localizedString(key("CLOSE_UNTITLED_TITLE")),
            localizedString(key("CLOSE_UNTITLED_TEXT")),
            { localizedString(key("Cancel")), localizedString(key("CLOSE_DISCARD_BUTTON")) },
            [self = QPointer<ArchiveSaving>(this)](int answer) {
                if (self) // the alert may outlive its window when the application ends
                    Q_EMIT self->closeDecided(answer == 1);
            });
        return;
    }
    qCWarning(lcQuillarc).noquote() << QStringLiteral("Closing without a save: %1").arg(m_lastError);
    MessageBox::alert(m_window, MessageBox::Icon::Critical, localizedString(key("CLOSE_SAVE_FAILED_TITLE")),
        m_lastError + QStringLiteral("\n\n") + localizedString(key("CLOSE_SAVE_FAILED_TEXT")),
        { localizedString(key("Cancel")), localizedString(key("CLOSE_WITHOUT_SAVING_BUTTON")) },
        [self = QPointer<ArchiveSaving>(this)](int answer) {
            if (self)
                Q_EMIT self->closeDecided(answer == 1);
        });
}
