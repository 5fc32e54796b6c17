#include "CraftedArchives.h"

namespace {
const QStringList arrayChain { QStringLiteral("NSArray"), QStringLiteral("NSObject") };
const QStringList mutableArrayChain { QStringLiteral("NSMutableArray"), QStringLiteral("NSArray"),
    QStringLiteral("NSObject") };
const QStringList dictionaryChain { QStringLiteral("NSDictionary"), QStringLiteral("NSObject") };
const QStringList mutableDictionaryChain { QStringLiteral("NSMutableDictionary"), QStringLiteral("NSDictionary"),
    QStringLiteral("NSObject") };

QStringList modelChain(const QString& name)
{
    return { name, QStringLiteral("QuillarcDatabaseObject"), QStringLiteral("NSObject") };
}

/// An array record listing the given UIDs, each through a UID object of its own.
QByteArray arrayRecord(RawKeyedArchive& archive, int classUid, const QList<int>& uids)
{
    QList<int> refs;
    for (const int uid : uids)
        refs.append(archive.uidRef(uid));
    return archive.record(classUid, { { QStringLiteral("NS.objects"), archive.plist().array(refs) } });
}

/// The root every linear-work shape ends in: one NSArray of all the given UIDs.
QByteArray listRoot(RawKeyedArchive& archive, const QList<int>& uids)
{
    const int arrayClass = archive.addClass(QStringLiteral("NSArray"), arrayChain);
    return archive.build(archive.addObject(arrayRecord(archive, arrayClass, uids)));
}
} // namespace

int CraftedArchives::addSharedNesting(RawKeyedArchive& archive, int levels)
{
    const int arrayClass = archive.addClass(QStringLiteral("NSArray"), arrayChain);
    int inner = archive.addObject(archive.plist().ascii(QStringLiteral("leaf")));
    for (int level = 0; level < levels; ++level)
        inner = archive.addObject(arrayRecord(archive, arrayClass, { inner, inner }));
    return inner;
}

int CraftedArchives::addDeepNesting(RawKeyedArchive& archive, int levels)
{
    const int arrayClass = archive.addClass(QStringLiteral("NSArray"), arrayChain);
    int inner = archive.addObject(archive.plist().ascii(QStringLiteral("leaf")));
    for (int level = 0; level < levels; ++level)
        inner = archive.addObject(arrayRecord(archive, arrayClass, { inner }));
    return inner;
}

QByteArray CraftedArchives::sharedNesting(int levels)
{
    RawKeyedArchive archive(2);
    return archive.build(addSharedNesting(archive, levels));
}

QByteArray CraftedArchives::deepNesting(int levels)
{
    RawKeyedArchive archive(2);
    return archive.build(addDeepNesting(archive, levels));
}

QString CraftedArchives::xmlUid(int uid)
{
    return QStringLiteral("<dict><key>CF$UID</key><integer>%1</integer></dict>").arg(uid);
}

QByteArray CraftedArchives::xmlArchive(const QStringList& objects, int root)
{
    QString xml = QStringLiteral("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>\n"
                                 "<key>$archiver</key><string>NSKeyedArchiver</string>\n"
                                 "<key>$objects</key><array>\n<string>$null</string>\n");
    for (const QString& object : objects)
        xml += object + QLatin1Char('\n');
    xml += QStringLiteral("</array>\n<key>$top</key><dict><key>root</key>%1</dict>\n"
                          "<key>$version</key><integer>100000</integer>\n</dict></plist>\n")
               .arg(xmlUid(root));
    return xml.toUtf8();
}

QByteArray CraftedArchives::xmlSharedNesting(int levels)
{
    QStringList objects { QStringLiteral("<string>leaf</string>"),
        QStringLiteral("<dict><key>$classname</key><string>NSArray</string></dict>") };
    for (int level = 0; level < levels; ++level) {
        const int inner = level == 0 ? 1 : int(objects.size()); // UIDs count from 1 after "$null"
        objects.append(QStringLiteral("<dict><key>NS.objects</key><array>%1%1</array><key>$class</key>%2</dict>")
                           .arg(xmlUid(inner), xmlUid(2)));
    }
    return xmlArchive(objects, int(objects.size()));
}

QByteArray CraftedArchives::dictionaryRecord(
    RawKeyedArchive& archive, int classUid, const QList<QPair<QString, int>>& entries)
{
    RawPlist& p = archive.plist();
    QList<int> keys;
    QList<int> values;
    for (const auto& [key, uid] : entries) {
        keys.append(archive.uidRef(archive.addObject(p.ascii(key))));
        values.append(archive.uidRef(uid));
    }
    return archive.record(
        classUid, { { QStringLiteral("NS.keys"), p.array(keys) }, { QStringLiteral("NS.objects"), p.array(values) } });
}

