#include "cli/CliArchive.h"
#include "cli/CliCommand.h"
#include "intake/BatchIntake.h"
#include "intake/DocumentIntake.h"
#include "model/QuillarcContainer.h"
#include "model/QuillarcDocument.h"
#include "model/QuillarcGroup.h"
#include "model/QuillarcPreferences.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <optional>
#include <unistd.h>

namespace {

struct AddOptions
{
    QString archivePath;
    QStringList files;
    QString groupTitle;
    std::optional<QStringList> tags;
    std::optional<QString> comment;
    std::optional<qint64> color;
    std::optional<bool> lock;
    std::optional<qint64> startNumber;
    bool force = false;
};

bool parseInteger(const QString& text, qint64* number)
{
    bool ok = false;
    *number = text.toLongLong(&ok);
    return ok;
}

/// The arguments as the file system's bytes, when the process's command line
/// still matches the arguments given (names need not be valid UTF-8).
QList<QByteArray> rawArguments(qsizetype expected)
{
    QFile cmdline(QStringLiteral("/proc/self/cmdline"));
    if (!cmdline.open(QIODevice::ReadOnly))
        return {};
    QList<QByteArray> parts = cmdline.readAll().split('\0');
    if (!parts.isEmpty() && parts.last().isEmpty())
        parts.removeLast();
    if (parts.size() != expected + 2)
        return {};
    return parts.mid(2);
}

/// A path the engine can open: the argument itself, or, for a name whose
/// bytes its text form cannot carry, a link with a text name to the file.
QString reachablePath(const QString& argument, const QByteArray& raw, QTemporaryDir& aliases)
{
    if (raw.isEmpty() || QFile::encodeName(argument) == raw || !aliases.isValid())
        return argument;
    QByteArray target = raw;
    if (!target.startsWith('/'))
        target = QFile::encodeName(QDir::currentPath()) + '/' + raw;
    const QString link = QDir(aliases.path())
                             .filePath(QString::number(qHash(raw)) + QLatin1Char('/') + QFileInfo(argument).fileName());
    QDir().mkpath(QFileInfo(link).absolutePath());
    if (::symlink(target.constData(), QFile::encodeName(link).constData()) != 0)
        return argument;
    return link;
}

QString describe(const DocumentPtr& record)
{
    const QString slip = record->slipNumber().isEmpty() ? QString() : QStringLiteral(" [%1]").arg(record->slipNumber());
    const QString stored
        = record->path().isEmpty() ? QStringLiteral(" (no member stored: the name is taken in Files/)") : QString();
    return QStringLiteral("  %1%2  %3%4\n").arg(record->uniqueID(), slip, record->name(), stored);
}

int runAdd(const QStringList& arguments)
{
    const char* command = "add";
    if (cliWantsHelp(command, arguments))
        return ExitOk;
    AddOptions options;
    const QList<QByteArray> raw = rawArguments(arguments.size());
    QTemporaryDir aliases;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString& argument = arguments[i];
        const bool hasValue = i + 1 < arguments.size();
        qint64 number = 0;
        if (argument == QLatin1String("--group") && hasValue)
            options.groupTitle = arguments[++i];
        else if (argument == QLatin1String("--tags") && hasValue)
            options.tags = arguments[++i].split(QLatin1Char(','), Qt::SkipEmptyParts);
        else if (argument == QLatin1String("--comment") && hasValue)
            options.comment = arguments[++i];
        else if (argument == QLatin1String("--color") && hasValue && parseInteger(arguments[i + 1], &number))
            options.color = number, ++i;
        else if (argument == QLatin1String("--start-number") && hasValue && parseInteger(arguments[i + 1], &number))
            options.startNumber = number, ++i;
        else if (argument == QLatin1String("--lock"))
            options.lock = true;
        else if (argument == QLatin1String("--unlock"))
            options.lock = false;
        else if (argument == QLatin1String("--force"))
            options.force = true;
        else if (argument.startsWith(QLatin1String("--")))
            return cliFail(command, QStringLiteral("unexpected or incomplete option '%1'").arg(argument));
        else if (options.archivePath.isEmpty())
            options.archivePath = argument;
        else
            options.files.append(reachablePath(argument, raw.value(i), aliases));
    }
    if (options.archivePath.isEmpty() || options.files.isEmpty())
        return cliFail(command, QStringLiteral("expected an archive and at least one file"));

