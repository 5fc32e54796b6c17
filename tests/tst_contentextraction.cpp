#include "TestSupport.h"
#include "intake/ContentExtractor.h"
#include "intake/ImageLoader.h"
#include "intake/TextRecognizer.h"

#include <QFile>
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

/// Black lines of text on white, as a clean 300 dpi scan would show them.
QImage renderedLines(const QStringList& lines, int pixelSize = 80)
{
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPixelSize(pixelSize);
    const int lineHeight = pixelSize * 2;
    QImage image(pixelSize * 24, lineHeight * int(lines.size()) + 2 * pixelSize, QImage::Format_RGB32);
    image.fill(Qt::white);
    image.setDotsPerMeterX(11811);
    image.setDotsPerMeterY(11811);
    QPainter painter(&image);
    painter.setFont(font);
    painter.setPen(Qt::black);
    for (int i = 0; i < lines.size(); ++i)
        painter.drawText(pixelSize, pixelSize + lineHeight * (i + 1) - pixelSize / 2, lines.at(i));
    return image;
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
    void textLayerIsReturnedVerbatim()
    {
        const QString file = path(QStringLiteral("invoice.pdf"));
        QVERIFY(writePdf(file, 1, [](QPainter& painter, int) {
            painter.setFont(textFont(12));
            painter.drawText(QPointF(72, 100), QStringLiteral("Invoice No. 2021-07: total 12.50 EUR!"));
            painter.drawText(QPointF(72, 130), QStringLiteral("(paid; thank you)"));
        }));
        const QString text = contenStringFromURL(file, QStringLiteral("pdf"), {});
        QCOMPARE(text, QStringLiteral("Invoice No. 2021-07: total 12.50 EUR!\n(paid; thank you)\n"));
    }

    void pagesAreJoinedWithLineEnds()
    {
        const QString file = path(QStringLiteral("pages.pdf"));
        QVERIFY(writePdf(file, 3, [](QPainter& painter, int page) {
            painter.setFont(textFont(12));
            painter.drawText(QPointF(72, 100), QStringLiteral("Page %1").arg(page + 1));
        }));
        QCOMPARE(contenStringFromURL(file, QStringLiteral("pdf"), {}), QStringLiteral("Page 1\nPage 2\nPage 3"));
    }

    void germanTextLayerIsKept()
    {
        const QString file = path(QStringLiteral("german.pdf"));
        QVERIFY(writePdf(file, 1, [](QPainter& painter, int) {
            painter.setFont(textFont(12));
            painter.drawText(QPointF(72, 100), kGerman);
        }));
        QCOMPARE(contenStringFromURL(file, QStringLiteral("pdf"), {}), kGerman);
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

    void twoLinesGiveTwoObservations_data()
    {
        QTest::addColumn<QString>("extension");
        QTest::addColumn<bool>("accurate");
        QTest::newRow("png accurate") << "png" << true;
        QTest::newRow("jpg fast") << "jpg" << false;
        QTest::newRow("tif accurate") << "tif" << true;
    }
    void twoLinesGiveTwoObservations()
    {
        QFETCH(QString, extension);
        QFETCH(bool, accurate);
        const QString file = path(QStringLiteral("lines.") + extension);
        QVERIFY(renderedLines({ QStringLiteral("Alpha"), QStringLiteral("Bravo") }).save(file));
        ExtractionOptions options;
        options.ocrLanguageKind = 1;
        options.ocrPrioritiseAccuracy = accurate;
        QCOMPARE(contenStringFromURL(file, extension, options), QStringLiteral(" Alpha Bravo"));
    }

    void heicImageIsRecognised()
    {
        const QString file = path(QStringLiteral("photo.heic"));
        if (!heif_have_encoder_for_format(heif_compression_HEVC))
            QSKIP("no HEVC encoder to make a HEIC file");
        QVERIFY(writeHeic(file, renderedLines({ QStringLiteral("Charlie") })));
        QCOMPARE(contenStringFromURL(file, QStringLiteral("heic"), {}), QStringLiteral(" Charlie"));
    }

    void germanIsRecognisedWithGermanSelected()
    {
        const QString file = path(QStringLiteral("german.png"));
        QVERIFY(renderedLines({ kGerman }, 60).save(file));
        ExtractionOptions options;
        options.ocrLanguageKind = 2;
        QCOMPARE(contenStringFromURL(file, QStringLiteral("png"), options), QLatin1Char(' ') + kGerman);
    }

    void blankImageGivesEmptyText()
    {
        QImage blank(800, 600, QImage::Format_RGB32);
        blank.fill(Qt::white);
        QCOMPARE(TextRecognizer::textForImage(blank, {}), QString());
    }

    void missingBitmapIsReported()
    {
        QTest::ignoreMessage(QtWarningMsg, "NO VALID IMAGE FOR TEXT RECOGNITION");
        QCOMPARE(TextRecognizer::textForImage(QImage(), {}), QString());
    }

    void languageKinds_data()
    {
        QTest::addColumn<int>("kind");
        QTest::addColumn<QString>("language");
        QTest::newRow("none") << 0 << "eng";
        QTest::newRow("English") << 1 << "eng";
        QTest::newRow("German") << 2 << "deu";
        QTest::newRow("unknown") << 7 << "eng";
    }
    void languageKinds()
    {
        QFETCH(int, kind);
        QFETCH(QString, language);
        QCOMPARE(TextRecognizer::languageForKind(kind), language);
    }

    void unreadableInputGivesEmptyText_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("extension");
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<bool>("reportsNoBitmap");
        QTest::addColumn<bool>("refusesSize");
        const QByteArray junk(
            "%PDF-1.4\n1 0 obj << /Type /Catalog /Pages 9 0 R >> endobj\ntrailer << /Root 1 0 R >>\n");
        QTest::newRow("empty pdf") << "empty.pdf"
                                   << "pdf" << QByteArray() << false << false;
        QTest::newRow("damaged pdf") << "damaged.pdf"
                                     << "pdf" << junk << false << false;
        QTest::newRow("empty png") << "empty.png"
                                   << "png" << QByteArray() << true << false;
        QTest::newRow("text named jpg") << "note.jpg"
                                        << "jpg" << QByteArray("not a picture") << true << false;
        QTest::newRow("png claiming 100000 x 100000") << "huge.png"
                                                      << "png" << pngHeaderClaiming(100000, 100000) << true << true;
        QTest::newRow("heic that is not") << "fake.heic"
                                          << "heic" << QByteArray("ftypheic") << true << false;
        QTest::newRow("unknown extension") << "data.xyz"
                                           << "xyz" << QByteArray("Plain words") << false << false;
        QTest::newRow("no extension") << "README"
                                      << "" << QByteArray("Plain words") << false << false;
    }
    void unreadableInputGivesEmptyText()
    {
        QFETCH(QString, name);
        QFETCH(QString, extension);
        QFETCH(QByteArray, bytes);
        QFETCH(bool, reportsNoBitmap);
        QFETCH(bool, refusesSize);
        QVERIFY(writeFile(path(name), bytes));
        if (refusesSize)
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("^SKIP IMAGE")));
        if (reportsNoBitmap)
            QTest::ignoreMessage(QtWarningMsg, "NO VALID IMAGE FOR TEXT RECOGNITION");
        QCOMPARE(contenStringFromURL(path(name), extension, {}), QString());
    }

    void hugeImageHeaderIsRefusedBeforeDecoding()
    {
        const QString file = path(QStringLiteral("claims.png"));
        QVERIFY(writeFile(file, pngHeaderClaiming(100000, 100000)));
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("^SKIP IMAGE claims.png")));
        QVERIFY(ImageLoader::load(file).isNull());
    }

    void readerExtensionsGoToTheirReaders_data()
    {
        QTest::addColumn<QString>("extension");
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("text");
        QTest::newRow("txt") << "txt" << QByteArray("Gr\xc3\xbc\xc3\x9f\x65\r\nline two") << "Grüße\r\nline two";
        QTest::newRow("eml") << "eml" << QByteArray("Subject: Invoice\n\nBody") << "Subject: Invoice\n\nBody";
        QTest::newRow("html") << "html" << QByteArray("<html><body><p>Hello <b>web</b></p></body></html>")
                              << "Hello web";
        QTest::newRow("TXT") << "TXT" << QByteArray("upper-case extensions are not read") << "";
    }
    void readerExtensionsGoToTheirReaders()
    {
        QFETCH(QString, extension);
        QFETCH(QByteArray, bytes);
        QFETCH(QString, text);
        const QString file = path(QStringLiteral("reader.") + extension);
        QVERIFY(writeFile(file, bytes));
        QCOMPARE(contenStringFromURL(file, extension, {}), text);
    }

    void extensionsMatchCaseSensitively_data()
    {
        QTest::addColumn<QString>("extension");
        QTest::newRow("PDF") << "PDF";
        QTest::newRow("Pdf") << "Pdf";
        QTest::newRow("PNG") << "PNG";
        QTest::newRow("JPG") << "JPG";
    }
    void extensionsMatchCaseSensitively()
    {
        QFETCH(QString, extension);
        // A valid file of its kind, named with the wrong case.
        const QString file = path(QStringLiteral("Invoice.") + extension);
        if (extension.compare(QLatin1String("pdf"), Qt::CaseInsensitive) == 0) {
            QVERIFY(writePdf(file, 1, [](QPainter& painter, int) {
                painter.setFont(textFont(12));
                painter.drawText(QPointF(72, 100), QStringLiteral("Total 10 EUR"));
            }));
        } else {
            QVERIFY(renderedLines({ QStringLiteral("Total") }).save(file, extension.toLatin1().constData()));
        }
        QCOMPARE(contenStringFromURL(file, extension, {}), QString());
    }
};

QTEST_MAIN(TestContentExtraction)
#include "tst_contentextraction.moc"
