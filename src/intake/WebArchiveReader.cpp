#include "intake/WebArchiveReader.h"

#include "intake/HtmlReader.h"
#include "store/BinaryPlistReader.h"

namespace {

using Object = BinaryPlistReader::Object;
using Type = BinaryPlistReader::Type;

// The value stored under key in a dictionary object; false when it is absent or damaged.
bool valueForKey(const BinaryPlistReader& plist, const Object& dictionary, QLatin1String key, Object* value)
{
    if (dictionary.type != Type::Dictionary)
        return false;
    for (quint64 i = 0; i < dictionary.count; ++i) {
        Object keyObject;
        if (!plist.object(plist.ref(dictionary, i), &keyObject) || !BinaryPlistReader::isString(keyObject.type))
            continue;
        if (plist.stringValue(keyObject) == key)
            return plist.object(plist.ref(dictionary, dictionary.count + i), value);
    }
    return false;
}

} // namespace

bool WebArchiveReader::mainResource(const QByteArray& bytes, QByteArray* html, QByteArray* encodingName)
{
    BinaryPlistReader plist;
    Object top;
    Object resource;
    Object data;
    if (!plist.open(bytes) || !plist.object(plist.topObject(), &top)
        || !valueForKey(plist, top, QLatin1String("WebMainResource"), &resource)
        || !valueForKey(plist, resource, QLatin1String("WebResourceData"), &data) || data.type != Type::Data)
        return false;
    *html = plist.dataValue(data);
    encodingName->clear();
    Object encoding;
    if (valueForKey(plist, resource, QLatin1String("WebResourceTextEncodingName"), &encoding)
        && BinaryPlistReader::isString(encoding.type))
        *encodingName = plist.stringValue(encoding).toLatin1();
    return true;
}

QString WebArchiveReader::extractFromData(const QByteArray& bytes)
{
    QByteArray html;
    QByteArray encodingName;
    if (!mainResource(bytes, &html, &encodingName))
        return {};
    return HtmlReader::extractFromData(html, encodingName);
}
