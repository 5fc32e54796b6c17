#include "TestSupport.h"
#include "WordFile.h"
#include "intake/DocReader.h"
#include "intake/DocxReader.h"
#include "intake/HtmlReader.h"
#include "intake/PlainTextReader.h"
#include "intake/RtfReader.h"
#include "intake/TextDecoding.h"
#include "intake/WebArchiveReader.h"
#include "store/BinaryPlistWriter.h"

#include <QRandomGenerator>
#include <QRegularExpression>
#include <QStringEncoder>
#include <QTemporaryDir>
#include <QTest>
#include <QtEndian>
#include <typeinfo>
#include <zip.h>

using namespace Qt::StringLiterals;

namespace {

const QString kGerman = QStringLiteral("Hängeschränke, Größe, Übergabe");

using ZipEntries = QList<QPair<QString, QByteArray>>;

// A zip written by libzip into a temporary file and read back.
QByteArray zipBytes(const ZipEntries& entries)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("out.zip"));
    int error = 0;
    zip_t* archive = zip_open(QFile::encodeName(path).constData(), ZIP_CREATE | ZIP_TRUNCATE, &error);
    if (!archive)
        return {};
    for (const auto& [name, data] : entries) {
        zip_source_t* source = zip_source_buffer(archive, data.constData(), zip_uint64_t(data.size()), 0);
        zip_file_add(archive, name.toUtf8().constData(), source, ZIP_FL_OVERWRITE | ZIP_FL_ENC_UTF_8);
    }
    if (zip_close(archive) != 0) {
        zip_discard(archive);
        return {};
    }
    return readFile(path);
}

QByteArray documentXml(const QString& body)
{
    return (QStringLiteral("<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>"
                           "<w:document xmlns:w=\"http://schemas.openxmlformats.org/wordprocessingml/2006/main\">"
                           "<w:body>")
        + body + QStringLiteral("</w:body></w:document>"))
        .toUtf8();
}

QByteArray docx(const QString& body)
{
    return zipBytes({ { QStringLiteral("[Content_Types].xml"), "<Types/>" },
        { QStringLiteral("word/document.xml"), documentXml(body) } });
}

QByteArray encoded(const QString& text, const char* encoding)
{
    QStringEncoder encoder(encoding);
    return encoder.encode(text);
}

QByteArray fixture(const QString& name)
{
    return readFile(QStringLiteral(QUILLARC_TEST_DATA "/") + name);
}

// Offset of the WordDocument stream in the committed fixture: the one sector starting with Word's magic number.
qsizetype wordStreamOffset(const QByteArray& doc)
{
    for (qsizetype offset = 512; offset + 2 <= doc.size(); offset += 512) {
        if (doc.at(offset) == '\xEC' && doc.at(offset + 1) == '\xA5')
            return offset;
    }
    return -1;
}

QByteArray utf16le(const QString& text)
{
    return QByteArray(reinterpret_cast<const char*>(text.utf16()), text.size() * 2);
}

// A web archive as browsers save it: the main resource and its sub-resources.
QByteArray webArchiveBytes(const QByteArray& html, const QString& encodingName, bool withMainResource = true)
{
    BinaryPlistWriter writer;
    std::vector<BinaryPlistWriter::Ref> keys { writer.addString(QStringLiteral("WebResourceData")),
        writer.addString(QStringLiteral("WebResourceMIMEType")), writer.addString(QStringLiteral("WebResourceURL")) };
    std::vector<BinaryPlistWriter::Ref> values { writer.addData(html), writer.addString(QStringLiteral("text/html")),
        writer.addString(QStringLiteral("https://example.com/")) };
    if (!encodingName.isEmpty()) {
        keys.push_back(writer.addString(QStringLiteral("WebResourceTextEncodingName")));
        values.push_back(writer.addString(encodingName));
    }
    const auto resource = writer.addDictionary(keys, values);
    const auto mainKey
        = writer.addString(withMainResource ? QStringLiteral("WebMainResource") : QStringLiteral("WebOtherResource"));
    const auto subKey = writer.addString(QStringLiteral("WebSubresources"));
    const auto top = writer.addDictionary({ mainKey, subKey }, { resource, writer.addArray({}) });
    return writer.write(top);
}

