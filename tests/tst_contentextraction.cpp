#include "TestSupport.h"
#include "TextImages.h"
#include "intake/ContentExtractor.h"
#include "intake/ImageLoader.h"
#include "intake/TextRecognizer.h"

#include <QFile>
#include <QFileInfo>
#include <QFont>
#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <QPdfWriter>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <QtEndian>
#include <functional>
#include <libheif/heif.h>

namespace {

const QString kGerman = QStringLiteral("Hängeschränke, Größe, Übergabe");
const QString kGermanFees = QStringLiteral("Gebühr für Türen");

QFont textFont(int pointSize)
{
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPointSize(pointSize);
    return font;
}

/// Writes an A4 PDF at 72 dpi (coordinates in points); draw paints each page.
bool writePdf(const QString& path, int pages, const std::function<void(QPainter&, int page)>& draw)
{
    QPdfWriter writer(path);
    writer.setResolution(72);
    writer.setPageSize(QPageSize(QPageSize::A4));
    writer.setPageMargins(QMarginsF(0, 0, 0, 0));
    QPainter painter(&writer);
    for (int page = 0; page < pages; ++page) {
        if (page > 0)
            writer.newPage();
        draw(painter, page);
    }
    return painter.end();
}

void appendPngChunk(QByteArray& png, const QByteArray& type, const QByteArray& data)
{
    char word[4];
    qToBigEndian(quint32(data.size()), word);
    png.append(word, 4);
    const QByteArray chunk = type + data;
    png.append(chunk);
    // Every chunk ends with the CRC-32 of its type and data.
    quint32 crc = 0xffffffffu;
    for (char byte : chunk) {
        crc ^= quint8(byte);
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc >> 1) ^ (0xedb88320u & (0u - (crc & 1u)));
    }
    qToBigEndian(crc ^ 0xffffffffu, word);
    png.append(word, 4);
}

/// A well-formed PNG whose header claims width x height pixels, with a few
/// bytes of pixel data only: decoding it would need gigabytes.
QByteArray pngHeaderClaiming(quint32 width, quint32 height)
{
    QByteArray header(13, '\0');
    qToBigEndian(width, header.data());
    qToBigEndian(height, header.data() + 4);
    header[8] = 8; // bit depth
    header[9] = 2; // RGB
    QByteArray png("\x89PNG\r\n\x1a\n", 8);
    appendPngChunk(png, "IHDR", header);
    appendPngChunk(png, "IDAT", QByteArray::fromHex("789c030000000001"));
    appendPngChunk(png, "IEND", {});
    return png;
}

/// Encodes image as a HEIC file, as a phone would store a photo.
bool writeHeic(const QString& path, const QImage& image)
{
    const QImage rgb = image.convertToFormat(QImage::Format_RGB888);
    heif_image* picture = nullptr;
    if (heif_image_create(rgb.width(), rgb.height(), heif_colorspace_RGB, heif_chroma_interleaved_RGB, &picture).code
        != heif_error_Ok)
        return false;
    heif_image_add_plane(picture, heif_channel_interleaved, rgb.width(), rgb.height(), 8);
    int stride = 0;
    uint8_t* plane = heif_image_get_plane(picture, heif_channel_interleaved, &stride);
    for (int y = 0; y < rgb.height(); ++y)
        memcpy(plane + qsizetype(y) * stride, rgb.constScanLine(y), size_t(rgb.width()) * 3);
    heif_context* context = heif_context_alloc();
    heif_encoder* encoder = nullptr;
    bool written = heif_context_get_encoder_for_format(context, heif_compression_HEVC, &encoder).code == heif_error_Ok;
    if (written) {
        heif_encoder_set_lossy_quality(encoder, 90);
        written = heif_context_encode_image(context, picture, encoder, nullptr, nullptr).code == heif_error_Ok
            && heif_context_write_to_file(context, QFile::encodeName(path).constData()).code == heif_error_Ok;
        heif_encoder_release(encoder);
    }
    heif_context_free(context);
    heif_image_release(picture);
    return written;
}

} // namespace

class TestContentExtraction : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    QString path(const QString& name) const { return m_dir.filePath(name); }

