#include "CraftedArchives.h"
#include "DamagedArchives.h"
#include "RawPlist.h"
#include "TestSupport.h"
#include "model/QuillarcContainer.h"
#include "model/QuillarcDocument.h"
#include "model/QuillarcGroup.h"
#include "store/CanonicalDump.h"
#include "store/KeyedArchiver.h"
#include "store/KeyedUnarchiver.h"

#include <QTest>

Q_DECLARE_METATYPE(Value)

class TestKeyedArchive : public QObject
{
    Q_OBJECT

private:
    static Value roundTrip(const Value& value)
    {
        QString error;
        const Value decoded = KeyedUnarchiver::unarchiveObjectWithData(KeyedArchiver::archivedDataWithRootObject(value), &error);
        if (!error.isEmpty())
            qWarning() << error;
        return decoded;
    }

private Q_SLOTS:
    void writerLaysOutLikeTheReferenceArchiver()
    {
        // Worked out by hand from the reference layout: depth-first from the
        // top dictionary, keys before values, 1-byte references and offsets.
        const QByteArray expected = QByteArray::fromHex(
            "62706c6973743030"                              // bplist00
            "d4010203040506090a"                            // 0: top {4 keys, values 5 6 9 10}
            "582476657273696f6e" "58246f626a65637473"       // 1 $version, 2 $objects
            "592461726368697665" "72" "5424746f70"          // 3 $archiver, 4 $top
            "12000186a0"                                    // 5: 100000
            "a20708"                                        // 6: $objects [7, 8]
            "55246e756c6c" "526869"                         // 7 "$null", 8 "hi"
            "5f100f4e534b657965644172636869766572"          // 9 "NSKeyedArchiver"
            "d10b0c" "54726f6f74" "8001"                    // 10 {root: UID 1}, 11 "root", 12 UID(1)
            "08111a232d3237 3a40435558 5d"                  // offset table
            "000000000000 0101 000000000000000d 0000000000000000 000000000000005f");
        QCOMPARE(KeyedArchiver::archivedDataWithRootObject(Value::string(QStringLiteral("hi"))).toHex(), expected.toHex());
    }

    void valuesRoundTripWithTheirKind_data()
    {
        QTest::addColumn<Value>("value");
        QTest::newRow("nil") << Value();
        QTest::newRow("empty text") << Value::string(QString(""));
        QTest::newRow("ascii") << Value::string(QStringLiteral("Rechnung 2026 – long enough to need a count"));
        QTest::newRow("umlauts and emoji") << Value::string(QStringLiteral("Hängeschränke 😀 Größe"));
        QTest::newRow("long shared-limit text") << Value::string(QString(300, QLatin1Char('x')));
        // Texts are checked and narrowed in blocks: a wide unit just inside,
        // on and past a block edge, and ASCII tails of odd lengths.
        for (const int at : { 3, 15, 16, 17, 33 })
            QTest::addRow("euro sign after %d ASCII units", at)
                << Value::string(QString(at, QLatin1Char('a')) + QStringLiteral("€") + QString(5, QLatin1Char('b')));
        for (const int length : { 19, 37 })
            QTest::addRow("ASCII, %d units", length) << Value::string(QString(length, QLatin1Char('z')).replace(7, 1, QLatin1Char('~')));
        QTest::newRow("true") << Value::boolean(true);
        QTest::newRow("zero") << Value::integer(0);
        QTest::newRow("negative") << Value::integer(-1);
        QTest::newRow("2^40") << Value::integer(1LL << 40);
        QTest::newRow("int64 max") << Value::integer(std::numeric_limits<qint64>::max());
        QTest::newRow("real32 2.0") << Value::real(2.0, true);
        QTest::newRow("real64 668.0") << Value::real(668.0);
        QTest::newRow("real64 0.1") << Value::real(0.1);
        QTest::newRow("date with fraction") << Value::date(589000000.75);
        QTest::newRow("date before 2001") << Value::date(-123456789.125);
        QTest::newRow("data") << Value::data(QByteArray("\x00\x01\xff", 3));
        QTest::newRow("empty data") << Value::data(QByteArray());
        QTest::newRow("immutable array") << Value::array({ Value::integer(1), Value(), Value::string(QStringLiteral("a")) }, false);
        QTest::newRow("nested dictionary") << Value::dictionary(
            { { QStringLiteral("$weird"), Value::real(1.5, true) },
                { QStringLiteral("list"), Value::array({ Value::date(1.0), Value::dictionary() }) } });
    }
    void valuesRoundTripWithTheirKind()
    {
        QFETCH(Value, value);
        QVERIFY(roundTrip(value) == value);
    }