QByteArray CraftedArchives::database(
    const QString& title, const std::function<int(RawKeyedArchive&)>& extra, int groupListings)
{
    RawKeyedArchive records(2);
    RawPlist& r = records.plist();
    const int mutableArray = records.addClass(QStringLiteral("NSMutableArray"), mutableArrayChain);
    const int mutableDictionary = records.addClass(QStringLiteral("NSMutableDictionary"), mutableDictionaryChain);
    auto text = [&](const QString& value) { return records.addObject(r.ascii(value)); };
    auto field = [&](const QString& key, int uid) { return QPair<QString, QByteArray>(key, r.uid(quint64(uid), 2)); };

    const int documentClass
        = records.addClass(QStringLiteral("QuillarcDocument"), modelChain(QStringLiteral("QuillarcDocument")));
    const int document = records.addObject(records.record(documentClass,
        { field(QStringLiteral("uniqueID"), text(QStringLiteral("D0C00000-0000-4000-8000-000000000001"))),
            field(QStringLiteral("title"), text(QStringLiteral("Rechnung 1"))) }));
    const int documents = records.addObject(arrayRecord(records, mutableArray, { document }));
    const int groupClass
        = records.addClass(QStringLiteral("QuillarcGroup"), modelChain(QStringLiteral("QuillarcGroup")));
    const int group = records.addObject(records.record(groupClass,
        { field(QStringLiteral("uniqueID"), text(QStringLiteral("6A000000-0000-4000-8000-000000000001"))),
            field(QStringLiteral("groupTitle"), text(QStringLiteral("Belege"))),
            field(QStringLiteral("documents"), documents) }));
    const int groups = records.addObject(arrayRecord(records, mutableArray, QList<int>(groupListings, group)));
    QList<QPair<QString, int>> properties;
    if (extra)
        properties.append({ QStringLiteral("nested"), extra(records) });
    const int propertyRecord = records.addObject(dictionaryRecord(records, mutableDictionary, properties));
    const int containerClass
        = records.addClass(QStringLiteral("QuillarcContainer"), modelChain(QStringLiteral("QuillarcContainer")));
    const int container = records.addObject(records.record(containerClass,
        { field(QStringLiteral("uniqueID"), text(QStringLiteral("C0000000-0000-4000-8000-000000000001"))),
            field(QStringLiteral("containerTitle"), text(title)), field(QStringLiteral("groups"), groups),
            field(QStringLiteral("properties"), propertyRecord) }));
    const int dictionary = records.addClass(QStringLiteral("NSDictionary"), dictionaryChain);
    const QByteArray companyData = records.build(
        records.addObject(dictionaryRecord(records, dictionary, { { QStringLiteral("container"), container } })));

    RawKeyedArchive database(2);
    RawPlist& d = database.plist();
    const int rootClass = database.addClass(QStringLiteral("NSDictionary"), dictionaryChain);
    // Without preferences, setting up would take the archive for a new one and start afresh.
    const int preferencesClass
        = database.addClass(QStringLiteral("QuillarcPreferences"), modelChain(QStringLiteral("QuillarcPreferences")));
    const int preferences = database.addObject(database.record(preferencesClass,
        { { QStringLiteral("uniqueID"),
            d.uid(
                quint64(database.addObject(d.ascii(QStringLiteral("9F000000-0000-4000-8000-000000000001")))), 2) } }));
    return database.build(database.addObject(dictionaryRecord(database, rootClass,
        { { QStringLiteral("db_version"), database.addObject(d.real(2.0, 4)) },
            { QStringLiteral("db_kind"), database.addObject(d.integer(0, 1)) },
            { QStringLiteral("isInitialDataCreated"), database.addObject(d.boolean(true)) },
            { QStringLiteral("isAlreadyOpen"), database.addObject(d.boolean(false)) },
            { QStringLiteral("host"), database.addObject(d.ascii(QString())) },
            { QStringLiteral("companyData"), database.addObject(d.data(companyData)) },
            { QStringLiteral("companyString"), database.addObject(d.ascii(QString())) },
            { QStringLiteral("preferences"), preferences } })));
}