private Q_SLOTS:
    // Each entry of "pages" is one page; its lines are drawn 30 points apart.
    void textLayerIsReturnedVerbatim_data()
    {
        QTest::addColumn<QString>("extension");
        QTest::addColumn<QStringList>("pages");
        QTest::addColumn<QString>("text");
        const QStringList three { QStringLiteral("Page 1"), QStringLiteral("Page 2"), QStringLiteral("Page 3") };
        const QString invoice = QStringLiteral("Invoice No. 2021-07: total 12.50 EUR!\n(paid; thank you)");
        // clang-format off
        QTest::newRow("verbatim")      << "pdf" << QStringList { invoice }        << invoice + "\n";
        QTest::newRow("pages joined")  << "pdf" << three                          << three.join(u'\n');
        QTest::newRow("german")        << "pdf" << QStringList { kGerman }        << kGerman;
        QTest::newRow("PDF is no pdf") << "PDF" << QStringList { "Total 10 EUR" } << "";
        QTest::newRow("Pdf is no pdf") << "Pdf" << QStringList { "Total 10 EUR" } << "";
        // clang-format on
    }
    void textLayerIsReturnedVerbatim()
    {
        QFETCH(QString, extension);
        QFETCH(QStringList, pages);
        QFETCH(QString, text);
        const QString file = path(QStringLiteral("text.") + extension);
        QVERIFY(writePdf(file, int(pages.size()), [&pages](QPainter& painter, int page) {
            painter.setFont(textFont(12));
            const QStringList lines = pages.at(page).split(u'\n');
            for (int i = 0; i < lines.size(); ++i)
                painter.drawText(QPointF(72, 100 + 30 * i), lines.at(i));
        }));
        QCOMPARE(contenStringFromURL(file, extension, {}), text);
    }

    void punctuationOnlyTextLayerIsRecognisedInstead()
    {
        // The words are outlines, not text: only the dashes are in the text layer.
        const QString file = path(QStringLiteral("punctuation.pdf"));
        QVERIFY(writePdf(file, 2, [](QPainter& painter, int page) {
            painter.setFont(textFont(12));
            painter.drawText(QPointF(72, 60), QStringLiteral("-- ... --"));
            QPainterPath outline;
            outline.addText(
                QPointF(72, 200), textFont(40), page == 0 ? QStringLiteral("SCANNED") : QStringLiteral("LATER"));
            painter.fillPath(outline, Qt::black);
        }));
        const QString text = contenStringFromURL(file, QStringLiteral("pdf"), {});
        QVERIFY2(text.startsWith(QLatin1Char(' ')), qPrintable(text));
        QVERIFY2(text.contains(QLatin1String("SCANNED")), qPrintable(text));
        QVERIFY2(!text.contains(QLatin1String("LATER")), "only the first page is recognised");
    }

    void scannedPdfIsRecognised()
    {
        const QString file = path(QStringLiteral("scan.pdf"));
        const QImage scan = renderedLines({ QStringLiteral("RECEIPT 4711") }, 160);
        QVERIFY(writePdf(file, 1, [&scan](QPainter& painter, int) {
            painter.drawImage(QRectF(40, 40, 515, 515.0 * scan.height() / scan.width()), scan);
        }));
        QCOMPARE(contenStringFromURL(file, QStringLiteral("pdf"), {}), QStringLiteral(" RECEIPT 4711"));
    }

    // Every recognised line is one observation, each with a space in front.
    void imagesAreRecognised_data()
    {
        QTest::addColumn<QString>("extension");
        QTest::addColumn<int>("languageKind");
        QTest::addColumn<bool>("accurate");
        QTest::addColumn<QStringList>("lines");
        QTest::addColumn<QString>("text");
        const QStringList twoLines { QStringLiteral("Alpha"), QStringLiteral("Bravo") };
        const QStringList german { kGerman, kGermanFees };
        const QString germanText = " " + kGerman + " " + kGermanFees;
        // Kind 0, no language chosen, reads German and English alike.
        // clang-format off
        QTest::newRow("png accurate")       << "png"  << 1 << true  << twoLines                  << " Alpha Bravo";
        QTest::newRow("jpg fast")           << "jpg"  << 1 << false << twoLines                  << " Alpha Bravo";
        QTest::newRow("tif accurate")       << "tif"  << 1 << true  << twoLines                  << " Alpha Bravo";
        QTest::newRow("heic")               << "heic" << 0 << true  << QStringList { "Charlie" } << " Charlie";
        QTest::newRow("german")             << "png"  << 2 << true  << german                    << germanText;
        QTest::newRow("german, no choice")  << "png"  << 0 << true  << german                    << germanText;
        QTest::newRow("german, fast")       << "jpg"  << 0 << false << german                    << germanText;
        QTest::newRow("english, no choice") << "png"  << 0 << true  << twoLines                  << " Alpha Bravo";
        QTest::newRow("PNG is no png")      << "PNG"  << 1 << true  << QStringList { "Total" }   << "";
        QTest::newRow("JPG is no jpg")      << "JPG"  << 1 << true  << QStringList { "Total" }   << "";
        // clang-format on
    }
    void imagesAreRecognised()
    {
        QFETCH(QString, extension);
        QFETCH(int, languageKind);
        QFETCH(bool, accurate);
        QFETCH(QStringList, lines);
        QFETCH(QString, text);
        const QString file = path(QStringLiteral("lines.") + extension);
        // Long lines are drawn smaller so that they fit the page.
        const QImage image = renderedLines(lines, lines.first().size() > 20 ? 60 : 80);
        if (extension == QLatin1String("heic")) {
            if (!heif_have_encoder_for_format(heif_compression_HEVC))
                QSKIP("no HEVC encoder to make a HEIC file");
            QVERIFY(writeHeic(file, image));
        } else {
            QVERIFY(image.save(file, extension.toLower().toLatin1().constData()));
        }
        ExtractionOptions options;
        options.ocrLanguageKind = languageKind;
        options.ocrPrioritiseAccuracy = accurate;
        QCOMPARE(contenStringFromURL(file, extension, options), text);
    }

    void blankOrMissingImageGivesEmptyText()
    {
        QImage blank(800, 600, QImage::Format_RGB32);
        blank.fill(Qt::white);
        QCOMPARE(TextRecognizer::textForImage(blank, {}), QString());
        QTest::ignoreMessage(QtWarningMsg, "NO VALID IMAGE FOR TEXT RECOGNITION");
        QCOMPARE(TextRecognizer::textForImage(QImage(), {}), QString());
    }

    void languageKinds_data()
    {
        QTest::addColumn<int>("kind");
        QTest::addColumn<QString>("language");
        // clang-format off
        QTest::newRow("none")    << 0 << "deu+eng";
        QTest::newRow("English") << 1 << "eng";
        QTest::newRow("German")  << 2 << "deu";
        QTest::newRow("unknown") << 7 << "deu+eng";
        // clang-format on
    }
    void languageKinds()
    {
        QFETCH(int, kind);
        QFETCH(QString, language);
        QCOMPARE(TextRecognizer::languageForKind(kind), language);
    }

    // Files that are not PDFs or images go to the text readers by their extension; "refusesSize": the image's
    // header is refused before decoding (it would need gigabytes).
    void otherAndUnreadableInput_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("reportsNoBitmap");
        QTest::addColumn<bool>("refusesSize");
        const QByteArray junk(
            "%PDF-1.4\n1 0 obj << /Type /Catalog /Pages 9 0 R >> endobj\ntrailer << /Root 1 0 R >>\n");
        const QByteArray words("Plain words");
        const QByteArray mail("Subject: Invoice\n\nBody");
        // clang-format off
        QTest::newRow("txt")               << "reader.txt"  << QStringLiteral("Grüße\r\nline two").toUtf8()
                                           << "Grüße\r\nline two"                           << false << false;
        QTest::newRow("eml")               << "reader.eml"  << mail                         << QString(mail) << false << false;
        QTest::newRow("html")              << "reader.html" << QByteArray("<html><p>Hello <b>web</b></p></html>")
                                           << "Hello web"                                   << false << false;
        QTest::newRow("TXT")               << "reader.TXT"  << QByteArray("upper-case extensions are not read")
                                           << ""                                            << false << false;
        QTest::newRow("empty pdf")         << "empty.pdf"   << QByteArray()                      << "" << false << false;
        QTest::newRow("damaged pdf")       << "damaged.pdf" << junk                              << "" << false << false;
        QTest::newRow("empty png")         << "empty.png"   << QByteArray()                      << "" << true  << false;
        QTest::newRow("text named jpg")    << "note.jpg"    << QByteArray("not a picture")       << "" << true  << false;
        QTest::newRow("png 100000 square") << "huge.png"    << pngHeaderClaiming(100000, 100000) << "" << true  << true;
        QTest::newRow("heic that is not")  << "fake.heic"   << QByteArray("ftypheic")            << "" << true  << false;
        QTest::newRow("unknown extension") << "data.xyz"    << words                             << "" << false << false;
        QTest::newRow("no extension")      << "README"      << words                             << "" << false << false;
        // clang-format on
    }
    void otherAndUnreadableInput()
    {
        QFETCH(QString, name);
        QFETCH(QByteArray, bytes);
        QFETCH(QString, text);
        QFETCH(bool, reportsNoBitmap);
        QFETCH(bool, refusesSize);
        QVERIFY(writeFile(path(name), bytes));
        if (refusesSize)
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("^SKIP IMAGE ") + name));
        if (reportsNoBitmap)
            QTest::ignoreMessage(QtWarningMsg, "NO VALID IMAGE FOR TEXT RECOGNITION");
        QCOMPARE(contenStringFromURL(path(name), QFileInfo(name).suffix(), {}), text);
    }
};

QTEST_MAIN(TestContentExtraction)
#include "tst_contentextraction.moc"
