#include "model/QuillarcDocument.h"

#include "model/QuillarcGroup.h"
#include "text/KVLocalizationDictionary.h"
#include "text/StringHelpers.h"

#include <QLocale>

using K = Value::Kind;
using D = FieldDefault;

QuillarcDocument::QuillarcDocument()
    : QuillarcDatabaseObject(staticClassInfo())
{
}

const ClassInfo& QuillarcDocument::staticClassInfo()
{
    static const ClassInfo info("QuillarcDocument",
        {
            { QLatin1StringView("uniqueID"), K::String, D::NewUniqueID },
            { QLatin1StringView("creationDate"), K::Date, D::Now },
            { QLatin1StringView("fileDate"), K::Date, D::Now },
            { QLatin1StringView("modificationDate"), K::Date, D::Now },
            { QLatin1StringView("string"), K::String, D::EmptyString },
            { QLatin1StringView("path"), K::String, D::EmptyString },
            { QLatin1StringView("iconPath"), K::String, D::EmptyString },
            { QLatin1StringView("name"), K::String, D::EmptyString },
            { QLatin1StringView("title"), K::String, D::EmptyString },
            { QLatin1StringView("extension"), K::String, D::EmptyString },
            { QLatin1StringView("fileKind"), K::String, D::EmptyString },
            { QLatin1StringView("fileType"), K::String, D::EmptyString },
            { QLatin1StringView("slipNumber"), K::String, D::EmptyString },
            { QLatin1StringView("contentString"), K::String, D::EmptyString },
            { QLatin1StringView("fileSize"), K::Real, D::Real, 0.0 },
            { QLatin1StringView("comment"), K::String, D::EmptyString },
            { QLatin1StringView("note"), K::String, D::EmptyString },
            { QLatin1StringView("dateAdded"), K::Date, D::Now },
            { QLatin1StringView("documentColorTag"), K::Integer, D::Integer, 7 },
            { QLatin1StringView("isLocked"), K::Bool, D::Flag, 0 },
            { QLatin1StringView("tags"), K::Array, D::EmptyArray },
            { QLatin1StringView("fileID"), K::String, D::EmptyString },
            { QLatin1StringView("properties"), K::Dictionary, D::EmptyDictionary },
        },
        [] { return ObjectPtr(std::make_shared<QuillarcDocument>()); });
    return info;
}

std::shared_ptr<QuillarcDocument> QuillarcDocument::create()
{
    return std::static_pointer_cast<QuillarcDocument>(createWithDefaults<QuillarcDocument>());
}

QStringList QuillarcDocument::tags() const
{
    QStringList result;
    for (const Value& tag : field(Tags).toArray()) {
        if (tag.kind() == Value::Kind::String)
            result.append(tag.toString());
    }
    return result;
}

QuillarcGroup* QuillarcDocument::group() const
{
    return dynamic_cast<QuillarcGroup*>(parent());
}

bool QuillarcDocument::isFileLocked() const
{
    const QuillarcGroup* owner = group();
    return isLocked() || (owner && owner->isLocked());
}

QString QuillarcDocument::extensionUppercase() const
{
    return extensionUPPERCASEString(extension());
}

QString QuillarcDocument::parentID() const
{
    const QuillarcGroup* owner = group();
    return owner ? owner->databaseObjectUniqueID() : QString();
}

QString QuillarcDocument::shortFileDate() const
{
    if (field(FileDate).isNil())
        return QString();
    return QLocale().toString(Clock::toDateTime(fileDate()).date(), QLocale::ShortFormat);
}

QString QuillarcDocument::fileCopyName() const
{
    const QString label = localizedString(QStringLiteral("FILE_COPY_LABEL"));
    const QString base = slipNumber().isEmpty()
        ? QStringLiteral("(%1) %2").arg(label, name())
        : QStringLiteral("(%1) %2_%3").arg(label, allowedPathString(slipNumber()), name());
    return extension().isEmpty() ? base : base + QLatin1Char('.') + extension();
}

QString QuillarcDocument::currentStateBlock(bool corrupted) const
{
    const QString dateAdded = field(DateAdded).isNil()
        ? QString()
        : QLocale().toString(Clock::toDateTime(field(DateAdded).toDate()).date(), QLocale::ShortFormat);
    QString block;
    block += QStringLiteral("\tID:\t\t\t%1\n").arg(uniqueID());
    block += QStringLiteral("\t%1:\t\t%2\n").arg(localizedString(QStringLiteral("LOG_ADDED")), dateAdded);
    block += QStringLiteral("\t%1:\t\t\t%2\n").arg(localizedString(QStringLiteral("LOG_SLIP")), slipNumber());
    block += QStringLiteral("\t%1:\t\t\t%2 (%3)\n").arg(localizedString(QStringLiteral("LOG_FILE")), name(), extension().toUpper());
    if (corrupted)
        block += QStringLiteral("\t%1:\t\t\t✗ (%2)\n").arg(localizedString(QStringLiteral("LOG_STATE")), localizedString(QStringLiteral("LOG_CORRUPTED")));
    else
        block += QStringLiteral("\t%1:\t\t\t✓ (%2)\n").arg(localizedString(QStringLiteral("LOG_STATE")), localizedString(QStringLiteral("LOG_VALID")));
    return block;
}

Value QuillarcDocument::valueForKey(const QString& key) const
{
    if (key == QLatin1String("isFileLocked"))
        return Value::boolean(isFileLocked());
    if (key == QLatin1String("shortFileDate"))
        return Value::string(shortFileDate());
    if (key == QLatin1String("tagsAsString"))
        return Value::string(tagsAsString());
    if (key == QLatin1String("extensionUppercase"))
        return Value::string(extensionUppercase());
    if (key == QLatin1String("parentID"))
        return Value::string(parentID());
    return QuillarcDatabaseObject::valueForKey(key);
}

QString colorTagImageName(const Value& colorTag)
{
    static const char* const names[] = { "redDot", "orangeDot", "yellowDot", "greenDot", "blueDot", "purpleDot", "grayDot" };
    if (!colorTag.isNumber())
        return QStringLiteral("noDot");
    const qint64 tag = colorTag.toInteger();
    return tag >= 0 && tag < 7 ? QString::fromLatin1(names[tag]) : QStringLiteral("noDot");
}