QByteArray CraftedArchives::uidsSharingOneRecord(int uids, int keys)
{
    RawKeyedArchive archive(3);
    RawPlist& p = archive.plist();
    const int documentClass
        = archive.addClass(QStringLiteral("QuillarcDocument"), modelChain(QStringLiteral("QuillarcDocument")));
    const int title = archive.addObject(p.ascii(QStringLiteral("Rechnung")));
    const int unknownKey = p.add(p.ascii(QStringLiteral("futureKey")));
    const int titleRef = archive.uidRef(title);
    QList<int> keyRefs(keys - 2, unknownKey);
    QList<int> valueRefs(keys - 2, titleRef);
    keyRefs << p.add(p.ascii(QStringLiteral("title"))) << p.add(p.ascii(QStringLiteral("$class")));
    valueRefs << titleRef << archive.uidRef(documentClass);
    const int record = p.add(p.dict(keyRefs, valueRefs));
    QList<int> all { archive.addObjectRef(record) };
    while (all.size() < uids)
        all.append(archive.addObjectRef(p.alias(record)));
    return listRoot(archive, all);
}

QByteArray CraftedArchives::recordsSharingOneList(int records, int items)
{
    RawKeyedArchive archive(3);
    RawPlist& p = archive.plist();
    const int arrayClass = archive.addClass(QStringLiteral("NSArray"), arrayChain);
    const int item = archive.uidRef(archive.addObject(p.ascii(QStringLiteral("x"))));
    const int list = p.add(p.array(QList<int>(items, item)));
    const QList<int> keys { p.add(p.ascii(QStringLiteral("NS.objects"))), p.add(p.ascii(QStringLiteral("$class"))) };
    const QList<int> values { list, archive.uidRef(arrayClass) };
    QList<int> all;
    for (int i = 0; i < records; ++i)
        all.append(archive.addObject(p.dict(keys, values)));
    return listRoot(archive, all);
}

QByteArray CraftedArchives::dictionariesSharingTheirLists(int records, int entries)
{
    RawKeyedArchive archive(3);
    RawPlist& p = archive.plist();
    const int dictionaryClass = archive.addClass(QStringLiteral("NSDictionary"), dictionaryChain);
    const int value = archive.uidRef(archive.addObject(p.ascii(QStringLiteral("v"))));
    QList<int> keyRefs;
    for (int i = 0; i < entries; ++i)
        keyRefs.append(archive.uidRef(archive.addObject(p.ascii(QStringLiteral("k%1").arg(i)))));
    const QList<int> keys { p.add(p.ascii(QStringLiteral("NS.keys"))), p.add(p.ascii(QStringLiteral("NS.objects"))),
        p.add(p.ascii(QStringLiteral("$class"))) };
    const QList<int> values { p.add(p.array(keyRefs)), p.add(p.array(QList<int>(entries, value))),
        archive.uidRef(dictionaryClass) };
    QList<int> all;
    for (int i = 0; i < records; ++i)
        all.append(archive.addObject(p.dict(keys, values)));
    return listRoot(archive, all);
}

QByteArray CraftedArchives::longKeyInManyRecords(int records, int keyLength)
{
    RawKeyedArchive archive(3);
    RawPlist& p = archive.plist();
    const int documentClass
        = archive.addClass(QStringLiteral("QuillarcDocument"), modelChain(QStringLiteral("QuillarcDocument")));
    // "$$" marks an escaped key, which a reader has to unescape before looking it up.
    const QList<int> keys { p.add(p.ascii(QStringLiteral("$$") + QString(keyLength, QLatin1Char('k')))),
        p.add(p.ascii(QStringLiteral("$class"))) };
    const QList<int> values { archive.uidRef(archive.addObject(p.ascii(QStringLiteral("v")))),
        archive.uidRef(documentClass) };
    QList<int> all;
    for (int i = 0; i < records; ++i)
        all.append(archive.addObject(p.dict(keys, values)));
    return listRoot(archive, all);
}

QByteArray CraftedArchives::classesSharingOneDescription(int records, int keys)
{
    RawKeyedArchive archive(3);
    RawPlist& p = archive.plist();
    QList<int> descriptionKeys(keys, p.add(p.ascii(QStringLiteral("$classhints"))));
    QList<int> descriptionValues(keys, p.add(p.ascii(QStringLiteral("hint"))));
    descriptionKeys.append(p.add(p.ascii(QStringLiteral("$classname"))));
    descriptionValues.append(p.add(p.ascii(QStringLiteral("NSArray"))));
    const int description = p.add(p.dict(descriptionKeys, descriptionValues));
    const int classKey = p.add(p.ascii(QStringLiteral("$class")));
    QList<int> all;
    for (int i = 0; i < records; ++i) {
        const int classUid = archive.addObjectRef(i == 0 ? description : p.alias(description));
        all.append(archive.addObject(p.dict({ classKey }, { archive.uidRef(classUid) })));
    }
    return listRoot(archive, all);
}
