#include "cli/CliCommand.h"
#include "intake/ContentExtractor.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>

namespace {

const char* const kName = "extract";

int runExtract(const QStringList& arguments)
{
    if (cliWantsHelp(kName, arguments))
        return ExitOk;
    ExtractionOptions options;
    bool json = false;
    QString path;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString& argument = arguments.at(i);
        if (argument == QLatin1String("--fast")) {
            options.ocrPrioritiseAccuracy = false;
        } else if (argument == QLatin1String("--json")) {
            json = true;
        } else if (argument == QLatin1String("--ocr-language")) {
            bool ok = false;
            const int kind = i + 1 < arguments.size() ? arguments.at(++i).toInt(&ok) : -1;
            if (!ok || kind < 0 || kind > 2)
                return cliFail(kName,
                    QStringLiteral("--ocr-language takes 0 (default: German and English), 1 (English) or 2 (German)"));
            options.ocrLanguageKind = kind;
        } else if (argument.startsWith(QLatin1String("--"))) {
            return cliFail(kName, QStringLiteral("unknown option %1").arg(argument));
        } else if (path.isEmpty()) {
            path = argument;
        } else {
            return cliFail(kName, QStringLiteral("one file at a time"));
        }
    }
    if (path.isEmpty())
        return cliFail(kName, QStringLiteral("no file given"));
    const QFileInfo info(path);
    if (!info.isFile())
        return cliFail(kName, QStringLiteral("%1: no such file").arg(path));

    // The extension as a record stores it: after the last dot, case as on disk.
    const QString text = contenStringFromURL(info.absoluteFilePath(), info.suffix(), options);
    if (json) {
        const QByteArray array = QJsonDocument(QJsonArray { text }).toJson(QJsonDocument::Compact);
        cliOut(QString::fromUtf8(array.mid(1, array.size() - 2)) + QLatin1Char('\n'));
    } else {
        cliOut(text);
    }
    return ExitOk;
}

const CliCommandRegistration registration({
    kName,
    "extract FILE [--ocr-language 0|1|2] [--fast] [--json]",
    "print the text an archive would extract from FILE (text layer, readers or OCR)",
    runExtract,
});

} // namespace
