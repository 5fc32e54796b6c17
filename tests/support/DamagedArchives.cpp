#include "DamagedArchives.h"

#include "CraftedArchives.h"
#include "RawPlist.h"

namespace {
const QString containsItself = QStringLiteral("an object contains itself");
const QString pastTheEnd = QStringLiteral("object runs past the object area");

QStringList chain(const QString& name)
{
    return { name, QStringLiteral("NSObject") };
}

QByteArray listOf(RawKeyedArchive& archive, const QList<int>& uids)
{
    QList<int> refs;
    for (const int uid : uids)
        refs.append(archive.uidRef(uid));
    return archive.plist().array(refs);
}

QByteArray arrayRecord(RawKeyedArchive& archive, int classUid, const QList<int>& uids)
{
    return archive.record(classUid, { { QStringLiteral("NS.objects"), listOf(archive, uids) } });
}

/// The archive frame around a hand-made "$objects" list and "$top" record.
QByteArray framed(RawPlist& p, int objects, int topRecord)
{
    const QList<int> keys { p.add(p.ascii(QStringLiteral("$archiver"))), p.add(p.ascii(QStringLiteral("$objects"))),
        p.add(p.ascii(QStringLiteral("$top"))), p.add(p.ascii(QStringLiteral("$version"))) };
    const QList<int> values { p.add(p.ascii(QStringLiteral("NSKeyedArchiver"))), objects, topRecord,
        p.add(p.integer(100000, 4)) };
    return p.build(p.add(p.dict(keys, values)));
}

/// A marker with the 15 that says "count follows", and the count as an 8-byte integer.
QByteArray absurdCount(int high, quint64 count)
{
    QByteArray out(1, char(high << 4 | 0x0F));
    out.append(char(0x13));
    for (int shift = 56; shift >= 0; shift -= 8)
        out.append(char((count >> shift) & 0xFF));
    return out;
}

/// An archive whose root UID leads to the given raw object.
QByteArray rootIs(const QByteArray& encodedObject)
{
    RawKeyedArchive archive(2);
    return archive.build(archive.addObject(encodedObject));
}
} // namespace

