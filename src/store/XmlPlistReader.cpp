#include "store/XmlPlistReader.h"

#include "model/Clock.h"
#include "store/BinaryPlistWriter.h"

#include <QXmlStreamReader>

namespace {
constexpr int maxDepth = 512;

class Parser
{
public:
    explicit Parser(const QByteArray& xml)
        : m_xml(xml)
    {
    }

    bool run(QByteArray* binary, QString* error)
    {
        while (m_xml.readNextStartElement()) {
            if (m_xml.name() != QLatin1String("plist"))
                return fail(error, QStringLiteral("not a property list"));
            if (!m_xml.readNextStartElement())
                return fail(error, QStringLiteral("empty property list"));
            BinaryPlistWriter::Ref top = 0;
            if (!parseValue(&top, 0))
                return fail(error, m_message.isEmpty() ? m_xml.errorString() : m_message);
            *binary = m_writer.write(top);
            return true;
        }
        return fail(error, m_xml.hasError() ? m_xml.errorString() : QStringLiteral("not a property list"));
    }

private:
    bool fail(QString* error, const QString& message)
    {
        if (error)
            *error = message;
        return false;
    }

    bool parseValue(BinaryPlistWriter::Ref* out, int depth)
    {
        if (depth > maxDepth) {
            m_message = QStringLiteral("property list nested too deeply");
            return false;
        }
        const QStringView name = m_xml.name();
        if (name == QLatin1String("dict"))
            return parseDict(out, depth);
        if (name == QLatin1String("array")) {
            std::vector<BinaryPlistWriter::Ref> items;
            while (m_xml.readNextStartElement()) {
                BinaryPlistWriter::Ref item = 0;
                if (!parseValue(&item, depth + 1))
                    return false;
                items.push_back(item);
            }
            *out = m_writer.addArray(items);
            return !m_xml.hasError();
        }
        if (name == QLatin1String("true") || name == QLatin1String("false")) {
            *out = m_writer.addBool(name == QLatin1String("true"));
            m_xml.skipCurrentElement();
            return true;
        }
        const bool isString = name == QLatin1String("string");
        const bool isInteger = name == QLatin1String("integer");
        const bool isReal = name == QLatin1String("real");
        const bool isDate = name == QLatin1String("date");
        const bool isData = name == QLatin1String("data");
        const QString text = m_xml.readElementText();
        if (m_xml.hasError())
            return false;
        bool ok = true;
        if (isString) {
            *out = m_writer.addString(text);
        } else if (isInteger) {
            const qint64 value = text.trimmed().toLongLong(&ok);
            *out = m_writer.addInteger(ok ? value : qint64(text.trimmed().toULongLong(&ok)));
        } else if (isReal) {
            *out = m_writer.addReal(text.trimmed().toDouble(&ok), false);
        } else if (isDate) {
            const QDateTime moment = QDateTime::fromString(text.trimmed(), Qt::ISODate);
            ok = moment.isValid();
            *out = m_writer.addDate(Clock::fromDateTime(moment));
        } else if (isData) {
            QByteArray compact = text.toLatin1();
            compact.replace(' ', "").replace('\n', "").replace('\t', "").replace('\r', "");
            const auto decoded = QByteArray::fromBase64Encoding(compact);
            ok = bool(decoded);
            *out = m_writer.addData(decoded.decoded);
        } else {
            m_message = QStringLiteral("unknown element <%1>").arg(name.toString());
            return false;
        }
        if (!ok)
            m_message = QStringLiteral("malformed <%1> value").arg(name.toString());
        return ok;
    }

    bool parseDict(BinaryPlistWriter::Ref* out, int depth)
    {
        std::vector<BinaryPlistWriter::Ref> keys;
        std::vector<BinaryPlistWriter::Ref> values;
        QStringList keyTexts;
        qint64 uid = -1;
        while (m_xml.readNextStartElement()) {
            if (m_xml.name() != QLatin1String("key")) {
                m_message = QStringLiteral("dictionary value without key");
                return false;
            }
            const QString key = m_xml.readElementText();
            if (!m_xml.readNextStartElement()) {
                m_message = QStringLiteral("dictionary key without value");
                return false;
            }
            if (key == QLatin1String("CF$UID") && m_xml.name() == QLatin1String("integer"))
                uid = m_xml.readElementText().trimmed().toLongLong();
            BinaryPlistWriter::Ref value = 0;
            if (uid < 0 || key != QLatin1String("CF$UID")) {
                if (!parseValue(&value, depth + 1))
                    return false;
            }
            keys.push_back(m_writer.addString(key));
            values.push_back(value);
            keyTexts.append(key);
        }
        if (m_xml.hasError())
            return false;
        if (keyTexts == QStringList { QStringLiteral("CF$UID") } && uid >= 0)
            *out = m_writer.addUid(quint64(uid));
        else if (uid >= 0) {
            m_message = QStringLiteral("malformed UID");
            return false;
        } else
            *out = m_writer.addDictionary(keys, values);
        return true;
    }

    QXmlStreamReader m_xml;
    BinaryPlistWriter m_writer;
    QString m_message;
};
} // namespace

bool XmlPlistReader::toBinary(const QByteArray& xml, QByteArray* binary, QString* error)
{
    return Parser(xml).run(binary, error);
}

bool XmlPlistReader::looksLikeXml(const QByteArray& bytes)
{
    const QByteArray head = bytes.left(512);
    return head.contains("<plist") || head.startsWith("<?xml");
}
