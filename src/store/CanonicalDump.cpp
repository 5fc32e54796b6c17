#include "store/CanonicalDump.h"

#include "model/QuillarcDatabaseObject.h"
#include "store/Fingerprint.h"
#include "store/KeyedUnarchiver.h"

#include <QSet>

namespace {
class Printer
{
public:
    explicit Printer(bool semantic)
        : m_semantic(semantic)
    {
    }

    /// The dump, or nothing when it grew past its limit (a value shared so
    /// often that printing it out in full would never end).
    QByteArray run(const Value& root, bool isDatabase)
    {
        m_isDatabase = isDatabase;
        print(root, 0, true);
        if (m_out.size() > maxDumpSize)
            return QByteArray();
        m_out += '\n';
        return m_out;
    }

    static constexpr qsizetype maxDumpSize = qsizetype(1) << 30;

private:
    void indent(int level) { m_out.append(QByteArray(2 * level, ' ')); }

    static QByteArray quoted(const QString& text)
    {
        QByteArray out = "\"";
        const QByteArray utf8 = text.toUtf8();
        for (const char c : utf8) {
            switch (c) {
            case '"':
                out += "\\\"";
                break;
            case '\\':
                out += "\\\\";
                break;
            case '\n':
                out += "\\n";
                break;
            case '\r':
                out += "\\r";
                break;
            case '\t':
                out += "\\t";
                break;
            default:
                if (uchar(c) < 0x20)
                    out += QByteArray("\\u00") + QByteArray::number(uchar(c), 16).rightJustified(2, '0');
                else
                    out += c;
            }
        }
        return out + '"';
    }

    static QByteArray number(const char* format, double value)
    {
        char buffer[64];
        std::snprintf(buffer, sizeof buffer, format, value);
        return buffer;
    }

    static QByteArray dataLine(const QByteArray& bytes)
    {
        return "{\"length\": " + QByteArray::number(bytes.size()) + ", \"md5\": \"" + Fingerprint::md5String(bytes).toLatin1() + "\"}";
    }

    void print(const Value& value, int level, bool isRoot = false)
    {
        if (m_out.size() > maxDumpSize)
            return;
        switch (value.kind()) {
        case Value::Kind::Nil:
            m_out += "null";
            return;
        case Value::Kind::Bool:
            m_out += value.toBool() ? "true" : "false";
            return;
        case Value::Kind::Integer:
            m_out += "{\"int\": " + QByteArray::number(value.toInteger()) + '}';
            return;
        case Value::Kind::Real:
            m_out += value.isReal32() ? "{\"real32\": " + number("%.9g", value.toReal()) + '}'
                                      : "{\"real64\": " + number("%.17g", value.toReal()) + '}';
            return;
        case Value::Kind::Date:
            m_out += "{\"NSDate\": " + number("%.17g", value.toDate()) + '}';
            return;
        case Value::Kind::String:
            m_out += quoted(value.toString());
            return;
        case Value::Kind::Data:
            m_out += "{\"NSData\": " + dataLine(value.toData()) + '}';
            return;
        case Value::Kind::Array: {
            m_out += "{\n";
            indent(level + 1);
            m_out += "\"class\": " + quoted(value.isMutableContainer() ? QStringLiteral("NSMutableArray") : QStringLiteral("NSArray")) + ",\n";
            indent(level + 1);
            const ValueList& items = value.toArray();
            if (items.isEmpty()) {
                m_out += "\"items\": []\n";
            } else {
                m_out += "\"items\": [\n";
                for (qsizetype i = 0; i < items.size(); ++i) {
                    indent(level + 2);
                    print(items[i], level + 2);
                    m_out += i + 1 < items.size() ? ",\n" : "\n";
                }
                indent(level + 1);
                m_out += "]\n";
            }
            indent(level);
            m_out += '}';
            return;
        }
        case Value::Kind::Dictionary: {
            m_out += "{\n";
            indent(level + 1);
            m_out += "\"class\": "
                + quoted(value.isMutableContainer() ? QStringLiteral("NSMutableDictionary") : QStringLiteral("NSDictionary")) + ",\n";
            indent(level + 1);
            const ValueMap& entries = value.toDictionary();
            if (entries.isEmpty()) {
                m_out += "\"entries\": {}\n";
            } else {
                m_out += "\"entries\": {\n";
                qsizetype remaining = entries.size();
                for (auto it = entries.constBegin(); it != entries.constEnd(); ++it) {
                    indent(level + 2);
                    m_out += quoted(it.key()) + ": ";
                    if (isRoot && m_isDatabase && it.key() == QLatin1String("companyData") && it.value().kind() == Value::Kind::Data)
                        printCompanyData(it.value().toData(), level + 2);
                    else
                        print(it.value(), level + 2);
                    m_out += --remaining ? ",\n" : "\n";
                }
                indent(level + 1);
                m_out += "}\n";
            }
            indent(level);
            m_out += '}';
            return;
        }
        case Value::Kind::Object: {
            const ObjectPtr object = value.toObject();
            const ClassInfo& info = object->classInfo();
            m_out += "{\n";
            indent(level + 1);
            m_out += "\"class\": " + quoted(info.className()) + ",\n";
            indent(level + 1);
            if (m_path.contains(object.get())) {
                // A record that contains itself is printed once, not forever.
                m_out += "\"fields\": null\n";
            } else {
                m_path.insert(object.get());
                m_out += "\"fields\": {\n";
                const auto& fields = info.fields();
                for (size_t i = 0; i < fields.size(); ++i) {
                    indent(level + 2);
                    m_out += quoted(QString(fields[i].key)) + ": ";
                    print(object->field(int(i)), level + 2);
                    m_out += i + 1 < fields.size() ? ",\n" : "\n";
                }
                indent(level + 1);
                m_out += "}\n";
                m_path.remove(object.get());
            }
            indent(level);
            m_out += '}';
            return;
        }
        }
    }

    void printCompanyData(const QByteArray& bytes, int level)
    {
        m_out += "{\n";
        if (!m_semantic) {
            indent(level + 1);
            m_out += "\"NSData\": " + dataLine(bytes) + ",\n";
        }
        indent(level + 1);
        m_out += "\"keyedArchive\": ";
        print(KeyedUnarchiver::unarchiveObjectWithData(bytes), level + 1);
        m_out += '\n';
        indent(level);
        m_out += '}';
    }

    QByteArray m_out;
    QSet<const void*> m_path;
    bool m_semantic = false;
    bool m_isDatabase = false;
};
} // namespace

QByteArray CanonicalDump::dumpDatabase(const Value& database, bool semantic)
{
    return Printer(semantic).run(database, true);
}

QByteArray CanonicalDump::dump(const Value& root)
{
    return Printer(false).run(root, false);
}

QString CanonicalDump::tooLargeMessage()
{
    return QStringLiteral("the archive shares its values so often that its dump would exceed %1 MiB")
        .arg(Printer::maxDumpSize >> 20);
}