    Document::ReadResult read = Document::ReadResult::Failed;
    const auto archive
        = CliArchive::open(command, options.archivePath, Document::OpenMode::ReadWrite, options.force, &read);
    if (!archive)
        return read == Document::ReadResult::QuitRequested ? ExitRefused : ExitError;
    DocumentIntake intake(*archive);
    const GroupPtr group = CliArchive::intakeGroup(*archive, options.groupTitle);

    int status = ExitOk;
    if (options.files.size() == 1) {
        const PreferencesPtr preferences = archive->preferences();
        if (options.startNumber && preferences->autoVoucherNumbering())
            preferences->setValue(QuillarcPreferences::VoucherNumber, Value::integer(*options.startNumber));
        const DocumentPtr record = intake.addDocument(options.files.first(), group);
        if (!record) {
            cliErr(QStringLiteral("quillarc-cli add: %1\n").arg(intake.errorString()));
            status = ExitRefused;
        } else {
            // The file's own comment arrives one loop turn after intake, as in the window.
            QCoreApplication::processEvents();
            // What the add-document sheet would edit, then its confirmation.
            if (options.tags) {
                Value tags = record->field(QuillarcDocument::Tags);
                for (const QString& tag : std::as_const(*options.tags))
                    tags.mutableArray().append(Value::string(tag));
                record->setValue(QuillarcDocument::Tags, tags);
            }
            if (options.comment)
                record->setValue(QuillarcDocument::Comment, Value::string(*options.comment));
            if (options.color)
                record->setValue(QuillarcDocument::DocumentColorTag, Value::integer(*options.color));
            if (options.lock)
                record->setValue(QuillarcDocument::IsLocked, Value::boolean(*options.lock));
            intake.closeAddDocumentSheet(record);
            cliOut(QStringLiteral("Added 1 document to \"%1\":\n").arg(group->groupTitle()) + describe(record));
        }
    } else {
        BatchIntake batch(*archive, intake);
        batch.start(options.files, group);
        QCoreApplication::processEvents();
        BatchIntake::SheetValues& values = batch.values();
        if (options.tags)
            values.tagsBatchDocuments = *options.tags;
        if (options.comment)
            values.commentBatchDocuments = *options.comment;
        if (options.color)
            values.colorTagBatchDocuments = Value::integer(*options.color);
        if (options.lock)
            values.lockBatchDocuments = *options.lock;
        if (options.startNumber)
            values.voucherNumberBatchDocuments = Value::integer(*options.startNumber);
        for (const QString& reason : batch.skipped())
            cliErr(QStringLiteral("quillarc-cli add: skipped %1\n").arg(reason));
        if (batch.batchArrayCount() == 0) {
            status = ExitRefused;
        } else {
            batch.closeAddBatchDocumentsSheet();
            QString text = QStringLiteral("Added %1 documents to \"%2\":\n")
                               .arg(batch.batchArrayCount())
                               .arg(group->groupTitle());
            for (const DocumentPtr& record : batch.batchDocuments())
                text += describe(record);
            cliOut(text);
        }
        if (!batch.skipped().isEmpty())
            status = ExitRefused;
    }
    QCoreApplication::processEvents();
    if (!CliArchive::close(command, *archive))
        return ExitError;
    return status;
}

CliCommandRegistration registration({ "add",
    "add ARCHIVE FILE... [--group TITLE] [--tags a,b] [--comment TEXT] [--color N] [--lock|--unlock] "
    "[--start-number N] [--force]",
    "Take files into an archive: one file as a single confirmed intake, several as one batch with shared values.",
    runAdd });

} // namespace
