#include "TestSupport.h"
#include "intake/DocReader.h"
#include "intake/DocxReader.h"
#include "intake/HtmlReader.h"
#include "intake/PlainTextReader.h"
#include "intake/RtfReader.h"
#include "intake/TextDecoding.h"
#include "intake/WebArchiveReader.h"
#include "store/BinaryPlistWriter.h"

#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QStringEncoder>
#include <QTemporaryDir>
#include <QTest>
#include <QtEndian>
#include <typeinfo>
#include <zip.h>

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

// A minimal Word 97 file: a version-3 compound file with a WordDocument stream
// holding the file information block and the characters, and a 0Table stream
// holding the piece table. Both streams are padded past the mini-stream
// cut-off so they live in regular sectors.
QByteArray wordFile(const QList<QPair<QByteArray, bool>>& pieces)
{
    constexpr qsizetype kSector = 512;
    QByteArray word(4096, '\0');
    qToLittleEndian<quint16>(0xA5EC, word.data());
    qToLittleEndian<quint16>(0x00C1, word.data() + 2);
    qToLittleEndian<quint16>(14, word.data() + 32);
    qToLittleEndian<quint16>(22, word.data() + 62);
    qToLittleEndian<quint16>(93, word.data() + 152);
    QByteArray table(4096, '\0');
    QByteArray plc;
    QByteArray descriptors;
    quint32 cp = 0;
    qsizetype textOffset = 1024;
    for (const auto& [bytes, compressed] : pieces) {
        word.replace(textOffset, bytes.size(), bytes);
        plc.append(QByteArray(4, '\0'));
        qToLittleEndian<quint32>(cp, plc.data() + plc.size() - 4);
        QByteArray pcd(8, '\0');
        qToLittleEndian<quint32>(
            compressed ? quint32(textOffset * 2) | 0x40000000u : quint32(textOffset), pcd.data() + 2);
        descriptors += pcd;
        cp += quint32(compressed ? bytes.size() : bytes.size() / 2);
        textOffset += (bytes.size() + 511) / 512 * 512;
    }
    plc.append(QByteArray(4, '\0'));
    qToLittleEndian<quint32>(cp, plc.data() + plc.size() - 4);
    qToLittleEndian<quint32>(cp, word.data() + 64 + 3 * 4); // ccpText
    // One property run first, then the piece table.
    QByteArray clx("\x01\x02\x00\x00\x00\x02", 6);
    clx += QByteArray(4, '\0');
    qToLittleEndian<quint32>(quint32(plc.size() + descriptors.size()), clx.data() + 6);
    clx += plc + descriptors;
    table.replace(0, clx.size(), clx);
    qToLittleEndian<quint32>(0, word.data() + 154 + 33 * 8);
    qToLittleEndian<quint32>(quint32(clx.size()), word.data() + 154 + 33 * 8 + 4);

    const quint32 wordSectors = quint32(word.size() / kSector);
    const quint32 tableSectors = quint32(table.size() / kSector);
    QByteArray header(kSector, '\0');
    header.replace(0, 8, QByteArray("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", 8));
    qToLittleEndian<quint16>(0x3E, header.data() + 0x18);
    qToLittleEndian<quint16>(3, header.data() + 0x1A);
    qToLittleEndian<quint16>(0xFFFE, header.data() + 0x1C);
    qToLittleEndian<quint16>(9, header.data() + 0x1E);
    qToLittleEndian<quint16>(6, header.data() + 0x20);
    qToLittleEndian<quint32>(1, header.data() + 0x2C);
    qToLittleEndian<quint32>(1, header.data() + 0x30);
    qToLittleEndian<quint32>(4096, header.data() + 0x38);
    qToLittleEndian<quint32>(0xFFFFFFFE, header.data() + 0x3C);
    qToLittleEndian<quint32>(0xFFFFFFFE, header.data() + 0x44);
    for (int i = 0; i < 109; ++i)
        qToLittleEndian<quint32>(i == 0 ? 0 : 0xFFFFFFFF, header.data() + 0x4C + i * 4);

    // Sector 0: allocation table; 1: directory; then the two streams.
    QByteArray fat(kSector, '\xFF');
    qToLittleEndian<quint32>(0xFFFFFFFD, fat.data());
    qToLittleEndian<quint32>(0xFFFFFFFE, fat.data() + 4);
    quint32 next = 2;
    for (quint32 sectors : { wordSectors, tableSectors }) {
        for (quint32 k = 0; k < sectors; ++k, ++next)
            qToLittleEndian<quint32>(k + 1 == sectors ? 0xFFFFFFFE : next + 1, fat.data() + next * 4);
    }
    QByteArray directory(kSector, '\0');
    auto entry
        = [&](int index, const QString& name, quint8 type, quint32 right, quint32 child, quint32 start, quint32 size) {
              char* p = directory.data() + index * 128;
              for (qsizetype i = 0; i < name.size(); ++i)
                  qToLittleEndian<quint16>(name.at(i).unicode(), p + i * 2);
              qToLittleEndian<quint16>(quint16((name.size() + 1) * 2), p + 0x40);
              p[0x42] = char(type);
              qToLittleEndian<quint32>(0xFFFFFFFF, p + 0x44);
              qToLittleEndian<quint32>(right, p + 0x48);
              qToLittleEndian<quint32>(child, p + 0x4C);
              qToLittleEndian<quint32>(start, p + 0x74);
              qToLittleEndian<quint32>(size, p + 0x78);
          };
    entry(0, QStringLiteral("Root Entry"), 5, 0xFFFFFFFF, 1, 0xFFFFFFFE, 0);
    entry(1, QStringLiteral("WordDocument"), 2, 2, 0xFFFFFFFF, 2, quint32(word.size()));
    entry(2, QStringLiteral("0Table"), 2, 0xFFFFFFFF, 0xFFFFFFFF, 2 + wordSectors, quint32(table.size()));
    return header + fat + directory + word + table;
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
        QTest::newRow("doc") << "doc" << typeid(DocReader).name();
        QTest::newRow("docx") << "docx" << typeid(DocxReader).name();
        QTest::newRow("rtf") << "rtf" << typeid(RtfReader).name();
        QTest::newRow("html") << "html" << typeid(HtmlReader).name();
        QTest::newRow("htm") << "htm" << typeid(HtmlReader).name();
        QTest::newRow("webarchive") << "webarchive" << typeid(WebArchiveReader).name();
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
        QTest::newRow("doc") << "a.doc" << fixture(QStringLiteral("multilingual-table-field.doc"));
        QTest::newRow("docx") << "a.docx" << docx(QStringLiteral("<w:p><w:r><w:t>%1</w:t></w:r></w:p>").arg(kGerman));
        QTest::newRow("rtf") << "a.rtf"
                             << QByteArray("{\\rtf1\\ansi\\ansicpg1252 H\\'e4ngeschr\\u228?nke, Gr\\'f6\\'dfe, "
                                           "\\'dcbergabe\\par}");
        QTest::newRow("html utf-8")
            << "a.html"
            << (QStringLiteral("<html><head><meta charset=\"utf-8\"></head><body><p>%1</p>").arg(kGerman).toUtf8());
        QTest::newRow("htm latin-1") << "a.htm"
                                     << (QStringLiteral(
                                            "<html><head><meta http-equiv=\"Content-Type\" content=\"text/html; "
                                            "charset=ISO-8859-1\"></head><body>%1</body></html>")
                                                .arg(kGerman)
                                                .toLatin1());
        QTest::newRow("webarchive") << "a.webarchive"
                                    << webArchiveBytes(
                                           QStringLiteral("<p>%1</p>").arg(kGerman).toUtf8(), QStringLiteral("UTF-8"));
        QTest::newRow("txt utf-8") << "a.txt" << kGerman.toUtf8();
        QTest::newRow("md utf-8 bom") << "a.md"
                                      << "\xEF\xBB\xBF" + kGerman.toUtf8();
        QTest::newRow("txt utf-16le bom") << "a.txt"
                                          << "\xFF\xFE" + encoded(kGerman, "UTF-16LE");
        QTest::newRow("eml utf-16be bom") << "a.eml"
                                          << "\xFE\xFF" + encoded(kGerman, "UTF-16BE");
        QTest::newRow("xml utf-32le bom") << "a.xml" << QByteArray("\xFF\xFE\0\0", 4) + encoded(kGerman, "UTF-32LE");
        QTest::newRow("txt windows-1252")
            << "a.txt"
            << encoded(QStringLiteral("Sehr geehrte Damen und Herren, anbei die Rechnung für die %1 "
                                      "der Küche. Mit freundlichen Grüßen")
                           .arg(kGerman),
                   "windows-1252");
    }
    void germanTextComesBackVerbatim()
    {
        QFETCH(QString, fileName);
        QFETCH(QByteArray, bytes);
        QVERIFY(!bytes.isEmpty());
        const QString text = extractFile(fileName, bytes);
        QVERIFY2(text.contains(kGerman), qPrintable(text));
    }

    void docKeepsScriptsTablesAndFieldResults()
    {
        const QString text = DocReader::extractFromData(fixture(QStringLiteral("multilingual-table-field.doc")));
        QCOMPARE(text,
            kGerman
                + QStringLiteral("\nΕλληνικά κείμενο και Русский текст\n"
                                 "Tab here and a link text end.\n"
                                 "A1\tB1\t\nA2\tB2\t\n"
                                 "Last paragraph € “quoted”\n"));
    }

    void docPieces_data()
    {
        QTest::addColumn<QByteArray>("doc");
        QTest::addColumn<QString>("text");
        QTest::newRow("compressed windows-1252") << wordFile({ { QByteArray("Gr\xF6\xDF"
                                                                            "e \x80 \x93x\x94 \x85\r"),
            true } }) << QStringLiteral("Größe € “x” …\n");
        QTest::newRow("compressed and utf-16 pieces")
            << wordFile({ { QByteArray("Preis: "), true }, { utf16le(QStringLiteral("Привет Ελλάδα\r")), false } })
            << QStringLiteral("Preis: Привет Ελλάδα\n");
        QTest::newRow("field instruction dropped, result kept")
            << wordFile({ { QByteArray("a \x13 HYPERLINK \"x\" \x14link\x15 b\r"), true } }) << "a link b\n";
        QTest::newRow("nested fields") << wordFile({ { QByteArray("\x13 IF \x13 PAGE \x14"
                                                                  "1\x15 \x14yes\x15!"),
            true } }) << "yes!";
        QTest::newRow("field without separator") << wordFile({ { QByteArray("x\x13 TOC \x15y"), true } }) << "xy";
        QTest::newRow("table marks") << wordFile({ { QByteArray("A\x07"
                                                                "B\x07\x07"
                                                                "C\x07\x07"),
            true } }) << "A\tB\t\nC\t\n";
        QTest::newRow("breaks, anchors and hyphens") << wordFile({ { QByteArray("a\x0B"
                                                                                "b\x0C"
                                                                                "c\x01\x08\x1F"
                                                                                "d\x1E"
                                                                                "e\t"),
            true } }) << QStringLiteral("a\nb\ncd\u2011e\t");
        QTest::newRow("piece beyond the stream")
            << wordFile({ { QByteArray(600, 'x'), true } }).left(4096) << QString();
    }
    void docPieces()
    {
        QFETCH(QByteArray, doc);
        QFETCH(QString, text);
        QCOMPARE(DocReader::extractFromData(doc), text);
    }

    void docBrokenGivesEmpty_data()
    {
        const QByteArray good = fixture(QStringLiteral("multilingual-table-field.doc"));
        const qsizetype word = wordStreamOffset(good);
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("text named doc") << kGerman.toUtf8().repeated(100);
        QTest::newRow("header only") << good.left(512);
        QTest::newRow("half") << good.left(good.size() / 2);
        QTest::newRow("all but last sector") << good.left(good.size() - 512);
        QByteArray encrypted = good;
        if (word > 0)
            encrypted[word + 0x0B] = char(encrypted[word + 0x0B] | 0x01);
        QTest::newRow("encrypted") << encrypted;
        QByteArray older = good;
        if (word > 0)
            qToLittleEndian<quint16>(0x65, older.data() + word + 2); // a Word 6 version number
        QTest::newRow("older version") << older;
        // Every allocation-table entry pointing at itself: every chain is a cycle.
        QByteArray cyclic = good;
        const quint32 fatSector = qFromLittleEndian<quint32>(good.constData() + 0x4C);
        const qsizetype fat = 512 + qsizetype(fatSector) * 512;
        for (quint32 i = 0; i < 128 && fat + 512 <= cyclic.size(); ++i)
            qToLittleEndian<quint32>(i, cyclic.data() + fat + i * 4);
        QTest::newRow("cyclic chains") << cyclic;
        QByteArray hugeCounts = good;
        qToLittleEndian<quint32>(0x7FFFFFFF, hugeCounts.data() + 0x2C);
        qToLittleEndian<quint32>(0x7FFFFFFF, hugeCounts.data() + 0x48);
        qToLittleEndian<quint32>(1, hugeCounts.data() + 0x44);
        QTest::newRow("extension count beyond the file") << hugeCounts;
    }
    void docBrokenGivesEmpty()
    {
        QFETCH(QByteArray, bytes);
        QElapsedTimer timer;
        timer.start();
        const QString text = DocReader::extractFromData(bytes);
        QCOMPARE(text, QString());
        QVERIFY(timer.elapsed() < 2000);
    }

    void docxStructure_data()
    {
        QTest::addColumn<QString>("body");
        QTest::addColumn<QString>("text");
        QTest::newRow("paragraphs") << "<w:p><w:r><w:t>One</w:t></w:r></w:p><w:p><w:r><w:t>Two</w:t></w:r></w:p>"
                                    << "One\nTwo\n";
        QTest::newRow("runs join")
            << "<w:p><w:r><w:t xml:space=\"preserve\">Ab </w:t></w:r><w:r><w:t>cd</w:t></w:r></w:p>"
            << "Ab cd\n";
        QTest::newRow("tab and breaks")
            << "<w:p><w:r><w:t>a</w:t><w:tab/><w:t>b</w:t><w:br/><w:t>c</w:t><w:cr/></w:r></w:p>"
            << "a\tb\nc\n\n";
        QTest::newRow("tab stops are no text")
            << "<w:p><w:pPr><w:tabs><w:tab w:val=\"left\" w:pos=\"720\"/></w:tabs></w:pPr><w:r><w:t>x</w:t></w:r></w:p>"
            << "x\n";
        QTest::newRow("deleted text and field codes")
            << "<w:p><w:del><w:r><w:delText>gone</w:delText></w:r></w:del><w:r><w:instrText>PAGE</w:instrText></w:r>"
               "<w:r><w:t>kept</w:t></w:r></w:p>"
            << "kept\n";
        QTest::newRow("table")
            << "<w:tbl><w:tr><w:tc><w:p><w:r><w:t>A1</w:t></w:r></w:p></w:tc><w:tc><w:p><w:r><w:t>B1</w:t></w:r></w:p>"
               "</w:tc></w:tr></w:tbl><w:p/>"
            << "A1\tB1\t\n\n";
        QTest::newRow("entities") << "<w:p><w:r><w:t>&lt;a&amp;b&gt; &#x20AC;</w:t></w:r></w:p>"
                                  << "<a&b> €\n";
    }
    void docxStructure()
    {
        QFETCH(QString, body);
        QFETCH(QString, text);
        QCOMPARE(DocxReader::extractFromData(docx(body)), text);
    }

    void docxMainPartFromRelationships()
    {
        const QByteArray bytes
            = zipBytes({ { QStringLiteral("_rels/.rels"),
                             "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">"
                             "<Relationship Id=\"rId1\" "
                             "Type=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships/"
                             "officeDocument\" Target=\"/word/document2.xml\"/></Relationships>" },
                { QStringLiteral("word/document2.xml"),
                    documentXml(QStringLiteral("<w:p><w:r><w:t>moved</w:t></w:r></w:p>")) } });
        QCOMPARE(DocxReader::extractFromData(bytes), QStringLiteral("moved\n"));
    }

    void docxBrokenGivesEmpty_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("not a zip") << QByteArray("PK\x03\x04 this is not really a zip file");
        QTest::newRow("no document part") << zipBytes({ { QStringLiteral("word/other.xml"), "<x/>" } });
        QTest::newRow("broken xml") << zipBytes(
            { { QStringLiteral("word/document.xml"), "<w:document><w:t>unclosed" } });
        const QByteArray good = docx(QStringLiteral("<w:p><w:r><w:t>text</w:t></w:r></w:p>"));
        QTest::newRow("truncated") << good.left(good.size() - 30);
    }
    void docxBrokenGivesEmpty()
    {
        QFETCH(QByteArray, bytes);
        QCOMPARE(DocxReader::extractFromData(bytes), QString());
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
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(DocxReader::extractFromData(lying), QString());
        QVERIFY(timer.elapsed() < 5000);
    }

    void rtf_data()
    {
        QTest::addColumn<QByteArray>("rtf");
        QTest::addColumn<QString>("text");
        QTest::newRow("plain") << QByteArray("{\\rtf1\\ansi Hello world\\par}") << "Hello world\n";
        QTest::newRow("hex escapes") << QByteArray("{\\rtf1\\ansi\\ansicpg1252 K\\'fcche \\'80\\par}") << "Küche €\n";
        QTest::newRow("unicode with fallback")
            << QByteArray("{\\rtf1\\uc1 a\\u8364?b\\uc2\\u8364xxc\\uc0\\u946 d}") << "a€b€cβd";
        QTest::newRow("unicode fallback as hex") << QByteArray("{\\rtf1 \\u228\\'e4x}") << "äx";
        QTest::newRow("negative unicode") << QByteArray("{\\rtf1 \\u-3913?}") << QString(QChar(0xF0B7));
        QTest::newRow("surrogate pair") << QByteArray("{\\rtf1 \\u-10179?\\u-8704?}")
                                        << QString::fromUtf8("\xF0\x9F\x98\x80");
        QTest::newRow("skipped destinations")
            << QByteArray("{\\rtf1{\\fonttbl{\\f0\\fswiss Arial;}}{\\colortbl;\\red0\\green0\\blue0;}"
                          "{\\stylesheet{\\s0 Normal;}}{\\info{\\title Secret}{\\author Me}}"
                          "{\\*\\generator Writer;}{\\header Head\\par}{\\footer Foot\\par}"
                          "{\\pict\\pngblip 89504e47}{\\object{\\*\\objdata 0102}}Body}")
            << "Body";
        QTest::newRow("marks") << QByteArray("{\\rtf1 a\\line b\\tab c\\par d\\~e\\-f\\emdash g\\endash h\\bullet}")
                               << QStringLiteral("a\nb\tc\nd\u00A0ef\u2014g\u2013h\u2022");
        QTest::newRow("quotes") << QByteArray("{\\rtf1 \\lquote a\\rquote  \\ldblquote b\\rdblquote}")
                                << QStringLiteral("\u2018a\u2019 \u201Cb\u201D");
        QTest::newRow("escaped braces") << QByteArray("{\\rtf1 \\{x\\} \\\\y}") << "{x} \\y";
        QTest::newRow("source line ends ignored") << QByteArray("{\\rtf1 ab\r\ncd\\\nef}") << "abcd\nef";
        QTest::newRow("field result kept")
            << QByteArray("{\\rtf1 {\\field{\\*\\fldinst HYPERLINK \"x\"}{\\fldrslt link}}}") << "link";
        QTest::newRow("cyrillic code page")
            << QByteArray("{\\rtf1\\ansi\\ansicpg1251 \\'cf\\'f0\\'e8\\'e2\\'e5\\'f2}") << QStringLiteral("Привет");
        QTest::newRow("cyrillic font charset") << QByteArray(
            "{\\rtf1\\ansi\\ansicpg1252{\\fonttbl{\\f1\\fcharset204 Arial Cyr;}}\\f1 \\'c4\\'e0 {\\f0 \\'e4}}")
                                               << QStringLiteral("Да ä");
        QTest::newRow("shift-jis pairs") << QByteArray("{\\rtf1\\ansi\\ansicpg932 \\'93\\'fa\\'96\\'7b}")
                                         << QStringLiteral("日本");
        QTest::newRow("binary data skipped") << QByteArray("{\\rtf1 a{\\pict\\bin4 }{\\x}b}") << "ab";
        QTest::newRow("bin outside pict") << QByteArray("{\\rtf1 a\\bin3 {{{b}") << "ab";
        QTest::newRow("unclosed") << QByteArray("{\\rtf1 open {\\b bold") << "open bold";
        QTest::newRow("leading white space") << QByteArray("\r\n {\\rtf1 x}") << "x";
        QTest::newRow("not rtf") << QByteArray("Hello {\\rtf1 x}") << QString();
        QTest::newRow("empty") << QByteArray() << QString();
        QTest::newRow("only magic") << QByteArray("{\\rtf") << QString();
        QTest::newRow("dangling escape") << QByteArray("{\\rtf1 a\\'4") << "a";
    }
    void rtf()
    {
        QFETCH(QByteArray, rtf);
        QFETCH(QString, text);
        QCOMPARE(RtfReader::extractFromData(rtf), text);
    }

    void rtfDeepNesting()
    {
        const int depth = 10000;
        const QByteArray deep = "{\\rtf1 " + QByteArray(depth, '{') + "deep \\'e4" + QByteArray(depth, '}') + " after}";
        QCOMPARE(RtfReader::extractFromData(deep), QStringLiteral("deep ä after"));

        // Beyond the depth limit the file counts as broken, quickly and without recursion.
        const QByteArray tooDeep = "{\\rtf1 " + QByteArray(RtfReader::kMaximumDepth + 10, '{') + "x";
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(RtfReader::extractFromData(tooDeep), QString());
        QVERIFY(timer.elapsed() < 2000);
    }

    void html_data()
    {
        QTest::addColumn<QByteArray>("html");
        QTest::addColumn<QString>("text");
        QTest::newRow("no charset is utf-8") << QStringLiteral("<p>Grüße</p>").toUtf8() << "Grüße";
        QTest::newRow("meta latin-1") << QByteArray("<meta charset=\"iso-8859-1\"><p>Gr\xfc\xdf"
                                                    "e</p>")
                                      << "Grüße";
        QTest::newRow("meta windows-1251")
            << QByteArray("<meta http-equiv=\"content-type\" content=\"text/html; charset=windows-1251\">\xcf\xf0\xe8")
            << "При";
        QTest::newRow("undeclared windows-1252")
            << encoded(
                   QStringLiteral("<p>Sehr geehrte Damen und Herren, anbei die Rechnung für die %1.</p>").arg(kGerman),
                   "windows-1252")
            << QStringLiteral("Sehr geehrte Damen und Herren, anbei die Rechnung für die %1.").arg(kGerman);
        QTest::newRow("utf-16 bom") << "\xFF\xFE" + encoded(QStringLiteral("<p>Grüße</p>"), "UTF-16LE") << "Grüße";
        QTest::newRow("entities and markup") << QByteArray("<b>a &amp; b</b> &euro;<script>x()</script>") << "a & b €";
        QTest::newRow("paragraphs") << QByteArray("<p>one</p><p>two</p>") << "one\ntwo";
        QTest::newRow("empty") << QByteArray() << QString();
    }
    void html()
    {
        QFETCH(QByteArray, html);
        QFETCH(QString, text);
        QCOMPARE(HtmlReader::extractFromData(html), text);
    }

    void htmlOutsideEncodingWins()
    {
        QCOMPARE(HtmlReader::extractFromData("<meta charset=\"utf-8\">\xe4", "ISO-8859-1"), QStringLiteral("ä"));
    }

    void webArchive_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("text");
        QTest::newRow("utf-8 by meta") << webArchiveBytes(QStringLiteral("<meta charset=utf-8><p>Grüße</p>").toUtf8(),
            {}) << "Grüße";
        QTest::newRow("recorded latin-1") << webArchiveBytes(QByteArray("<p>Gr\xfc\xdf"
                                                                        "e</p>"),
            QStringLiteral("ISO-8859-1")) << "Grüße";
        QTest::newRow("no main resource") << webArchiveBytes("<p>x</p>", {}, false) << QString();
        const QByteArray good = webArchiveBytes("<p>x</p>", {});
        QTest::newRow("truncated") << good.left(good.size() - 10) << QString();
        QTest::newRow("html file") << QByteArray("<html><p>x</p></html>") << QString();
        QTest::newRow("empty") << QByteArray() << QString();
    }
    void webArchive()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QString, text);
        QCOMPARE(WebArchiveReader::extractFromData(bytes), text);
    }

    void plainText_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("text");
        QTest::newRow("empty") << QByteArray() << QString();
        QTest::newRow("ascii with line ends")
            << QByteArray("From: a\r\nTo: b\r\n\r\nBody\n") << "From: a\r\nTo: b\r\n\r\nBody\n";
        QTest::newRow("utf-8 bom is dropped") << QByteArray("\xEF\xBB\xBFx") << "x";
        QTest::newRow("utf-32be bom") << QByteArray("\0\0\xFE\xFF\0\0\0x", 8) << "x";
        QTest::newRow("cyrillic windows-1251")
            << encoded(QStringLiteral("Уважаемые дамы и господа, направляем вам счёт за поставку товара. "
                                      "С уважением, бухгалтерия"),
                   "windows-1251")
            << QStringLiteral(
                   "Уважаемые дамы и господа, направляем вам счёт за поставку товара. С уважением, бухгалтерия");
    }
    void plainText()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QString, text);
        QString error;
        QCOMPARE(PlainTextReader::extractFromData(bytes, &error), text);
        QCOMPARE(error, QString());
    }

    void undecodableTextLogsEncError()
    {
        QByteArray junk(64 * 1024, Qt::Uninitialized);
        QRandomGenerator generator(42);
        for (char& c : junk)
            c = char(generator.bounded(256));
        junk[10] = '\0';
        QString error;
        QCOMPARE(PlainTextReader::extractFromData(junk, &error), QString());
        QVERIFY(!error.isEmpty());

        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("^encError: .*junk\\.txt")));
        QCOMPARE(extractFile(QStringLiteral("junk.txt"), junk), QString());
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("^encError: ")));
        QCOMPARE(PlainTextReader().extract(m_dir.filePath(QStringLiteral("missing.txt"))), QString());
    }

    void invalidByteOrderMarkTextFails()
    {
        QString error;
        QCOMPARE(PlainTextReader::extractFromData(QByteArray("\xFF\xFE\x00\xD8", 4), &error), QString());
        QVERIFY(!error.isEmpty());
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

        QByteArray junk(1 << 20, Qt::Uninitialized);
        QRandomGenerator generator(7);
        for (char& c : junk)
            c = char(generator.bounded(256));
        QElapsedTimer timer;
        timer.start();
        if (extension == QLatin1String("txt") || extension == QLatin1String("md") || extension == QLatin1String("xml")
            || extension == QLatin1String("eml"))
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("^encError: ")));
        const QString text = extractFile(QStringLiteral("junk.") + extension, junk);
        if (extension != QLatin1String("html") && extension != QLatin1String("htm"))
            QCOMPARE(text, QString());
        QVERIFY(timer.elapsed() < 10000);
    }
};

QTEST_MAIN(TestTextReaders)
#include "tst_textreaders.moc"