// The text the reader named @p reader finds in @p bytes; plain text must decode without an error.
QString extractWith(const QString& reader, const QByteArray& bytes)
{
    if (reader == QLatin1String("doc"))
        return DocReader::extractFromData(bytes);
    if (reader == QLatin1String("docx"))
        return DocxReader::extractFromData(bytes);
    if (reader == QLatin1String("rtf"))
        return RtfReader::extractFromData(bytes);
    if (reader == QLatin1String("html"))
        return HtmlReader::extractFromData(bytes);
    if (reader == QLatin1String("web"))
        return WebArchiveReader::extractFromData(bytes);
    QString error;
    const QString text = PlainTextReader::extractFromData(bytes, &error);
    return error.isEmpty() ? text : QStringLiteral("<error: %1>").arg(error);
}

QByteArray randomBytes(qsizetype size, quint32 seed)
{
    QByteArray bytes(size, Qt::Uninitialized);
    QRandomGenerator generator(seed);
    for (char& c : bytes)
        c = char(generator.bounded(256));
    return bytes;
}

} // namespace

class TestTextReaders : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;

    QString extractFile(const QString& name, const QByteArray& bytes)
    {
        const QString path = m_dir.filePath(name);
        if (!writeFile(path, bytes))
            return QStringLiteral("<unwritable>");
        const auto reader = textReaderForExtension(QFileInfo(path).suffix());
        return reader ? reader->extract(path) : QStringLiteral("<no reader>");
    }

