#include "cli/CliArchive.h"
#include "cli/CliCommand.h"
#include "model/QuillarcPreferences.h"

#include <QLocale>

namespace {

QString valueText(const Value& value)
{
    switch (value.kind()) {
    case Value::Kind::Nil:
        return QStringLiteral("(nil)");
    case Value::Kind::Bool:
        return value.toBool() ? QStringLiteral("true") : QStringLiteral("false");
    case Value::Kind::Integer:
        return QString::number(value.toInteger());
    case Value::Kind::Real:
        return QLocale::c().toString(value.toReal(), 'g', QLocale::FloatingPointShortest);
    case Value::Kind::String:
        return value.toString();
    case Value::Kind::Date:
        return Clock::toDateTime(value.toDate()).toString(Qt::ISODate);
    case Value::Kind::Dictionary:
        return QStringLiteral("{%1 entries}").arg(value.toDictionary().size());
    default:
        return QStringLiteral("(%1)").arg(Value::kindName(value.kind()));
    }
}

/// The text as a value of the field's kind; nil with an error for texts that do not fit.
Value parseValue(Value::Kind kind, const QString& text, QString* error)
{
    bool ok = false;
    switch (kind) {
    case Value::Kind::Bool: {
        const QString lower = text.toLower();
        if (lower == QLatin1String("true") || lower == QLatin1String("yes") || lower == QLatin1String("1"))
            return Value::boolean(true);
        if (lower == QLatin1String("false") || lower == QLatin1String("no") || lower == QLatin1String("0"))
            return Value::boolean(false);
        *error = QStringLiteral("'%1' is not a flag (true/false, yes/no, 1/0)").arg(text);
        return {};
    }
    case Value::Kind::Integer: {
        const qint64 number = text.toLongLong(&ok);
        if (ok)
            return Value::integer(number);
        *error = QStringLiteral("'%1' is not a whole number").arg(text);
        return {};
    }
    case Value::Kind::Real: {
        const double number = QLocale::c().toDouble(text, &ok);
        if (ok)
            return Value::real(number);
        *error = QStringLiteral("'%1' is not a number").arg(text);
        return {};
    }
    case Value::Kind::String:
        return Value::string(text);
    default:
        *error = QStringLiteral("this preference cannot be set from the command line");
        return {};
    }
}

int runPrefs(const QStringList& arguments)
{
    const char* command = "prefs";
    if (cliWantsHelp(command, arguments))
        return ExitOk;
    QStringList positional;
    bool force = false;
    for (const QString& argument : arguments) {
        if (argument == QLatin1String("--force"))
            force = true;
        else
            positional.append(argument);
    }
    if (positional.isEmpty() || positional.size() > 3)
        return cliFail(command, QStringLiteral("expected ARCHIVE [KEY [VALUE]]"));

    // Keys and values are checked before the archive is opened: a refusal leaves it untouched.
    const ClassInfo& info = QuillarcPreferences::staticClassInfo();
    const QString key = positional.value(1);
    const int index = key.isEmpty() ? -1 : info.indexOf(key);
    if (!key.isEmpty() && index < 0)
        return cliFail(command, QStringLiteral("no preference named '%1'").arg(key));
    const bool setting = positional.size() == 3;
    Value value;
    if (setting) {
        QString error = QStringLiteral("this preference cannot be set from the command line");
        if (index != QuillarcPreferences::UniqueID && index != QuillarcPreferences::CreationDate)
            value = parseValue(info.fields()[size_t(index)].kind, positional[2], &error);
        if (value.isNil()) {
            cliErr(QStringLiteral("quillarc-cli prefs: %1: %2\n").arg(key, error));
            return ExitRefused;
        }
    }

    Document::ReadResult read = Document::ReadResult::Failed;
    const auto archive = CliArchive::open(
        command, positional[0], setting ? Document::OpenMode::ReadWrite : Document::OpenMode::ReadOnly, force, &read);
    if (!archive)
        return read == Document::ReadResult::QuitRequested ? ExitRefused : ExitError;
    const PreferencesPtr preferences = archive->preferences();
    if (index < 0) {
        QString text;
        for (const FieldInfo& field : info.fields())
            text += QStringLiteral("%1 = %2\n")
                        .arg(QString(field.key), valueText(preferences->field(info.indexOf(QString(field.key)))));
        cliOut(text);
        return ExitOk;
    }
    if (!setting) {
        cliOut(valueText(preferences->field(index)) + QLatin1Char('\n'));
        return ExitOk;
    }
    preferences->setValue(index, value);
    if (!CliArchive::close(command, *archive))
        return ExitError;
    cliOut(QStringLiteral("%1 = %2\n").arg(key, valueText(value)));
    return ExitOk;
}

CliCommandRegistration registration({ "prefs", "prefs ARCHIVE [KEY [VALUE]] [--force]",
    "Show all archive preferences, one by its key, or set one (the value is read as the field's kind).", runPrefs });

} // namespace
