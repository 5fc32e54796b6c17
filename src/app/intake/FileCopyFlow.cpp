#include "app/intake/FileCopyFlow.h"

#include "app/util/FileDialog.h"
#include "app/util/MessageBox.h"
#include "app/util/Task.h"
#include "app/window/MainView.h"
#include "intake/FileCopy.h"
#include "model/QuillarcDocument.h"
#include "store/ArchivedFile.h"
#include "text/KVLocalizationDictionary.h"

#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

FileCopyFlow::FileCopyFlow(MainView* view)
    : QObject(view)
    , m_view(view)
    , m_copy(std::make_unique<FileCopy>())
{
}

FileCopyFlow::~FileCopyFlow() = default;

void FileCopyFlow::showError(const QString& text)
{
    MessageBox::alert(m_view->window(), MessageBox::Icon::Critical, localizedString(QStringLiteral("Error!")),
        localizedString(text), { localizedString(QStringLiteral("OK")) });
}

void FileCopyFlow::createFileCopy()
{
    const DocumentPtr record = m_view->currentDocument();
    if (!record) {
        MessageBox::beep();
        return;
    }
    // Checking the fingerprint reads the whole member: off the main thread.
    Task::run(
        this,
        [record] {
            const QString member = ArchivedFile::fileURL(*record);
            if (member.isEmpty() || !QFileInfo(member).isFile())
                return FileCopy::Result::NoFile;
            return ArchivedFile::isFileCorrupted(*record) ? FileCopy::Result::Corrupted : FileCopy::Result::Written;
        },
        [this, record](FileCopy::Result check) {
            if (check == FileCopy::Result::NoFile) {
                showError(FileCopy::noFileErrorText());
                return;
            }
            if (check == FileCopy::Result::Corrupted) {
                showError(FileCopy::fileCorruptedErrorText());
                return;
            }
            FileDialog::Options options;
            options.title = localizedString(QStringLiteral("Export File Copy"));
            options.proposedName = record->fileCopyName();
            options.directory = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
            FileDialog::saveFile(m_view->window(), options, [this, record](const QString& path) {
                if (path.isEmpty())
                    return;
                const FileCopy::Result result = m_copy->createFileCopyAtPath(record, path);
                if (result == FileCopy::Result::Written) {
                    Q_EMIT copyWritten(m_copy->filePath());
                } else if (result == FileCopy::Result::NoFile) {
                    showError(FileCopy::noFileErrorText());
                } else if (result == FileCopy::Result::Corrupted) {
                    showError(FileCopy::fileCorruptedErrorText());
                } else {
                    MessageBox::alert(m_view->window(), MessageBox::Icon::Critical,
                        localizedString(QStringLiteral("Error!")),
                        QStringLiteral("%1: %2").arg(QDir::toNativeSeparators(path), m_copy->errorString()),
                        { localizedString(QStringLiteral("OK")) });
                }
            });
        });
}