private Q_SLOTS:
    void readerForExtension_data()
    {
        QTest::addColumn<QString>("extension");
        QTest::addColumn<QString>("reader");
        // clang-format off
        QTest::newRow("doc")        << "doc"        << typeid(DocReader).name();
        QTest::newRow("docx")       << "docx"       << typeid(DocxReader).name();
        QTest::newRow("rtf")        << "rtf"        << typeid(RtfReader).name();
        QTest::newRow("html")       << "html"       << typeid(HtmlReader).name();
        QTest::newRow("htm")        << "htm"        << typeid(HtmlReader).name();
        QTest::newRow("webarchive") << "webarchive" << typeid(WebArchiveReader).name();
        // clang-format on
        for (const char* text : { "txt", "md", "xml", "eml" })
            QTest::newRow(text) << text << typeid(PlainTextReader).name();
        for (const char* none : { "DOC", "Docx", "RTF", "HTML", "TXT", "Md", "pdf", "jpg", "docm", "rtfd", "text", "" })
            QTest::newRow(qPrintable(QStringLiteral("none %1").arg(none))) << none << QString();
    }
    void readerForExtension()
    {
        QFETCH(QString, extension);
        QFETCH(QString, reader);
        const auto found = textReaderForExtension(extension);
        QCOMPARE(found ? QString::fromLatin1(typeid(*found).name()) : QString(), reader);
    }

    void germanTextComesBackVerbatim_data()
    {
        QTest::addColumn<QString>("fileName");
        QTest::addColumn<QByteArray>("bytes");
        const QString letter = QStringLiteral("Sehr geehrte Damen und Herren, anbei die Rechnung für die %1 der Küche. "
                                              "Mit freundlichen Grüßen")
                                   .arg(kGerman);
        const QString metaLatin1 = QStringLiteral("<html><head><meta http-equiv=\"Content-Type\" content=\"text/html; "
                                                  "charset=ISO-8859-1\"></head><body>%1</body></html>")
                                       .arg(kGerman);
        const QByteArray docxBytes = docx(QStringLiteral("<w:p><w:r><w:t>%1</w:t></w:r></w:p>").arg(kGerman));
        const QByteArray web
            = webArchiveBytes(QStringLiteral("<p>%1</p>").arg(kGerman).toUtf8(), QStringLiteral("UTF-8"));
        // clang-format off
        QTest::newRow("doc")  << "a.doc"  << fixture(QStringLiteral("multilingual-table-field.doc"));
        QTest::newRow("docx") << "a.docx" << docxBytes;
        QTest::newRow("rtf")              << "a.rtf"        << "{\\rtf1\\ansi\\ansicpg1252 H\\'e4ngeschr\\u228?nke, "
                                                               "Gr\\'f6\\'dfe, \\'dcbergabe\\par}"_ba;
        QTest::newRow("html utf-8") << "a.html"
                                    << QStringLiteral("<meta charset=\"utf-8\"><p>%1</p>").arg(kGerman).toUtf8();
        QTest::newRow("htm latin-1")      << "a.htm"        << metaLatin1.toLatin1();
        QTest::newRow("webarchive")       << "a.webarchive" << web;
        QTest::newRow("txt utf-8")        << "a.txt"        << kGerman.toUtf8();
        QTest::newRow("md utf-8 bom")     << "a.md"         << "\xEF\xBB\xBF" + kGerman.toUtf8();
        QTest::newRow("txt utf-16le bom") << "a.txt"        << "\xFF\xFE" + encoded(kGerman, "UTF-16LE");
        QTest::newRow("eml utf-16be bom") << "a.eml"        << "\xFE\xFF" + encoded(kGerman, "UTF-16BE");
        QTest::newRow("xml utf-32le bom") << "a.xml"
                                          << QByteArray("\xFF\xFE\0\0", 4) + encoded(kGerman, "UTF-32LE");
        QTest::newRow("txt windows-1252") << "a.txt"        << encoded(letter, "windows-1252");
        // clang-format on
    }
    void germanTextComesBackVerbatim()
    {
        QFETCH(QString, fileName);
        QFETCH(QByteArray, bytes);
        QVERIFY(!bytes.isEmpty());
        const QString text = extractFile(fileName, bytes);
        QVERIFY2(text.contains(kGerman), qPrintable(text));
    }

    // Every reader on well-formed, unusual and broken input; broken input gives "". The first word of a
    // row's name is the reader.
    void extract_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("text");
        const QByteArray doc = fixture(QStringLiteral("multilingual-table-field.doc"));
        const qsizetype word = wordStreamOffset(doc);
        QByteArray encrypted = doc;
        if (word > 0)
            encrypted[word + 0x0B] = char(encrypted[word + 0x0B] | 0x01);
        QByteArray older = doc;
        if (word > 0)
            qToLittleEndian<quint16>(0x65, older.data() + word + 2); // a Word 6 version number
        // Every allocation-table entry pointing at itself: every chain is a cycle.
        QByteArray cyclic = doc;
        const qsizetype fat = 512 + qsizetype(qFromLittleEndian<quint32>(doc.constData() + 0x4C)) * 512;
        for (quint32 i = 0; i < 128 && fat + 512 <= cyclic.size(); ++i)
            qToLittleEndian<quint32>(i, cyclic.data() + fat + i * 4);
        QByteArray hugeCounts = doc;
        qToLittleEndian<quint32>(0x7FFFFFFF, hugeCounts.data() + 0x2C);
        qToLittleEndian<quint32>(0x7FFFFFFF, hugeCounts.data() + 0x48);
        qToLittleEndian<quint32>(1, hugeCounts.data() + 0x44);
        const QString docText = kGerman
            + QStringLiteral("\nΕλληνικά κείμενο και Русский текст\nTab here and a link text end.\n"
                             "A1\tB1\t\nA2\tB2\t\nLast paragraph € “quoted”\n");
        const auto piece = [](const QByteArray& bytes) { return WordFile::withText(bytes); };
        WordFile mixedPieces;
        mixedPieces.addPiece("Preis: "_ba);
        mixedPieces.addPiece(utf16le(QStringLiteral("Привет Ελλάδα\r")), false);
        // Crafted files: field marks at every depth and in every order, chains and piece tables that loop or
        // overlap. Each gives its text, or "" when the file is damaged.
        const QByteArray deepFields = "\x13 IF \x14"_ba.repeated(1024) + "shown" + "\x15"_ba.repeated(1024) + "after";
        const QByteArray pastDepth = "\x13"_ba.repeated(1100) + "hidden" + "\x15"_ba.repeated(1100) + "shown";
        const QByteArray sixMegabytesOfMarks = "\x13\x14x"_ba.repeated(2'000'000);
        const QString everyResult(2'000'000, u'x');
        // WordDocument's second sector (3) leads back to its first (2).
        QByteArray chainCycle = WordFile::withText("looping");
        qToLittleEndian<quint32>(2, chainCycle.data() + 512 + 3 * 4);
        WordFile backwards;
        backwards.addPiece("abc");
        backwards.addPiece("def");
        backwards.addPiece("ghi");
        backwards.setCharacterPosition(2, 1); // "def" ends before it starts, "ghi" starts inside "abc"
        WordFile repeated;
        repeated.addPiece(QByteArray(4096, 'x'));
        for (int i = 0; i < 1000; ++i)
            repeated.repeatPiece(0);

        const QByteArray goodDocx = docx(QStringLiteral("<w:p><w:r><w:t>text</w:t></w:r></w:p>"));
        const QByteArray relocated
            = zipBytes({ { QStringLiteral("_rels/.rels"),
                             "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/"
                             "2006/relationships\"><Relationship Id=\"rId1\" Type=\"http://"
                             "schemas.openxmlformats.org/officeDocument/2006/relationships/"
                             "officeDocument\" Target=\"/word/document2.xml\"/></Relationships>" },
                { QStringLiteral("word/document2.xml"),
                    documentXml(QStringLiteral("<w:p><w:r><w:t>moved</w:t></w:r></w:p>")) } });
        const auto p = [](const QString& inner) { return QStringLiteral("<w:p>%1</w:p>").arg(inner); };
        const auto r = [](const QString& text) { return QStringLiteral("<w:r><w:t>%1</w:t></w:r>").arg(text); };
        const QString deleted = QStringLiteral(
            "<w:del><w:r><w:delText>gone</w:delText></w:r></w:del><w:r><w:instrText>PAGE</w:instrText></w:r>");
        const QString table
            = "<w:tbl><w:tr><w:tc>" + p(r("A1")) + "</w:tc><w:tc>" + p(r("B1")) + "</w:tc></w:tr></w:tbl><w:p/>";
        const QByteArray destinations = "{\\rtf1{\\fonttbl{\\f0\\fswiss Arial;}}{\\colortbl;\\red0\\green0\\blue0;}"
                                        "{\\stylesheet{\\s0 Normal;}}{\\info{\\title Secret}{\\author Me}}"
                                        "{\\*\\generator Writer;}{\\header Head\\par}{\\footer Foot\\par}"
                                        "{\\pict\\pngblip 89504e47}{\\object{\\*\\objdata 0102}}Body}";
        const QByteArray deep = "{\\rtf1 " + QByteArray(10000, '{') + "deep \\'e4" + QByteArray(10000, '}') + " after}";
        const QByteArray tooDeep = "{\\rtf1 " + QByteArray(RtfReader::kMaximumDepth + 10, '{') + "x";
        const QByteArray goodWeb = webArchiveBytes("<p>x</p>", {});
        const QString cyrillic = QStringLiteral("Уважаемые дамы и господа, направляем вам счёт за поставку товара. "
                                                "С уважением, бухгалтерия");
        const QString letter
            = QStringLiteral("Sehr geehrte Damen und Herren, anbei die Rechnung für die %1.").arg(kGerman);

        // clang-format off
        QTest::newRow("doc fixture")        << doc                                                  << docText;
        QTest::newRow("doc windows-1252") << piece("Gr\xF6\xDF" "e \x80 \x93x\x94 \x85\r"_ba)
                                          << "Größe € “x” …\n";
        QTest::newRow("doc utf-16 pieces") << mixedPieces.bytes()
                                           << "Preis: Привет Ελλάδα\n";
        QTest::newRow("doc field result")   << piece("a \x13 HYPERLINK \"x\" \x14link\x15 b\r")     << "a link b\n";
        QTest::newRow("doc nested fields")  << piece("\x13 IF \x13 PAGE \x14" "1\x15 \x14yes\x15!") << "yes!";
        QTest::newRow("doc no separator")   << piece("x\x13 TOC \x15y")                             << "xy";
        QTest::newRow("doc table marks")    << piece("A\x07" "B\x07\x07" "C\x07\x07")               << "A\tB\t\nC\t\n";
        QTest::newRow("doc breaks") << piece("a\x0B" "b\x0C" "c\x01\x08\x1F" "d\x1E" "e\t")
                                    << "a\nb\ncd\u2011e\t";
        QTest::newRow("doc piece too far")  << piece(QByteArray(600, 'x')).left(4096)               << "";
        QTest::newRow("doc empty")          << QByteArray()                                         << "";
        QTest::newRow("doc text named doc") << kGerman.toUtf8().repeated(100)                       << "";
        QTest::newRow("doc header only")    << doc.left(512)                                        << "";
        QTest::newRow("doc half")           << doc.left(doc.size() / 2)                             << "";
        QTest::newRow("doc no last sector") << doc.left(doc.size() - 512)                           << "";
        QTest::newRow("doc encrypted")      << encrypted                                            << "";
        QTest::newRow("doc older version")  << older                                                << "";
        QTest::newRow("doc cyclic chains")  << cyclic                                               << "";
        QTest::newRow("doc huge counts")    << hugeCounts                                           << "";
        QTest::newRow("doc 1024 fields deep")      << piece(deepFields)                            << "shownafter";
        QTest::newRow("doc fields past the depth") << piece(pastDepth)                             << "shown";
        QTest::newRow("doc ends without begins")   << piece("\x15" "a\x15\x14" "b\x15\x15"_ba)     << "ab";
        QTest::newRow("doc begins without ends")   << piece("a\x13 PAGE \x14" "1\x13 NUMPAGES"_ba) << "a1";
        QTest::newRow("doc separators repeated")   << piece("\x13x\x14y\x14z\x15!"_ba)             << "yz!";
        QTest::newRow("doc 6 MB of field marks")   << piece(sixMegabytesOfMarks)                   << everyResult;
        QTest::newRow("doc chain cycle")           << chainCycle                                   << "";
        QTest::newRow("doc pieces going back")     << backwards.bytes()                            << "";
        QTest::newRow("doc pieces reread")         << repeated.bytes()                             << "";

        QTest::newRow("docx paragraphs")     << docx(p(r("One")) + p(r("Two")))               << "One\nTwo\n";
        QTest::newRow("docx runs join") << docx(p("<w:r><w:t xml:space=\"preserve\">Ab </w:t></w:r>" + r("cd")))
                                        << "Ab cd\n";
        QTest::newRow("docx tab, breaks")    << docx(p("<w:r><w:t>a</w:t><w:tab/><w:t>b</w:t><w:br/>"
                                                       "<w:t>c</w:t><w:cr/></w:r>")) << "a\tb\nc\n\n";
        QTest::newRow("docx tab stops")      << docx(p("<w:pPr><w:tabs><w:tab w:val=\"left\" w:pos=\"720\"/></w:tabs>"
                                                       "</w:pPr>" + r("x"))) << "x\n";
        QTest::newRow("docx deleted, codes") << docx(p(deleted + r("kept")))                  << "kept\n";
        QTest::newRow("docx table")          << docx(table)                                   << "A1\tB1\t\n\n";
        QTest::newRow("docx entities")       << docx(p(r("&lt;a&amp;b&gt; &#x20AC;")))        << "<a&b> €\n";
        QTest::newRow("docx relationships")  << relocated                                     << "moved\n";
        QTest::newRow("docx empty")          << QByteArray()                                  << "";
        QTest::newRow("docx not a zip")      << "PK\x03\x04 this is not really a zip file"_ba << "";
        QTest::newRow("docx no document")    << zipBytes({ { "word/other.xml", "<x/>" } })    << "";
        QTest::newRow("docx broken xml") << zipBytes({ { "word/document.xml", "<w:document><w:t>unclosed" } })
                                         << "";
        QTest::newRow("docx truncated")      << goodDocx.left(goodDocx.size() - 30)           << "";

        QTest::newRow("rtf plain") << "{\\rtf1\\ansi Hello world\\par}"_ba
                                   << "Hello world\n";
        QTest::newRow("rtf hex escapes")    << "{\\rtf1\\ansi\\ansicpg1252 K\\'fcche \\'80\\par}"_ba     << "Küche €\n";
        QTest::newRow("rtf unicode")        << "{\\rtf1\\uc1 a\\u8364?b\\uc2\\u8364xxc\\uc0\\u946 d}"_ba << "a€b€cβd";
        QTest::newRow("rtf fallback hex")   << "{\\rtf1 \\u228\\'e4x}"_ba                                << "äx";
        QTest::newRow("rtf negative") << "{\\rtf1 \\u-3913?}"_ba
                                      << QString(QChar(0xF0B7));
        QTest::newRow("rtf surrogate pair") << "{\\rtf1 \\u-10179?\\u-8704?}"_ba
                                            << "\U0001F600";
        QTest::newRow("rtf destinations")   << destinations                                              << "Body";
        QTest::newRow("rtf marks") << "{\\rtf1 a\\line b\\tab c\\par d\\~e\\-f\\emdash g\\endash h\\bullet}"_ba
                                   << "a\nb\tc\nd\u00A0ef\u2014g\u2013h\u2022";
        QTest::newRow("rtf quotes") << "{\\rtf1 \\lquote a\\rquote  \\ldblquote b\\rdblquote}"_ba
                                    << "\u2018a\u2019 \u201Cb\u201D";
        QTest::newRow("rtf escaped braces") << "{\\rtf1 \\{x\\} \\\\y}"_ba                               << "{x} \\y";
        QTest::newRow("rtf source breaks")  << "{\\rtf1 ab\r\ncd\\\nef}"_ba                              << "abcd\nef";
        QTest::newRow("rtf field result") << "{\\rtf1 {\\field{\\*\\fldinst HYPERLINK \"x\"}{\\fldrslt link}}}"_ba
                                          << "link";
        QTest::newRow("rtf cyrillic page") << "{\\rtf1\\ansi\\ansicpg1251 \\'cf\\'f0\\'e8\\'e2\\'e5\\'f2}"_ba
                                           << "Привет";
        QTest::newRow("rtf font charset")   << "{\\rtf1\\ansi\\ansicpg1252{\\fonttbl{\\f1\\fcharset204 Arial Cyr;}}"
                                               "\\f1 \\'c4\\'e0 {\\f0 \\'e4}}"_ba << "Да ä";
        QTest::newRow("rtf shift-jis")      << "{\\rtf1\\ansi\\ansicpg932 \\'93\\'fa\\'96\\'7b}"_ba << "日本";
        QTest::newRow("rtf binary skipped") << "{\\rtf1 a{\\pict\\bin4 }{\\x}b}"_ba                 << "ab";
        QTest::newRow("rtf bin outside")    << "{\\rtf1 a\\bin3 {{{b}"_ba                           << "ab";
        QTest::newRow("rtf unclosed")       << "{\\rtf1 open {\\b bold"_ba                          << "open bold";
        QTest::newRow("rtf leading space")  << "\r\n {\\rtf1 x}"_ba                                 << "x";
        QTest::newRow("rtf not rtf")        << "Hello {\\rtf1 x}"_ba                                << "";
        QTest::newRow("rtf empty")          << QByteArray()                                         << "";
        QTest::newRow("rtf only magic")     << "{\\rtf"_ba                                          << "";
        QTest::newRow("rtf dangling")       << "{\\rtf1 a\\'4"_ba                                   << "a";
        QTest::newRow("rtf deep nesting")   << deep                                                 << "deep ä after";
        QTest::newRow("rtf beyond depth")   << tooDeep                                              << "";

        QTest::newRow("html no charset")   << QStringLiteral("<p>Grüße</p>").toUtf8()                 << "Grüße";
        QTest::newRow("html meta latin-1") << "<meta charset=\"iso-8859-1\"><p>Gr\xfc\xdf" "e</p>"_ba << "Grüße";
        QTest::newRow("html meta 1251")    << "<meta http-equiv=\"content-type\" content=\"text/html; "
                                              "charset=windows-1251\">\xcf\xf0\xe8"_ba << "При";
        QTest::newRow("html undeclared") << encoded("<p>" + letter + "</p>", "windows-1252")                 << letter;
        QTest::newRow("html utf-16 bom") << "\xFF\xFE" + encoded(QStringLiteral("<p>Grüße</p>"), "UTF-16LE") << "Grüße";
        QTest::newRow("html entities") << "<b>a &amp; b</b> &euro;<script>x()</script>"_ba
                                       << "a & b €";
        QTest::newRow("html paragraphs") << "<p>one</p><p>two</p>"_ba
                                         << "one\ntwo";
        QTest::newRow("html empty")      << QByteArray()                                                     << "";

        QTest::newRow("web utf-8 by meta") << webArchiveBytes("<meta charset=utf-8><p>Grüße</p>"_ba, {}) << "Grüße";
        QTest::newRow("web latin-1") << webArchiveBytes("<p>Gr\xfc\xdf" "e</p>", QStringLiteral("ISO-8859-1"))
                                     << "Grüße";
        QTest::newRow("web no main")       << webArchiveBytes("<p>x</p>", {}, false)                     << "";
        QTest::newRow("web truncated")     << goodWeb.left(goodWeb.size() - 10)                          << "";
        QTest::newRow("web html file")     << "<html><p>x</p></html>"_ba                                 << "";
        QTest::newRow("web empty")         << QByteArray()                                               << "";

        QTest::newRow("text empty")        << QByteArray()                        << "";
        QTest::newRow("text line ends")    << "From: a\r\nTo: b\r\n\r\nBody\n"_ba << "From: a\r\nTo: b\r\n\r\nBody\n";
        QTest::newRow("text utf-8 bom")    << "\xEF\xBB\xBFx"_ba                  << "x";
        QTest::newRow("text utf-32be bom") << "\0\0\xFE\xFF\0\0\0x"_ba            << "x";
        QTest::newRow("text windows-1251") << encoded(cyrillic, "windows-1251")   << cyrillic;
        // clang-format on
    }
    void extract()
    {
        const QString reader = QString::fromLatin1(QTest::currentDataTag()).section(u' ', 0, 0);
        QFETCH(QByteArray, bytes);
        QFETCH(QString, text);
        QCOMPARE(extractWith(reader, bytes), text);
    }

    void htmlOutsideEncodingWins()
    {
        QCOMPARE(HtmlReader::extractFromData("<meta charset=\"utf-8\">\xe4", "ISO-8859-1"), QStringLiteral("ä"));
    }

    void docxZipBombIsRefused()
    {
        // 80 MiB of one repeated paragraph deflate to well under a megabyte.
        const QByteArray paragraph = "<w:p><w:r><w:t>aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa</w:t></w:r></w:p>";
        QByteArray body = documentXml(QString());
        body.insert(body.indexOf("</w:body>"), paragraph.repeated((80 << 20) / paragraph.size()));
        const QByteArray bomb = zipBytes({ { QStringLiteral("word/document.xml"), body } });
        body.clear();
        QVERIFY(bomb.size() < 2 * 1024 * 1024);
        QCOMPARE(DocxReader::extractFromData(bomb), QString());

        // The same with sizes in the headers that claim a tiny part: reading must still stop at the cap.
        QByteArray lying = bomb;
        for (qsizetype at = lying.indexOf("PK\x03\x04"); at >= 0; at = lying.indexOf("PK\x03\x04", at + 4))
            qToLittleEndian<quint32>(100, lying.data() + at + 22);
        for (qsizetype at = lying.indexOf("PK\x01\x02"); at >= 0; at = lying.indexOf("PK\x01\x02", at + 4))
            qToLittleEndian<quint32>(100, lying.data() + at + 24);
        QCOMPARE(DocxReader::extractFromData(lying), QString());
    }

    void undecodableTextLogsEncError()
    {
        QByteArray junk = randomBytes(64 * 1024, 42);
        junk[10] = '\0';
        QString error;
        QCOMPARE(PlainTextReader::extractFromData(junk, &error), QString());
        QVERIFY(!error.isEmpty());
        error.clear();
        QCOMPARE(PlainTextReader::extractFromData(QByteArray("\xFF\xFE\x00\xD8", 4), &error), QString());
        QVERIFY2(!error.isEmpty(), "an invalid text after a byte order mark");

        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("^encError: .*junk\\.txt")));
        QCOMPARE(extractFile(QStringLiteral("junk.txt"), junk), QString());
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("^encError: ")));
        QCOMPARE(PlainTextReader().extract(m_dir.filePath(QStringLiteral("missing.txt"))), QString());
    }

    void everyExtensionSurvivesEmptyAndJunk_data()
    {
        QTest::addColumn<QString>("extension");
        for (const char* extension : { "doc", "docx", "rtf", "html", "htm", "webarchive", "txt", "md", "xml", "eml" })
            QTest::newRow(extension) << extension;
    }
    void everyExtensionSurvivesEmptyAndJunk()
    {
        QFETCH(QString, extension);
        QCOMPARE(extractFile(QStringLiteral("empty.") + extension, QByteArray()), QString());

        const QByteArray junk = randomBytes(1 << 20, 7);
        const bool html = extension.startsWith(QLatin1String("htm"));
        if (QStringList { QStringLiteral("txt"), QStringLiteral("md"), QStringLiteral("xml"), QStringLiteral("eml") }
                .contains(extension))
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("^encError: ")));
        const QString text = extractFile(QStringLiteral("junk.") + extension, junk);
        if (!html)
            QCOMPARE(text, QString());
    }
};

QTEST_MAIN(TestTextReaders)
#include "tst_textreaders.moc"
