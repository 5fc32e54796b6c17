#include "intake/FileCopy.h"

#include "model/QuillarcDocument.h"
#include "model/QuillarcPreferences.h"
#include "store/ArchivedFile.h"
#include "store/AtomicFile.h"
#include "store/Document.h"
#include "store/ExtendedAttributes.h"
#include "text/Logging.h"

#include <QDir>
#include <QFileInfo>
#include <QTimer>

FileCopy::FileCopy(QObject* parent)
    : QObject(parent)
{
}

FileCopy::Result FileCopy::createFileCopy(const DocumentPtr& record, const QString& folder)
{
    if (!record) {
        m_errorString = noFileErrorText();
        return Result::NoFile;
    }
    return createFileCopyAtPath(record, QDir(folder).filePath(record->fileCopyName()));
}

FileCopy::Result FileCopy::createFileCopyAtPath(const DocumentPtr& record, const QString& filePath)
{
    m_filePath.clear();
    const QString member = record ? ArchivedFile::fileURL(*record) : QString();
    if (member.isEmpty() || !QFileInfo(member).isFile()) {
        m_errorString = noFileErrorText();
        return Result::NoFile;
    }
    if (ArchivedFile::isFileCorrupted(*record)) {
        m_errorString = fileCorruptedErrorText();
        return Result::Corrupted;
    }
    const QByteArray bytes = ArchivedFile::fileData(*record);

    // A copy that stops half-way must not look like a finished one.
    if (!AtomicFile::writeFile(filePath, bytes, &m_errorString))
        return Result::WriteFailed;
    m_filePath = QFileInfo(filePath).absoluteFilePath();
    m_errorString.clear();

    const Document* archive = record->document();
    if (archive && archive->preferences() && archive->preferences()->writeFinderTags()) {
        ++m_pending;
        const QString written = m_filePath;
        // Later on the main loop, after the copy has settled where the user put it.
        QTimer::singleShot(attributesDelay, this, [this, record, written] {
            --m_pending;
            writeAttributes(record, written);
        });
    }
    return Result::Written;
}

void FileCopy::writeAttributes(const DocumentPtr& record, const QString& filePath)
{
    QString error;
    bool ok = ExtendedAttributes::writeTags(filePath, record->tags(), &error);
    if (!ok) {
        qCWarning(lcQuillarc).noquote() << QStringLiteral("NSURLTagNamesKey.Error: %1").arg(error);
        qCWarning(lcQuillarc).noquote() << QStringLiteral("ERRORwritingTags!");
    }
    // A record without a comment still writes one: the text "(null)", as a
    // formatted nil reads.
    const Value& comment = record->field(QuillarcDocument::Comment);
    const QString text = comment.isNil() ? QStringLiteral("(null)") : comment.toString();
    const bool commentWritten = ExtendedAttributes::writeComment(filePath, text, &error);
    qCInfo(lcQuillarc).noquote() << QStringLiteral("setxattr:%1").arg(commentWritten ? 0 : -1);
    Q_EMIT attributesWritten(filePath, ok && commentWritten);
}