    void modelObjectsKeepFieldsAndIdentity()
    {
        auto group = QuillarcGroup::create();
        auto document = QuillarcDocument::create();
        document->setField(QuillarcDocument::Title, Value());
        document->setField(QuillarcDocument::FileSize, Value::real(668.0));
        document->setField(QuillarcDocument::Properties, Value::dictionary({ { QStringLiteral("k"), Value::data("v") } }));
        group->setField(QuillarcGroup::Documents, Value::array({ Value::object(document), Value::object(document) }));

        const auto decoded = roundTrip(Value::object(group)).toObjectOf<QuillarcGroup>();
        QVERIFY(decoded);
        const auto documents = decoded->documents();
        QCOMPARE(documents.size(), 2);
        QCOMPARE(documents[0].get(), documents[1].get()); // stored once, referenced twice
        QVERIFY(documents[0]->field(QuillarcDocument::Title).isNil());
        QVERIFY(documents[0]->field(QuillarcDocument::FileSize) == Value::real(668.0));
        QCOMPARE(CanonicalDump::dump(Value::object(decoded)), CanonicalDump::dump(Value::object(group)));
    }

    void readsWhatOtherArchiversWrite_data()
    {
        QTest::addColumn<int>("refSize");
        QTest::newRow("1-byte references") << 1;
        QTest::newRow("3-byte references") << 3;
    }
    void readsWhatOtherArchiversWrite()
    {
        QFETCH(int, refSize);
        RawKeyedArchive archive(refSize);
        RawPlist& p = archive.plist();
        // Records in a different order from ours, class descriptions first,
        // one without $classes, an orphan, mutable-string and data records,
        // an inline date, a number record and an unknown field.
        const int stringClass = archive.addClass(QStringLiteral("NSMutableString"), {});
        const int dataClass = archive.addClass(QStringLiteral("NSMutableData"), { QStringLiteral("NSMutableData"), QStringLiteral("NSData"), QStringLiteral("NSObject") });
        const int numberClass = archive.addClass(QStringLiteral("NSNumber"), { QStringLiteral("NSNumber"), QStringLiteral("NSObject") });
        const int documentClass = archive.addClass(QStringLiteral("QuillarcDocument"), { QStringLiteral("QuillarcDocument"), QStringLiteral("NSObject") });
        archive.addObject(p.ascii(QStringLiteral("orphan nobody references")));
        const int title = archive.addObject(archive.record(stringClass, { { QStringLiteral("NS.string"), p.utf16(QStringLiteral("Größe")) } }));
        const int bytes = archive.addObject(archive.record(dataClass, { { QStringLiteral("NS.bytes"), p.data("abc") } }));
        const int size = archive.addObject(archive.record(numberClass, { { QStringLiteral("NS.dblval"), p.real(1024.0, 8) } }));
        const int date = archive.addObject(p.date(600000000.5));
        const int nullText = archive.addObject(p.ascii(QStringLiteral("$null")));
        const int lockedAsInteger = archive.addObject(p.integer(1, 1));
        const int document = archive.addObject(archive.record(documentClass,
            { { QStringLiteral("title"), p.uid(quint64(title), 1) }, { QStringLiteral("fileDate"), p.uid(quint64(date), 1) },
                { QStringLiteral("fileSize"), p.uid(quint64(size), 1) }, { QStringLiteral("comment"), p.uid(quint64(nullText), 1) },
                { QStringLiteral("isLocked"), p.uid(quint64(lockedAsInteger), 1) }, { QStringLiteral("note"), p.uid(0, 1) },
                { QStringLiteral("properties"), p.uid(quint64(bytes), 1) }, { QStringLiteral("futureKey"), p.uid(quint64(title), 1) } }));

        QString error;
        const auto decoded = KeyedUnarchiver::unarchiveObjectWithData(archive.build(document), &error).toObjectOf<QuillarcDocument>();
        QVERIFY2(decoded, qPrintable(error));
        QCOMPARE(decoded->title(), QStringLiteral("Größe"));
        QCOMPARE(decoded->field(QuillarcDocument::FileDate).toDate(), 600000000.5);
        QCOMPARE(decoded->field(QuillarcDocument::FileSize).toReal(), 1024.0);
        QCOMPARE(decoded->comment(), QStringLiteral("$null")); // only UID 0 means nil
        QVERIFY(decoded->isLocked());
        QVERIFY(decoded->field(QuillarcDocument::Note).isNil());
        QVERIFY(decoded->field(QuillarcDocument::Properties).isNil()); // data where a dictionary belongs
        QVERIFY(decoded->field(QuillarcDocument::UniqueID).isNil());   // missing key
    }