QList<DamagedArchives::Case> DamagedArchives::cycles()
{
    QList<Case> cases;
    {
        RawKeyedArchive a(2);
        const int cls = a.addClass(QStringLiteral("NSArray"), chain(QStringLiteral("NSArray")));
        const int self = a.reserveObject();
        a.setObject(self, arrayRecord(a, cls, { self }));
        cases.append({ QStringLiteral("array-holding-itself"), a.build(self), containsItself });
    }
    {
        RawKeyedArchive a(2);
        const int cls = a.addClass(QStringLiteral("NSMutableArray"), chain(QStringLiteral("NSMutableArray")));
        const int first = a.reserveObject();
        const int second = a.addObject(arrayRecord(a, cls, { first }));
        const int third = a.addObject(arrayRecord(a, cls, { second }));
        a.setObject(first, arrayRecord(a, cls, { a.addObject(a.plist().ascii(QStringLiteral("x"))), third }));
        cases.append({ QStringLiteral("cycle-through-others"), a.build(first), containsItself });
    }
    for (const bool asKey : { false, true }) {
        RawKeyedArchive a(2);
        const int cls = a.addClass(QStringLiteral("NSDictionary"), chain(QStringLiteral("NSDictionary")));
        const int self = a.reserveObject();
        const int text = a.addObject(a.plist().ascii(QStringLiteral("k")));
        a.setObject(self,
            a.record(cls,
                { { QStringLiteral("NS.keys"), listOf(a, { asKey ? self : text }) },
                    { QStringLiteral("NS.objects"), listOf(a, { asKey ? text : self }) } }));
        cases.append(
            { asKey ? QStringLiteral("dictionary-keyed-by-itself") : QStringLiteral("dictionary-holding-itself"),
                a.build(self), containsItself });
    }
    {
        // A group whose document's properties lead back to the group.
        RawKeyedArchive a(2);
        RawPlist& p = a.plist();
        const int group = a.reserveObject();
        const int dictionary = a.addClass(QStringLiteral("NSDictionary"), chain(QStringLiteral("NSDictionary")));
        const int back = a.addObject(a.record(dictionary,
            { { QStringLiteral("NS.keys"), listOf(a, { a.addObject(p.ascii(QStringLiteral("back"))) }) },
                { QStringLiteral("NS.objects"), listOf(a, { group }) } }));
        const int documentClass
            = a.addClass(QStringLiteral("QuillarcDocument"), chain(QStringLiteral("QuillarcDocument")));
        const int document
            = a.addObject(a.record(documentClass, { { QStringLiteral("properties"), p.uid(quint64(back), 1) } }));
        const int list = a.addObject(arrayRecord(
            a, a.addClass(QStringLiteral("NSMutableArray"), chain(QStringLiteral("NSMutableArray"))), { document }));
        const int groupClass = a.addClass(QStringLiteral("QuillarcGroup"), chain(QStringLiteral("QuillarcGroup")));
        a.setObject(group, a.record(groupClass, { { QStringLiteral("documents"), p.uid(quint64(list), 1) } }));
        cases.append({ QStringLiteral("model-object-cycle"), a.build(group), containsItself });
    }
    {
        // A record that is its own class description, and lists itself.
        RawKeyedArchive a(2);
        RawPlist& p = a.plist();
        const int self = a.reserveObject();
        a.setObject(self,
            a.record(self,
                { { QStringLiteral("$classname"), p.ascii(QStringLiteral("NSArray")) },
                    { QStringLiteral("NS.objects"), listOf(a, { self }) } }));
        cases.append({ QStringLiteral("class-is-the-record"), a.build(self), containsItself });
        RawKeyedArchive b(2);
        const int nameless = b.reserveObject();
        b.setObject(nameless, b.record(nameless, {}));
        cases.append({ QStringLiteral("class-is-itself-without-name"), b.build(nameless),
            QStringLiteral("damaged class description") });
    }
    {
        // Two UIDs whose object indexes the offset table points at the same record.
        RawKeyedArchive a(2);
        const int cls = a.addClass(QStringLiteral("NSArray"), chain(QStringLiteral("NSArray")));
        const int first = a.reserveObject();
        const int second = a.addObjectRef(a.plist().alias(a.plistIndex(first)));
        a.setObject(first, arrayRecord(a, cls, { second }));
        cases.append({ QStringLiteral("aliased-uids-loop"), a.build(first), containsItself });
    }
    return cases;
}

