#include "intake/PlainTextReader.h"

#include "intake/TextDecoding.h"
#include "text/Logging.h"

#include <QFile>
#include <QFileInfo>

QString PlainTextReader::extract(const QString& path) const
{
    QFile file(path);
    QString error;
    QString text;
    if (!file.open(QIODevice::ReadOnly)) {
        error = QStringLiteral("The file “%1” couldn’t be opened: %2")
                    .arg(QFileInfo(path).fileName(), file.errorString());
    } else if (file.size() > kMaximumFileSize) {
        error = QStringLiteral("The file “%1” is too large to be read as text.").arg(QFileInfo(path).fileName());
    } else {
        QString decodeError;
        text = extractFromData(file.readAll(), &decodeError);
        if (!decodeError.isEmpty())
            error = QStringLiteral("The file “%1” couldn’t be opened. %2").arg(QFileInfo(path).fileName(), decodeError);
    }
    if (!error.isEmpty())
        qCWarning(lcQuillarc, "encError: %s", qUtf8Printable(error));
    return text;
}

QString PlainTextReader::extractFromData(const QByteArray& bytes, QString* error)
{
    QString text;
    QString decodeError;
    if (!TextDecoding::decodeDetected(bytes, &text, &decodeError)) {
        if (error)
            *error = decodeError;
        return {};
    }
    return text;
}