    void readsAnArchiveWrittenByAnotherArchiver()
    {
        // An archive of ours decoded and written back by GNUstep's keyed
        // archiver: its own object order and widths, NSMutableDictionary at the root.
        const QString folder = QStringLiteral(QUILLARC_TEST_DATA "/keyedarchive/");
        QString error;
        const Value database = KeyedUnarchiver::unarchiveObjectWithData(readFile(folder + QStringLiteral("gnustep-written.qldb")), &error);
        QVERIFY2(!database.isNil(), qPrintable(error));
        QCOMPARE(CanonicalDump::dumpDatabase(database, true), readFile(folder + QStringLiteral("gnustep-written.semantic.json")));
    }

    void readsXmlArchives()
    {
        const QByteArray xml = R"(<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0"><dict>
<key>$archiver</key><string>NSKeyedArchiver</string>
<key>$objects</key><array>
  <string>$null</string>
  <dict><key>NS.objects</key><array><dict><key>CF$UID</key><integer>2</integer></dict><dict><key>CF$UID</key><integer>3</integer></dict></array>
        <key>$class</key><dict><key>CF$UID</key><integer>4</integer></dict></dict>
  <string>Übergabe</string>
  <real>2.5</real>
  <dict><key>$classname</key><string>NSArray</string></dict>
</array>
<key>$top</key><dict><key>root</key><dict><key>CF$UID</key><integer>1</integer></dict></dict>
<key>$version</key><integer>100000</integer>
</dict></plist>)";
        QString error;
        const Value root = KeyedUnarchiver::unarchiveObjectWithData(xml, &error);
        QVERIFY2(root.kind() == Value::Kind::Array, qPrintable(error));
        QVERIFY(root == Value::array({ Value::string(QStringLiteral("Übergabe")), Value::real(2.5) }, false));
    }

    void rejectsDamagedArchives_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        const QByteArray good = KeyedArchiver::archivedDataWithRootObject(Value::array({ Value::string(QStringLiteral("x")) }));
        auto patched = [&](qsizetype position, char byte) {
            QByteArray copy = good;
            copy[position] = byte;
            return copy;
        };
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("header only") << QByteArray("bplist00");
        QTest::newRow("garbage") << QByteArray(200, '\x5a');
        QTest::newRow("truncated") << good.left(good.size() - 5);
        QTest::newRow("ref width 0") << patched(good.size() - 25, 0);
        QTest::newRow("offset width 9") << patched(good.size() - 26, 9);
        QTest::newRow("top object past the end") << patched(good.size() - 9, 0x7f);
        QTest::newRow("offset table past the end") << patched(good.size() - 1, char(0xf0));
        QTest::newRow("extra byte before trailer") << good.left(good.size() - 32) + '\0' + good.right(32);

        auto single = [](const std::function<int(RawKeyedArchive&)>& build) {
            RawKeyedArchive archive;
            return archive.build(build(archive));
        };
        QTest::newRow("UID past $objects") << single([](RawKeyedArchive&) { return 40; });
        QTest::newRow("UID at a class description") << single([](RawKeyedArchive& a) { return a.addClass(QStringLiteral("NSArray"), {}); });
        QTest::newRow("record without $class") << single([](RawKeyedArchive& a) {
            RawPlist& p = a.plist();
            return a.addObject(p.dict({ p.add(p.ascii(QStringLiteral("k"))) }, { p.add(p.ascii(QStringLiteral("v"))) }));
        });
        QTest::newRow("bare array") << single([](RawKeyedArchive& a) { return a.addObject(a.plist().array({})); });
        QTest::newRow("unknown class") << single([](RawKeyedArchive& a) {
            return a.addObject(a.record(a.addClass(QStringLiteral("NSWindow"), {}), {}));
        });
        QTest::newRow("array containing itself") << single([](RawKeyedArchive& a) {
            RawPlist& p = a.plist();
            const int cls = a.addClass(QStringLiteral("NSArray"), {});
            const int self = 2; // the UID this record is about to get
            return a.addObject(a.record(cls, { { QStringLiteral("NS.objects"), p.array({ p.add(p.uid(self, 1)) }) } }));
        });
        QTest::newRow("dictionary with unequal lists") << single([](RawKeyedArchive& a) {
            RawPlist& p = a.plist();
            const int cls = a.addClass(QStringLiteral("NSDictionary"), {});
            return a.addObject(a.record(cls, { { QStringLiteral("NS.keys"), p.array({ p.add(p.uid(0, 1)) }) },
                                                 { QStringLiteral("NS.objects"), p.array({}) } }));
        });
        QTest::newRow("xml without plist") << QByteArray("<?xml version=\"1.0\"?><html/>");
        QTest::newRow("xml unclosed") << QByteArray("<?xml version=\"1.0\"?><plist><dict><key>a</key>");
    }
    void rejectsDamagedArchives()
    {
        QFETCH(QByteArray, bytes);
        QString error;
        const Value root = KeyedUnarchiver::unarchiveObjectWithData(bytes, &error);
        QVERIFY(root.isNil());
        QVERIFY(!error.isEmpty());
    }

    void sharedValuesAreDecodedOnce_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<int>("levels");
        for (const int levels : { 1, 24, 64 }) {
            QTest::addRow("binary, %d levels", levels) << CraftedArchives::sharedNesting(levels) << levels;
            QTest::addRow("XML, %d levels", levels) << CraftedArchives::xmlSharedNesting(levels) << levels;
        }
        QTest::newRow("binary, as deep as allowed") << CraftedArchives::sharedNesting(KeyedUnarchiver::maxDepth) << KeyedUnarchiver::maxDepth;
    }
    void sharedValuesAreDecodedOnce()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(int, levels);
        KeyedUnarchiver unarchiver;
        QVERIFY2(unarchiver.decode(bytes), qPrintable(unarchiver.errorString()));
        QCOMPARE(unarchiver.decodedObjectCount(), levels + 1); // every list and the leaf, each once
        Value level = unarchiver.root();
        for (int i = 0; i < levels; ++i) {
            const ValueList& items = level.toArray();
            QCOMPARE(items.size(), 2);
            if (i + 1 < levels)
                QCOMPARE(&items[0].toArray(), &items[1].toArray()); // one list at both places, not two copies
            level = items[1];
        }
        QCOMPARE(level.toString(), QStringLiteral("leaf"));
    }

    void repeatedReferencesCostOnlyTheirBytes_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<int>("rootItems");
        QTest::addColumn<int>("decodedObjects"); // -1: not counted
        QTest::newRow("UIDs sharing one record") << CraftedArchives::uidsSharingOneRecord(2000, 2000) << 2000 << 3;
        QTest::newRow("records sharing one list") << CraftedArchives::recordsSharingOneList(2000, 2000) << 2000 << 2002;
        QTest::newRow("dictionaries sharing lists") << CraftedArchives::dictionariesSharingTheirLists(2000, 1000) << 2000 << 3002;
        QTest::newRow("long escaped key everywhere") << CraftedArchives::longKeyInManyRecords(2000, 20000) << 2000 << 2001;
        QTest::newRow("one class description") << CraftedArchives::classesSharingOneDescription(2000, 2000) << 2000 << 2001;

        ValueList documents;
        for (int i = 0; i < 300; ++i) {
            auto document = QuillarcDocument::create();
            document->setField(QuillarcDocument::Title, Value::string(QStringLiteral("Rechnung %1").arg(i)));
            document->setField(QuillarcDocument::FileSize, Value::real(1000.0 + i));
            documents.append(Value::object(document));
        }
        QTest::newRow("300 documents written here") << KeyedArchiver::archivedDataWithRootObject(Value::array(documents)) << 300 << -1;
    }
    void repeatedReferencesCostOnlyTheirBytes()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(int, rootItems);
        QFETCH(int, decodedObjects);
        KeyedUnarchiver unarchiver;
        QVERIFY2(unarchiver.decode(bytes), qPrintable(unarchiver.errorString()));
        QCOMPARE(unarchiver.root().toArray().size(), rootItems);
        if (decodedObjects >= 0)
            QCOMPARE(unarchiver.decodedObjectCount(), decodedObjects);
        // Keys, list entries and characters: fewer than the file has bytes,
        // however often the same record, list, key or class is reached.
        QVERIFY2(unarchiver.workCount() < bytes.size(),
            qPrintable(QStringLiteral("%1 units for %2 bytes").arg(unarchiver.workCount()).arg(bytes.size())));
    }

    void refusesLoopsDepthAndAbsurdSizes_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("reason");
        for (const auto& cases : { DamagedArchives::cycles(), DamagedArchives::propertyListLoops(), DamagedArchives::absurdSizes(),
                 DamagedArchives::xmlCases() }) {
            for (const DamagedArchives::Case& c : cases)
                QTest::newRow(qPrintable(c.name)) << c.bytes << c.reason;
        }
    }
    void refusesLoopsDepthAndAbsurdSizes()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QString, reason);
        QString error;
        const Value root = KeyedUnarchiver::unarchiveObjectWithData(bytes, &error);
        QVERIFY(root.isNil());
        QVERIFY2(error.contains(reason), qPrintable(error));
    }
};

QTEST_GUILESS_MAIN(TestKeyedArchive)
#include "tst_keyedarchive.moc"