QList<DamagedArchives::Case> DamagedArchives::propertyListLoops()
{
    QList<Case> cases;
    {
        RawPlist p;
        const int null = p.add(p.ascii(QStringLiteral("$null")));
        const int objects = p.reserve();
        p.set(objects, p.array({ null, objects }));
        const int top = p.add(p.dict({ p.add(p.ascii(QStringLiteral("root"))) }, { p.add(p.uid(1, 1)) }));
        cases.append({ QStringLiteral("objects-list-holds-itself"), framed(p, objects, top),
            QStringLiteral("unexpected object in the object list") });
    }
    {
        RawPlist p;
        const int objects = p.add(p.array({ p.add(p.ascii(QStringLiteral("$null"))) }));
        const int top = p.reserve();
        const QList<int> keys { p.add(p.ascii(QStringLiteral("$objects"))), p.add(p.ascii(QStringLiteral("$top"))) };
        p.set(top, p.dict(keys, { objects, top }));
        cases.append({ QStringLiteral("top-is-its-own-record"), p.build(top), QStringLiteral("no root object") });
    }
    {
        RawKeyedArchive a(2);
        RawPlist& p = a.plist();
        const int cls = a.addClass(QStringLiteral("NSArray"), chain(QStringLiteral("NSArray")));
        const int listIsRecord = a.reserveObject();
        const QList<int> keys { p.add(p.ascii(QStringLiteral("NS.objects"))),
            p.add(p.ascii(QStringLiteral("$class"))) };
        a.setObject(listIsRecord, p.dict(keys, { a.plistIndex(listIsRecord), a.uidRef(cls) }));
        cases.append({ QStringLiteral("list-is-its-record"), a.build(listIsRecord),
            QStringLiteral("NS.objects is not a list") });

        const int list = p.reserve();
        p.set(list, p.array({ list }));
        const int holder = a.addObject(p.dict(keys, { list, a.uidRef(cls) }));
        cases.append({ QStringLiteral("list-holds-itself"), a.build(holder),
            QStringLiteral("NS.objects holds something other than references") });
    }
    {
        RawKeyedArchive a(2);
        RawPlist& p = a.plist();
        const int cls = a.addClass(QStringLiteral("NSMutableString"), chain(QStringLiteral("NSMutableString")));
        const int text = a.reserveObject();
        const QList<int> keys { p.add(p.ascii(QStringLiteral("NS.string"))), p.add(p.ascii(QStringLiteral("$class"))) };
        a.setObject(text, p.dict(keys, { a.plistIndex(text), a.uidRef(cls) }));
        cases.append(
            { QStringLiteral("text-is-its-record"), a.build(text), QStringLiteral("text record without text") });
    }
    {
        // Every entry of the offset table points at the top dictionary.
        RawPlist p;
        const int top = p.reserve();
        QList<int> refs;
        for (int i = 0; i < 8; ++i)
            refs.append(p.alias(top));
        p.set(top, p.dict(refs.mid(0, 4), refs.mid(4)));
        cases.append({ QStringLiteral("offsets-all-alike"), p.build(top), QStringLiteral("no object list") });
    }
    {
        RawKeyedArchive a(2);
        RawPlist& p = a.plist();
        const int cls = a.addClass(QStringLiteral("NSArray"), chain(QStringLiteral("NSArray")));
        const int record
            = a.addObject(p.dict({ 0x7ff0, p.add(p.ascii(QStringLiteral("$class"))) }, { 0x7ff1, a.uidRef(cls) }));
        cases.append(
            { QStringLiteral("key-past-the-end"), a.build(record), QStringLiteral("object reference out of range") });
    }
    return cases;
}

QList<DamagedArchives::Case> DamagedArchives::absurdSizes()
{
    QList<Case> cases;
    {
        RawKeyedArchive a(2);
        const int cls = a.addClass(QStringLiteral("NSArray"), chain(QStringLiteral("NSArray")));
        cases.append({ QStringLiteral("list-count-2p60"),
            a.build(
                a.addObject(a.record(cls, { { QStringLiteral("NS.objects"), absurdCount(0xA, quint64(1) << 60) } }))),
            pastTheEnd });
    }
    cases.append({ QStringLiteral("record-count-2p62"), rootIs(absurdCount(0xD, quint64(1) << 62)), pastTheEnd });
    cases.append({ QStringLiteral("count-2p64-1"), rootIs(absurdCount(0xD, ~quint64(0))), pastTheEnd });
    cases.append({ QStringLiteral("text-length-2p62"), rootIs(absurdCount(0x5, quint64(1) << 62)), pastTheEnd });
    cases.append({ QStringLiteral("utf16-length-2p62"), rootIs(absurdCount(0x6, quint64(1) << 62)), pastTheEnd });
    cases.append({ QStringLiteral("data-length-2p63"), rootIs(absurdCount(0x4, quint64(1) << 63)), pastTheEnd });
    {
        RawKeyedArchive a(2);
        RawPlist& p = a.plist();
        const int cls = a.addClass(QStringLiteral("NSDictionary"), chain(QStringLiteral("NSDictionary")));
        const QList<int> keys { a.addObject(p.ascii(QStringLiteral("a"))), a.addObject(p.ascii(QStringLiteral("b"))),
            a.addObject(p.ascii(QStringLiteral("c"))) };
        cases.append({ QStringLiteral("unequal-dictionary"),
            a.build(a.addObject(a.record(cls,
                { { QStringLiteral("NS.keys"), listOf(a, keys) },
                    { QStringLiteral("NS.objects"), listOf(a, { keys[0] }) } }))),
            QStringLiteral("dictionary with unequal keys and values") });
    }
    {
        RawKeyedArchive a(2);
        const int cls = a.addClass(QStringLiteral("NSArray"), chain(QStringLiteral("NSArray")));
        const int wide = a.plist().add(a.plist().uid(quint64(1) << 32, 8));
        cases.append({ QStringLiteral("uid-2p32"),
            a.build(a.addObject(a.record(cls, { { QStringLiteral("NS.objects"), a.plist().array({ wide }) } }))),
            QStringLiteral("NS.objects holds something other than references") });
    }
    {
        // Texts of 4,096 characters starting every 4 bytes of one stretch: each
        // decodes alone, together they would be far more than the file.
        RawKeyedArchive a(3);
        RawPlist& p = a.plist();
        const int stretch = p.add(QByteArray::fromHex("5f111000").repeated(1000) + QByteArray(4096, 'x'));
        QList<int> texts;
        for (int i = 0; i < 1000; ++i)
            texts.append(a.addObjectRef(p.alias(stretch, 4 * i)));
        const int cls = a.addClass(QStringLiteral("NSArray"), chain(QStringLiteral("NSArray")));
        cases.append({ QStringLiteral("overlapping-texts"), a.build(a.addObject(arrayRecord(a, cls, texts))),
            QStringLiteral("objects overlap or repeat beyond what the file's size allows") });
    }
    cases.append({ QStringLiteral("deep-257"), CraftedArchives::deepNesting(257),
        QStringLiteral("nested more than 256 levels deep") });
    return cases;
}

