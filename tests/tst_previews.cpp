#include "TestSupport.h"
#include "intake/PreviewMaker.h"

#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QPainter>
#include <QPdfWriter>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>

namespace {

bool isPng(const QByteArray& bytes)
{
    return bytes.startsWith("\x89PNG\r\n\x1a\n");
}

bool isJpeg(const QByteArray& bytes)
{
    return bytes.startsWith("\xff\xd8\xff");
}

QString writeTextPdf(const QString& path)
{
    QPdfWriter writer(path);
    writer.setResolution(72);
    writer.setPageSize(QPageSize(QPageSize::A4));
    QPainter painter(&writer);
    painter.setFont(QFont(QStringLiteral("DejaVu Sans"), 24));
    painter.drawText(QPointF(60, 120), QStringLiteral("Delivery note"));
    painter.end();
    return path;
}

} // namespace

class TestPreviews : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    QString path(const QString& name) const { return m_dir.filePath(name); }

private Q_SLOTS:
    void missingFileGivesTheErrorImageAsJpeg()
    {
        const QString missing = path(QStringLiteral("gone.pdf"));
        const QByteArray preview = PreviewMaker::quickLookFromURL(missing);
        const QByteArray icon = PreviewMaker::fileIconFromURL(missing);
        QVERIFY(isJpeg(preview));
        QCOMPARE(icon, preview);
        const QImage image = QImage::fromData(preview);
        QCOMPARE(image.size(), QSize(256, 256));
        // The red warning sign of the error image, on white rather than black.
        const QColor centre = image.pixelColor(100, 148);
        QVERIFY2(centre.red() > 180 && centre.green() < 100, qPrintable(centre.name()));
        QCOMPARE(image.pixelColor(2, 2), QColor(Qt::white));
    }

    void pdfPreviewShowsTheFirstPage()
    {
        const QByteArray bytes = PreviewMaker::quickLookFromURL(writeTextPdf(path(QStringLiteral("note.pdf"))));
        QVERIFY(isPng(bytes));
        const QImage image = QImage::fromData(bytes);
        QCOMPARE(image.size(), QSize(256, 256));
        // A portrait page: white paper in the middle, transparent at the sides.
        QCOMPARE(image.pixelColor(128, 200), QColor(Qt::white));
        QCOMPARE(image.pixelColor(2, 128).alpha(), 0);
        QVERIFY(bytes != PreviewMaker::fileIconFromURL(path(QStringLiteral("note.pdf"))));
    }

    void imagePreviewKeepsItsProportions()
    {
        QImage wide(800, 400, QImage::Format_RGB32);
        wide.fill(Qt::red);
        const QString file = path(QStringLiteral("wide.jpg"));
        QVERIFY(wide.save(file));
        const QImage image = QImage::fromData(PreviewMaker::quickLookFromURL(file));
        QCOMPARE(image.size(), QSize(256, 256));
        QCOMPARE(image.pixelColor(128, 10).alpha(), 0);
        QVERIFY(image.pixelColor(128, 128).red() > 230);
    }

    void textFileIsDrawnAsAPage()
    {
        const QString file = path(QStringLiteral("notes.txt"));
        QVERIFY(writeFile(file, "Meeting notes\nBring the receipts.\n"));
        const QImage image = QImage::fromData(PreviewMaker::quickLookFromURL(file));
        QCOMPARE(image.size(), QSize(256, 256));
        bool inked = false;
        for (int y = 10; y < 40 && !inked; ++y) {
            for (int x = 50; x < 200 && !inked; ++x)
                inked = image.pixelColor(x, y).lightness() < 128;
        }
        QVERIFY2(inked, "the first line is drawn near the top of the page");
    }

    void fileWithoutThumbnailGivesItsIcon_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QByteArray>("bytes");
        QByteArray noise(4096, '\0');
        QRandomGenerator generator(7);
        for (char& byte : noise)
            byte = char(generator.bounded(256));
        // clang-format off
        QTest::newRow("unknown binary") << "blob.bin"   << noise;
        QTest::newRow("damaged pdf")    << "broken.pdf" << QByteArray("%PDF-1.4 nothing else");
        QTest::newRow("empty png")      << "empty.png"  << QByteArray();
        // clang-format on
    }
    void fileWithoutThumbnailGivesItsIcon()
    {
        QFETCH(QString, name);
        QFETCH(QByteArray, bytes);
        QVERIFY(writeFile(path(name), bytes));
        const QByteArray preview = PreviewMaker::quickLookFromURL(path(name));
        QVERIFY(isPng(preview));
        QCOMPARE(preview, PreviewMaker::fileIconFromURL(path(name)));
        QCOMPARE(QImage::fromData(preview).size(), QSize(256, 256));
    }

    void bundledImagesArePresent()
    {
        for (const char* name : { "Error", "attachment_table_Template", "genericDocument", "redDot", "orangeDot",
                 "yellowDot", "greenDot", "blueDot", "purpleDot", "grayDot", "noDot" })
            QVERIFY2(!QImage(QStringLiteral(":/images/%1.png").arg(QLatin1String(name))).isNull(), name);
    }

    void cliPreviewAndExtract()
    {
        const QString pdf = writeTextPdf(path(QStringLiteral("cli.pdf")));
        const QString out = path(QStringLiteral("out.png"));
        CliRun run = runCli({ QStringLiteral("preview"), pdf, out });
        QCOMPARE(run.exitCode, 0);
        QCOMPARE(readFile(out), PreviewMaker::quickLookFromURL(pdf));
        run = runCli({ QStringLiteral("preview"), pdf, out, QStringLiteral("--icon") });
        QCOMPARE(run.exitCode, 0);
        QVERIFY(isPng(readFile(out)));
        run = runCli({ QStringLiteral("preview"), pdf });
        QCOMPARE(run.exitCode, 2);
        QVERIFY(!run.err.isEmpty());

        // The text exactly as extracted, or as a JSON string.
        run = runCli({ QStringLiteral("extract"), pdf });
        QCOMPARE(run.exitCode, 0);
        QCOMPARE(run.out, QByteArray("Delivery note"));
        run = runCli({ QStringLiteral("extract"), pdf, QStringLiteral("--json") });
        QCOMPARE(run.exitCode, 0);
        QCOMPARE(
            QJsonDocument::fromJson("[" + run.out + "]").array().at(0).toString(), QStringLiteral("Delivery note"));
        run = runCli({ QStringLiteral("extract"), pdf, QStringLiteral("--ocr-language"), QStringLiteral("3") });
        QCOMPARE(run.exitCode, 2);
        run = runCli({ QStringLiteral("extract"), path(QStringLiteral("missing.pdf")) });
        QCOMPARE(run.exitCode, 2);
        QVERIFY(run.out.isEmpty());
    }
};

QTEST_MAIN(TestPreviews)
#include "tst_previews.moc"
