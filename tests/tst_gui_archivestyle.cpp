// The application's style over Fusion: on a dark window an unchecked check
// box or radio button is outlined so it can be seen, while a light window's
// controls are drawn exactly as Fusion draws them.
#include "app/style/ArchiveStyle.h"
#include "app/style/ThemeManager.h"
#include "controls/ControlStyle.h"

#include <QApplication>
#include <QCheckBox>
#include <QRadioButton>
#include <QStyleFactory>
#include <QTest>

namespace {

/// The indicator of @p button drawn by @p style with @p palette, on the window colour.
QImage indicator(QAbstractButton* button, QStyle* style, const QPalette& palette)
{
    button->setStyle(style);
    button->setPalette(palette);
    button->setText(QString());
    button->adjustSize();
    QImage image(button->size(), QImage::Format_ARGB32_Premultiplied);
    image.fill(palette.color(QPalette::Window));
    button->render(&image, QPoint(), QRegion(), QWidget::DrawChildren);
    return image;
}

/// The largest difference in lightness between any pixel and the window colour.
int strongestContrast(const QImage& image, const QColor& window)
{
    int strongest = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            strongest = qMax(strongest, qAbs(QColor(image.pixel(x, y)).lightness() - window.lightness()));
    }
    return strongest;
}

} // namespace

class TestGuiArchiveStyle : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void outlinesShowOnEitherWindow_data()
    {
        QTest::addColumn<bool>("radio");
        QTest::addColumn<bool>("dark");
        QTest::newRow("check box, dark") << false << true;
        QTest::newRow("radio button, dark") << true << true;
        QTest::newRow("check box, light") << false << false;
        QTest::newRow("radio button, light") << true << false;
    }

    void outlinesShowOnEitherWindow()
    {
        QFETCH(bool, radio);
        QFETCH(bool, dark);
        const QPalette palette = dark ? ThemeManager::darkPalette() : ThemeManager::lightPalette();
        // The styles outlive the button that uses them.
        ArchiveStyle style;
        std::unique_ptr<QStyle> fusion(QStyleFactory::create(QStringLiteral("Fusion")));
        std::unique_ptr<QAbstractButton> button(radio ? static_cast<QAbstractButton*>(new QRadioButton)
                                                      : static_cast<QAbstractButton*>(new QCheckBox));
        const QImage ours = indicator(button.get(), &style, palette);
        const QImage plain = indicator(button.get(), fusion.get(), palette);
        const QColor window = palette.color(QPalette::Window);
        if (dark) {
            // Plain Fusion's outline is within a few steps of the window; ours stands out.
            QVERIFY2(strongestContrast(ours, window) >= 40, qPrintable(QString::number(strongestContrast(ours, window))));
            QVERIFY(strongestContrast(ours, window) > strongestContrast(plain, window) + 20);
        } else {
            QCOMPARE(ours, plain);
        }
    }

    void outlineSourceLeavesLightWindowsAlone()
    {
        const QPalette light = ThemeManager::lightPalette();
        QCOMPARE(ArchiveStyle::outlineSource(light), light.color(QPalette::Window));
        // On a dark window Fusion's outline (the source 40 % darker) lies between window and text.
        const QPalette dark = ThemeManager::darkPalette();
        const int outline = ArchiveStyle::outlineSource(dark).darker(140).lightness();
        QVERIFY(outline > dark.color(QPalette::Window).lightness() + 30);
        QVERIFY(outline < dark.color(QPalette::WindowText).lightness());
    }

    void applicationStyleIsFusionUnderneath()
    {
        ThemeManager::instance()->setForcedScheme(ThemeManager::Dark);
        auto* style = qobject_cast<ArchiveStyle*>(QApplication::style());
        QVERIFY(style);
        QCOMPARE(style->baseStyle()->name().toLower(), QStringLiteral("fusion"));
    }
};

QTEST_MAIN(TestGuiArchiveStyle)
#include "tst_gui_archivestyle.moc"