QList<DamagedArchives::Case> DamagedArchives::xmlCases()
{
    using C = CraftedArchives;
    const QString arrayClass = QStringLiteral("<dict><key>$classname</key><string>NSArray</string></dict>");
    auto arrayOf = [](const QString& items, int classUid) {
        return QStringLiteral("<dict><key>NS.objects</key><array>%1</array><key>$class</key>%2</dict>")
            .arg(items, C::xmlUid(classUid));
    };
    QList<Case> cases;
    cases.append({ QStringLiteral("xml-self-array"), C::xmlArchive({ arrayClass, arrayOf(C::xmlUid(2), 1) }, 2),
        containsItself });
    cases.append({ QStringLiteral("xml-unequal-dictionary"),
        C::xmlArchive({ QStringLiteral("<dict><key>$classname</key><string>NSDictionary</string></dict>"),
                          QStringLiteral("<string>k</string>"),
                          QStringLiteral("<dict><key>NS.keys</key><array>%1%1</array><key>NS.objects</key><array>%1</"
                                         "array><key>$class</key>%2</dict>")
                              .arg(C::xmlUid(2), C::xmlUid(1)) },
            3),
        QStringLiteral("dictionary with unequal keys and values") });

    QStringList deep { arrayClass, QStringLiteral("<string>leaf</string>") };
    for (int level = 0; level < 300; ++level)
        deep.append(arrayOf(C::xmlUid(int(deep.size())), 1));
    cases.append({ QStringLiteral("xml-deep-300"), C::xmlArchive(deep, int(deep.size())),
        QStringLiteral("nested more than 256 levels deep") });

    cases.append({ QStringLiteral("xml-plist-nesting-600"),
        C::xmlArchive({ QStringLiteral("<array>").repeated(600) + QStringLiteral("</array>").repeated(600) }, 1),
        QStringLiteral("property list nested too deeply") });
    cases.append({ QStringLiteral("xml-uid-2p30"), C::xmlArchive({ QStringLiteral("<string>x</string>") }, 1 << 30),
        QStringLiteral("reference past the object list") });

    // Entities that would expand to a billion characters.
    QByteArray laughs = "<?xml version=\"1.0\"?>\n<!DOCTYPE plist [\n<!ENTITY a \"laughlaughlaughlaugh\">\n";
    for (char entity = 'b'; entity <= 'j'; ++entity)
        laughs += QByteArray("<!ENTITY ") + entity + " \""
            + QByteArray(QByteArray("&") + char(entity - 1) + ";").repeated(10) + "\">\n";
    laughs += "]>\n<plist version=\"1.0\"><string>&j;</string></plist>\n";
    cases.append({ QStringLiteral("xml-entity-expansion"), laughs, QStringLiteral("expansion limit") });
    return cases;
}
