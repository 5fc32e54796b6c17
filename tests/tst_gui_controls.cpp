// The painted controls, their icons and the light/dark theme: every control
// renders sharply at 2x and follows the palette, the interactive ones answer
// mouse and keyboard, and the theme manager decides dark or light correctly.

#include "TestSupport.h"
#include "app/i18n/Localizer.h"
#include "app/style/AppFonts.h"
#include "app/style/DesktopColorScheme.h"
#include "app/style/Icons.h"
#include "app/style/ThemeManager.h"
#include "controls/BadgeField.h"
#include "controls/ColorTagDot.h"
#include "controls/ColorTagPicker.h"
#include "controls/ControlStyle.h"
#include "controls/KVBox.h"
#include "controls/KVButton.h"
#include "controls/KVHoverButton.h"
#include "controls/KVLinkButton.h"
#include "controls/KVSeparator.h"
#include "controls/KVTessaryProgress.h"
#include "controls/TessaryBeachBallView.h"
#include "text/KVLocalizationDictionary.h"

#include <QAccessible>
#include <QAccessibleValueInterface>
#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QFontDatabase>
#include <QFontInfo>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QSignalSpy>
#include <QThread>
#include <QTimer>
#include <QVBoxLayout>
#include <QtTest>
#include <csignal>
#include <sys/prctl.h>

namespace {

/// A control of the kind named in a data row, sized and inside a shown host.
QWidget* makeControl(const QString& kind, QWidget* host)
{
    QWidget* w = nullptr;
    if (kind.startsWith(QLatin1String("KVButton"))) {
        auto* button = new KVButton(QStringLiteral("Übernehmen"), host);
        button->setDefault(kind.endsWith(QLatin1String("default")));
        button->setEnabled(!kind.endsWith(QLatin1String("disabled")));
        w = button;
    } else if (kind == QLatin1String("KVHoverButton")) {
        w = new KVHoverButton(Icons::icon(QStringLiteral("search")), QStringLiteral("Suchen"), host);
    } else if (kind == QLatin1String("KVLinkButton")) {
        w = new KVLinkButton(QStringLiteral("Hilfe öffnen"), host);
    } else if (kind == QLatin1String("ColorTagDot")) {
        auto* dot = new ColorTagDot(host);
        dot->setColorTag(4);
        w = dot;
    } else if (kind == QLatin1String("ColorTagPicker")) {
        auto* picker = new ColorTagPicker(host);
        picker->setCurrentTag(2);
        w = picker;
    } else if (kind == QLatin1String("BadgeField")) {
        auto* badge = new BadgeField(host);
        badge->setCount(128);
        w = badge;
    } else if (kind == QLatin1String("KVSeparator")) {
        w = new KVSeparator(Qt::Horizontal, host);
        w->setFixedSize(60, 9);
    } else if (kind == QLatin1String("KVBox")) {
        auto* box = new KVBox(QStringLiteral("Belegangaben"), host);
        (new QVBoxLayout(box))->addWidget(new QLabel(QStringLiteral("RE-2024-0815")));
        w = box;
    } else if (kind == QLatin1String("TessaryBeachBallView")) {
        auto* spinner = new TessaryBeachBallView(host);
        spinner->startAnimation();
        w = spinner;
    } else if (kind.startsWith(QLatin1String("KVTessaryProgress"))) {
        auto* progress = new KVTessaryProgress(host);
        progress->setIndeterminate(kind.endsWith(QLatin1String("indeterminate")));
        progress->setRange(0, 10);
        progress->setValue(4);
        progress->setText(QStringLiteral("Rechnung_März.pdf"));
        w = progress;
    }
    Q_ASSERT(w);
    if (w->width() != 60)
        w->resize(w->sizeHint().expandedTo(QSize(kind.startsWith(QLatin1String("KVTessary")) ? 300 : 0, 0)));
    host->show();
    return w;
}

/// @p widget rendered into an image of @p scale device pixels per logical one.
QImage renderAt(QWidget* widget, qreal scale, bool background = true)
{
    QImage image(widget->size() * scale, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(scale);
    image.fill(Qt::transparent);
    widget->render(&image, QPoint(), QRegion(),
        background ? QWidget::DrawWindowBackground | QWidget::DrawChildren : QWidget::DrawChildren);
    image.setDevicePixelRatio(1);
    return image;
}

/// Sum of squared brightness steps between neighbouring pixels: a sharp edge
/// is one big step, the same edge scaled up from a smaller bitmap two small ones.
double edgeEnergy(const QImage& image)
{
    double energy = 0;
    for (int y = 0; y + 1 < image.height(); ++y) {
        for (int x = 0; x + 1 < image.width(); ++x) {
            const int here = qGray(image.pixel(x, y));
            const int right = qGray(image.pixel(x + 1, y)) - here;
            const int below = qGray(image.pixel(x, y + 1)) - here;
            energy += right * right + below * below;
        }
    }
    return energy;
}

int opaquePixels(const QImage& image)
{
    int count = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            count += qAlpha(image.pixel(x, y)) > 0 ? 1 : 0;
    }
    return count;
}

void addControlRows()
{
    QTest::addColumn<QString>("kind");
    for (const char* kind : { "KVButton", "KVButton default", "KVButton disabled", "KVHoverButton", "KVLinkButton",
             "ColorTagDot", "ColorTagPicker", "BadgeField", "KVSeparator", "KVBox", "TessaryBeachBallView",
             "KVTessaryProgress determinate", "KVTessaryProgress indeterminate" })
        QTest::newRow(kind) << QString::fromLatin1(kind);
}

/// A window that counts its paint events.
class PaintCounter : public QWidget
{
public:
    int paints = 0;

protected:
    void paintEvent(QPaintEvent*) override { ++paints; }
};

/// The desktop portal's settings interface as far as the colour scheme goes.
/// Lives on a thread of its own: the theme reads it with a blocking call.
class FakePortal : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Settings")

public Q_SLOTS:
    QDBusVariant Read(const QString& group, const QString& key)
    {
        // The portal wraps the setting's variant in a second one.
        const uint value
            = group == QLatin1String("org.freedesktop.appearance") && key == QLatin1String("color-scheme") ? 1u : 0u;
        return QDBusVariant(QVariant::fromValue(QDBusVariant(QVariant(value))));
    }
};

} // namespace

class TestGuiControls : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        startPortal();
        ThemeManager::instance()->setForcedScheme(ThemeManager::Light);
    }

    void cleanupTestCase()
    {
        QDBusConnection::disconnectFromBus(QStringLiteral("fake-portal"));
        m_portalThread.quit();
        m_portalThread.wait();
        m_bus.kill();
        m_bus.waitForFinished();
    }

    void init()
    {
        // Painting must be silent; only the offscreen platform's own notice is allowed.
        QTest::failOnWarning(QRegularExpression(QStringLiteral("^(?!This plugin does not support).*")));
    }

    void rendersSharplyAndFollowsThePalette_data() { addControlRows(); }
    void rendersSharplyAndFollowsThePalette()
    {
        QFETCH(QString, kind);
        QWidget host;
        QWidget* control = makeControl(kind, &host);
        const QImage single = renderAt(control, 1);
        const QImage twice = renderAt(control, 2);
        QCOMPARE(twice.size(), single.size() * 2);
        QVERIFY(opaquePixels(renderAt(control, 2, false)) > 0);

        // Not a 1x bitmap blown up: neither the blocky nor the smoothed enlargement matches.
        const QImage blocky = single.scaled(twice.size(), Qt::IgnoreAspectRatio, Qt::FastTransformation);
        const QImage smooth = single.scaled(twice.size(), Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        QVERIFY(twice != blocky);
        const double ratio = edgeEnergy(twice) / qMax(1.0, edgeEnergy(smooth));
        QVERIFY2(ratio > 1.3, qPrintable(QStringLiteral("edge energy ratio %1").arg(ratio)));

        control->setPalette(ThemeManager::lightPalette());
        const QImage light = renderAt(control, 1, false);
        control->setPalette(ThemeManager::darkPalette());
        const QImage dark = renderAt(control, 1, false);
        QVERIFY(opaquePixels(light) > 0);
        QVERIFY(light != dark);
    }

    void hairlinesCoverWholeDevicePixels_data()
    {
        QTest::addColumn<int>("orientation");
        QTest::addColumn<qreal>("scale");
        QTest::addColumn<int>("expectedPixels");
        QTest::newRow("horizontal 1x") << int(Qt::Horizontal) << 1.0 << 1;
        QTest::newRow("horizontal 1.5x") << int(Qt::Horizontal) << 1.5 << 1;
        QTest::newRow("horizontal 2x") << int(Qt::Horizontal) << 2.0 << 1;
        QTest::newRow("horizontal 3x") << int(Qt::Horizontal) << 3.0 << 2;
        QTest::newRow("vertical 1x") << int(Qt::Vertical) << 1.0 << 1;
        QTest::newRow("vertical 2x") << int(Qt::Vertical) << 2.0 << 1;
        QTest::newRow("vertical 3x") << int(Qt::Vertical) << 3.0 << 2;
    }
    void hairlinesCoverWholeDevicePixels()
    {
        QFETCH(int, orientation);
        QFETCH(qreal, scale);
        QFETCH(int, expectedPixels);
        KVSeparator separator { Qt::Orientation(orientation) };
        separator.setFixedSize(orientation == Qt::Horizontal ? QSize(40, 7) : QSize(7, 40));
        const QImage image = renderAt(&separator, scale, false);
        const QRgb line = ControlStyle::hairlineColor(separator.palette()).rgba();
        // Across the line every pixel is either untouched or exactly the line colour.
        const bool horizontal = orientation == Qt::Horizontal;
        const int across = horizontal ? image.height() : image.width();
        const int along = horizontal ? image.width() : image.height();
        for (int a = 0; a < along; ++a) {
            int covered = 0;
            for (int c = 0; c < across; ++c) {
                const QRgb pixel = horizontal ? image.pixel(a, c) : image.pixel(c, a);
                QVERIFY2(pixel == line || qAlpha(pixel) == 0, qPrintable(QString::number(pixel, 16)));
                covered += pixel == line ? 1 : 0;
            }
            QCOMPARE(covered, expectedPixels);
        }
    }

    void boxBorderIsNotBlended_data()
    {
        QTest::addColumn<qreal>("scale");
        QTest::newRow("1x") << 1.0;
        QTest::newRow("2x") << 2.0;
    }
    void boxBorderIsNotBlended()
    {
        QFETCH(qreal, scale);
        QWidget host;
        auto* box = new KVBox(&host);
        box->resize(80, 50);
        const QImage image = renderAt(box, scale, false);
        const QRgb border = ControlStyle::hairlineColor(box->palette()).rgba();
        // Down the middle: exactly one row of border colour, then the box's own fill.
        const int x = image.width() / 2;
        const int y = 0;
        QCOMPARE(image.pixel(x, y), border);
        QCOMPARE(qAlpha(image.pixel(x, y + 1)), 255);
        QVERIFY(image.pixel(x, y + 1) != border);
        QCOMPARE(image.pixel(x, y + 1), image.pixel(x, image.height() / 2));
    }

    void hoverButtonHighlightsUnderThePointer()
    {
        QWidget host;
        QWidget* button = makeControl(QStringLiteral("KVHoverButton"), &host);
        const QImage resting = renderAt(button, 1, false);
        button->setAttribute(Qt::WA_UnderMouse);
        const QImage hovered = renderAt(button, 1, false);
        // The soft background appears around the icon; the corner stays clear for the focus ring.
        QCOMPARE(qAlpha(resting.pixel(ControlStyle::focusMargin + 3, button->height() / 2)), 0);
        QVERIFY(qAlpha(hovered.pixel(ControlStyle::focusMargin + 3, button->height() / 2)) > 0);
        QCOMPARE(qAlpha(hovered.pixel(0, 0)), 0);
    }

    void linkTextFitsItsSizeHint_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("short") << QStringLiteral("Hilfe");
        QTest::newRow("umlauts") << QStringLiteral("Hilfe zur ordnungsgemäßen Archivierung");
        QTest::newRow("long") << QStringLiteral("Änderungsprotokoll des Archivs als PDF-Bericht öffnen …");
    }
    void linkTextFitsItsSizeHint()
    {
        QFETCH(QString, text);
        QWidget host;
        auto* link = new KVLinkButton(text, &host);
        host.show();
        // At its own size the text is drawn whole: the same pixels as with room to spare.
        link->resize(link->sizeHint());
        const QImage fitted = renderAt(link, 1, false);
        link->resize(link->sizeHint() + QSize(200, 0));
        const QImage roomy = renderAt(link, 1, false).copy(fitted.rect());
        QCOMPARE(fitted, roomy);
    }

    void boxKeepsChildrenInsideItsFrame()
    {
        QWidget host;
        auto* box = new KVBox(QStringLiteral("Belegangaben"), &host);
        auto* layout = new QVBoxLayout(box);
        layout->setContentsMargins(0, 0, 0, 0);
        auto* label = new QLabel(QStringLiteral("Belegnummer"));
        layout->addWidget(label);
        box->resize(box->sizeHint());
        host.show();
        QVERIFY(box->frameRect().top() >= box->fontMetrics().height());
        QVERIFY(box->frameRect().adjusted(4, 4, -4, -4).contains(label->geometry()));
        box->setTitle(QString());
        box->resize(box->sizeHint());
        QCOMPARE(box->frameRect(), box->rect());
        QVERIFY(box->frameRect().adjusted(4, 4, -4, -4).contains(label->geometry()));
    }

    void badgeForDelegatesSitsAtTheRightEnd()
    {
        QImage image(120, 24, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        QPainter painter(&image);
        const QRect cell(0, 0, 100, 24);
        BadgeField::paintBadge(&painter, cell, QString(), ThemeManager::lightPalette());
        QCOMPARE(opaquePixels(image), 0);
        BadgeField::paintBadge(&painter, cell, QStringLiteral("1.234"), ThemeManager::lightPalette());
        const QFont font = painter.font();
        painter.end();
        const QSize size = BadgeField::badgeSize(QStringLiteral("1.234"), font);
        QVERIFY(size.width() > BadgeField::badgeSize(QStringLiteral("7"), font).width());
        // Painted inside the cell, flush right, nothing left of the badge.
        int left = image.width();
        int right = -1;
        for (int x = 0; x < image.width(); ++x) {
            for (int y = 0; y < image.height(); ++y) {
                if (qAlpha(image.pixel(x, y)) > 0) {
                    left = qMin(left, x);
                    right = qMax(right, x);
                }
            }
        }
        QCOMPARE(right, cell.right());
        QVERIFY(qAbs(left - (cell.right() + 1 - size.width())) <= 1);
    }

    void progressShowsBarOrSpinner()
    {
        QWidget host;
        auto* progress = static_cast<KVTessaryProgress*>(makeControl(QStringLiteral("KVTessaryProgress"), &host));
        auto* spinner = progress->findChild<TessaryBeachBallView*>();
        QVERIFY(spinner);
        QVERIFY(!spinner->isVisible());

        progress->setRange(0, 200);
        progress->setValue(50);
        QCOMPARE(progress->fraction(), 0.25);
        // The accent fills the first quarter of the bar and no more.
        const QImage bar = renderAt(progress, 1, false);
        const QRgb accent = progress->palette().color(QPalette::Highlight).rgba();
        const int barWidth = progress->width() - progress->findChild<KVButton*>()->sizeHint().width() - 8;
        const int middle = progress->findChild<KVButton*>()->geometry().center().y();
        QCOMPARE(bar.pixel(barWidth / 8, middle), accent);
        QVERIFY(bar.pixel(barWidth / 2, middle) != accent);

        progress->setIndeterminate(true);
        QVERIFY(spinner->isVisible());
        QVERIFY(spinner->isAnimating());
        QVERIFY(renderAt(progress, 1, false).pixel(barWidth / 8, middle) != accent);

        progress->setIndeterminate(false);
        QVERIFY(!spinner->isVisible());
        QVERIFY(!spinner->isAnimating());

        progress->setValue(500);
        QCOMPARE(progress->value(), 200);
        progress->setRange(10, 5);
        QCOMPARE(progress->fraction(), 0.0);
    }

    void progressSpinnerPlacement_data()
    {
        QTest::addColumn<bool>("cancel");
        QTest::newRow("beside Cancel: where the bar starts") << true;
        QTest::newRow("alone: in the middle") << false;
    }
    void progressSpinnerPlacement()
    {
        QFETCH(bool, cancel);
        QWidget host;
        auto* progress = static_cast<KVTessaryProgress*>(makeControl(QStringLiteral("KVTessaryProgress"), &host));
        progress->setCancelVisible(cancel);
        progress->setIndeterminate(true);
        progress->resize(420, progress->sizeHint().height());
        const QRect spinner = progress->findChild<TessaryBeachBallView*>()->geometry();
        if (cancel)
            QCOMPARE(spinner.left(), 0);
        else
            QVERIFY2(qAbs(spinner.center().x() - progress->width() / 2) <= 1, qPrintable(QString::number(spinner.x())));
        // Showing or hiding Cancel later moves the spinner along.
        progress->setCancelVisible(!cancel);
        const QRect moved = progress->findChild<TessaryBeachBallView*>()->geometry();
        QCOMPARE(moved.left() == 0, !cancel);
    }

    void progressCancelRequested()
    {
        QWidget host;
        auto* progress = static_cast<KVTessaryProgress*>(makeControl(QStringLiteral("KVTessaryProgress"), &host));
        QSignalSpy cancelled(progress, &KVTessaryProgress::cancelRequested);
        auto* cancel = progress->findChild<KVButton*>();
        QCOMPARE(cancel->text(), text("Cancel"));
        QTest::mouseClick(cancel, Qt::LeftButton);
        QCOMPARE(cancelled.count(), 1);
        QTest::keyClick(progress, Qt::Key_Escape);
        QCOMPARE(cancelled.count(), 2);

        progress->setCancelVisible(false);
        QVERIFY(!cancel->isVisible());
        QTest::keyClick(progress, Qt::Key_Escape);
        QCOMPARE(cancelled.count(), 2);
    }

    void ownTextsFollowRelocalization()
    {
        KVLocalizationDictionary& dictionary = KVLocalizationDictionary::sharedLocalizationDictionary();
        const QHash<QString, QString> original = dictionary.localizationDictionary();
        QWidget window;
        auto* layout = new QVBoxLayout(&window);
        auto* progress = new KVTessaryProgress;
        auto* box = new KVBox;
        layout->addWidget(progress);
        layout->addWidget(box);
        box->setTitleKey(QStringLiteral("COLOR_TAG_RED"));
        QCOMPARE(box->title(), text("COLOR_TAG_RED"));
        window.show();

        // The translation editor changed two texts and reloaded the table.
        QHash<QString, QString> edited = original;
        edited.insert(QStringLiteral("Cancel"), QStringLiteral("Vorgang jetzt abbrechen"));
        edited.insert(QStringLiteral("COLOR_TAG_RED"), QStringLiteral("Karminrot"));
        dictionary.setLocalizationDictionary(edited);
        Localizer::relocalizeAll();
        auto* cancel = progress->findChild<KVButton*>();
        QCOMPARE(cancel->text(), QStringLiteral("Vorgang jetzt abbrechen"));
        QCOMPARE(box->title(), QStringLiteral("Karminrot"));
        QCOMPARE(ColorTagDot::tagName(0), QStringLiteral("Karminrot"));
        // The longer title gets its room in the progress view.
        QTRY_COMPARE(cancel->width(), cancel->sizeHint().width());
        QCOMPARE(cancel->geometry().right(), progress->width() - 1);
        dictionary.setLocalizationDictionary(original);
    }

    void pickerChoosesByMouse()
    {
        QWidget host;
        auto* picker = static_cast<ColorTagPicker*>(makeControl(QStringLiteral("ColorTagPicker"), &host));
        QSignalSpy changed(picker, &ColorTagPicker::currentTagChanged);
        for (int index = 0; index < ColorTagPicker::cellCount(); ++index) {
            QTest::mouseClick(picker, Qt::LeftButton, {}, picker->cellRect(index).center());
            QCOMPARE(picker->currentTag(), ColorTagPicker::tagAt(index));
        }
        QCOMPARE(changed.count(), ColorTagPicker::cellCount());
        QCOMPARE(changed.last().at(0).toInt(), 6);
        // Clicking the chosen colour again changes nothing; a click beside the dots neither.
        QTest::mouseClick(picker, Qt::LeftButton, {}, picker->cellRect(7).center());
        QTest::mouseClick(picker, Qt::LeftButton, {}, QPoint(picker->width() - 1, 0));
        QCOMPARE(changed.count(), ColorTagPicker::cellCount());
    }

    void pickerChoosesByKeyboard_data()
    {
        QTest::addColumn<int>("start");
        QTest::addColumn<int>("key");
        QTest::addColumn<int>("expected");
        QTest::addColumn<int>("changes");
        QTest::newRow("none, right: red") << 7 << int(Qt::Key_Right) << 0 << 1;
        QTest::newRow("red, left: none") << 0 << int(Qt::Key_Left) << 7 << 1;
        QTest::newRow("none, left: stays") << 7 << int(Qt::Key_Left) << 7 << 0;
        QTest::newRow("grey, right: stays") << 6 << int(Qt::Key_Right) << 6 << 0;
        QTest::newRow("yellow, up: orange") << 2 << int(Qt::Key_Up) << 1 << 1;
        QTest::newRow("yellow, down: green") << 2 << int(Qt::Key_Down) << 3 << 1;
        QTest::newRow("green, end: grey") << 3 << int(Qt::Key_End) << 6 << 1;
        QTest::newRow("blue, home: none") << 4 << int(Qt::Key_Home) << 7 << 1;
    }
    void pickerChoosesByKeyboard()
    {
        QFETCH(int, start);
        QFETCH(int, key);
        QFETCH(int, expected);
        QFETCH(int, changes);
        ColorTagPicker picker;
        picker.setCurrentTag(start);
        QSignalSpy changed(&picker, &ColorTagPicker::currentTagChanged);
        QTest::keyClick(&picker, Qt::Key(key));
        QCOMPARE(picker.currentTag(), expected);
        QCOMPARE(changed.count(), changes);
    }

    void pickerTreatsUnknownTagsAsNoColour()
    {
        ColorTagPicker picker;
        picker.setCurrentTag(5);
        for (int tag : { 7, 99, -1 }) {
            picker.setCurrentTag(tag);
            QCOMPARE(picker.currentTag(), 7);
        }
        QVERIFY(!ColorTagDot::tagColor(7, picker.palette()).isValid());
        QVERIFY(!ColorTagDot::tagColor(-1, picker.palette()).isValid());
        QVERIFY(ColorTagDot::tagColor(6, picker.palette()).isValid());
    }

    void spinnerTicksOnlyWhileShownAndAnimating()
    {
        QWidget host;
        auto* spinner = new TessaryBeachBallView(&host);
        auto* timer = spinner->findChild<QTimer*>();
        QVERIFY(timer);
        spinner->startAnimation();
        QVERIFY(!timer->isActive());
        host.show();
        QVERIFY(timer->isActive());
        host.hide();
        QVERIFY(!timer->isActive());
        QVERIFY(spinner->isAnimating());
        host.show();
        QVERIFY(timer->isActive());
        spinner->stopAnimation();
        QVERIFY(!timer->isActive());
    }

    void defaultButtonTakesReturn()
    {
        QWidget window;
        auto* layout = new QVBoxLayout(&window);
        auto* field = new QLineEdit;
        auto* other = new KVButton(QStringLiteral("Abbrechen"));
        auto* accept = new KVButton(QStringLiteral("Sichern"));
        accept->setDefault(true);
        layout->addWidget(field);
        layout->addWidget(other);
        layout->addWidget(accept);
        window.show();
        window.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        QSignalSpy accepted(accept, &KVButton::clicked);
        QSignalSpy otherClicked(other, &KVButton::clicked);

        field->setFocus();
        QTest::keyClick(field, Qt::Key_Return);
        QTRY_COMPARE(accepted.count(), 1);
        // A focused button keeps Return for itself.
        other->setFocus();
        QTest::keyClick(other, Qt::Key_Return);
        QTRY_COMPARE(otherClicked.count(), 1);
        QCOMPARE(accepted.count(), 1);
    }

    void accessibleRolesAndNames_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<int>("role");
        QTest::addColumn<QString>("name");
        QTest::newRow("button") << "KVButton" << int(QAccessible::Button) << "Übernehmen";
        QTest::newRow("hover button by tool tip") << "KVHoverButton" << int(QAccessible::Button) << "Suchen";
        QTest::newRow("link") << "KVLinkButton" << int(QAccessible::Link) << "Hilfe öffnen";
        QTest::newRow("dot") << "ColorTagDot" << int(QAccessible::Graphic) << text("COLOR_TAG_BLUE");
        QTest::newRow("picker") << "ColorTagPicker" << int(QAccessible::Grouping) << "";
        QTest::newRow("badge") << "BadgeField" << int(QAccessible::StaticText) << "128";
        QTest::newRow("separator") << "KVSeparator" << int(QAccessible::Separator) << "";
        QTest::newRow("box") << "KVBox" << int(QAccessible::Grouping) << "Belegangaben";
        QTest::newRow("spinner") << "TessaryBeachBallView" << int(QAccessible::Animation) << "";
        QTest::newRow("progress") << "KVTessaryProgress" << int(QAccessible::ProgressBar) << "Rechnung_März.pdf";
    }
    void accessibleRolesAndNames()
    {
        QFETCH(QString, kind);
        QFETCH(int, role);
        QFETCH(QString, name);
        QWidget host;
        QWidget* control = makeControl(kind, &host);
        QAccessibleInterface* iface = QAccessible::queryAccessibleInterface(control);
        QVERIFY(iface);
        QCOMPARE(int(iface->role()), role);
        QCOMPARE(iface->text(QAccessible::Name), name);
        // A name given from the localization table always wins.
        control->setAccessibleName(QStringLiteral("Vom Benutzer"));
        QCOMPARE(iface->text(QAccessible::Name), QStringLiteral("Vom Benutzer"));
    }

    void accessiblePickerAndProgress()
    {
        QWidget host;
        auto* picker = static_cast<ColorTagPicker*>(makeControl(QStringLiteral("ColorTagPicker"), &host));
        QAccessibleInterface* group = QAccessible::queryAccessibleInterface(picker);
        QCOMPARE(group->childCount(), 8);
        QCOMPARE(group->child(1)->role(), QAccessible::RadioButton);
        QCOMPARE(group->child(1)->text(QAccessible::Name), text("COLOR_TAG_RED"));
        QVERIFY(group->child(3)->state().checked); // tag 2, yellow
        group->child(1)->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
        QCOMPARE(picker->currentTag(), 0);
        QVERIFY(group->child(1)->state().checked);
        QCOMPARE(group->indexOfChild(group->child(5)), 5);

        auto* progress = static_cast<KVTessaryProgress*>(makeControl(QStringLiteral("KVTessaryProgress"), &host));
        QAccessibleValueInterface* value = QAccessible::queryAccessibleInterface(progress)->valueInterface();
        QVERIFY(value);
        QCOMPARE(value->currentValue().toLongLong(), 4);
        QCOMPARE(value->maximumValue().toLongLong(), 10);
    }

    void iconsRenderAtEverySize_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("size");
        QTest::addColumn<qreal>("scale");
        const QStringList names = Icons::names();
        QVERIFY(names.size() >= 18);
        for (const QString& name : names) {
            for (int size : { 16, 32, 64 }) {
                for (qreal scale : { 1.0, 2.0 })
                    QTest::addRow("%s %d @%gx", qPrintable(name), size, scale) << name << size << scale;
            }
        }
    }
    void iconsRenderAtEverySize()
    {
        QFETCH(QString, name);
        QFETCH(int, size);
        QFETCH(qreal, scale);
        const QIcon icon = Icons::icon(name);
        QVERIFY(!icon.isNull());
        const QPixmap pixmap = icon.pixmap(QSize(size, size), scale);
        QCOMPARE(pixmap.size(), QSize(size, size) * scale);
        QCOMPARE(pixmap.devicePixelRatio(), scale);
        QVERIFY(opaquePixels(pixmap.toImage()) >= size * scale / 2);
    }

    void iconsAreDrawnAtDeviceSize()
    {
        const QIcon icon = Icons::icon(QStringLiteral("lock"));
        const QImage single = icon.pixmap(QSize(16, 16), 1.0).toImage();
        const QImage twice = icon.pixmap(QSize(16, 16), 2.0).toImage();
        const QImage smooth = single.scaled(twice.size(), Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        QVERIFY(edgeEnergy(twice) > 1.3 * edgeEnergy(smooth));
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("No icon named \"no-such-icon\"")));
        QVERIFY(Icons::icon(QStringLiteral("no-such-icon")).isNull());
    }

    void iconsAreTintedFromThePalette()
    {
        // The darkest ink of a light-theme icon is the light palette's text; dark theme: light ink.
        auto inkLightness = [] {
            const QImage image = Icons::icon(QStringLiteral("document")).pixmap(32).toImage();
            int best = 0;
            QColor ink;
            for (int y = 0; y < image.height(); ++y) {
                for (int x = 0; x < image.width(); ++x) {
                    if (qAlpha(image.pixel(x, y)) > best) {
                        best = qAlpha(image.pixel(x, y));
                        ink = QColor::fromRgba(image.pixel(x, y));
                    }
                }
            }
            return ink.lightness();
        };
        ThemeManager::instance()->setForcedScheme(ThemeManager::Light);
        const int light = inkLightness();
        ThemeManager::instance()->setForcedScheme(ThemeManager::Dark);
        const int dark = inkLightness();
        ThemeManager::instance()->setForcedScheme(ThemeManager::Light);
        QVERIFY2(light < 60 && dark > 200, qPrintable(QStringLiteral("%1 / %2").arg(light).arg(dark)));
    }

    void lightnessRule_data()
    {
        QTest::addColumn<QColor>("window");
        QTest::addColumn<bool>("dark");
        QTest::newRow("white") << QColor(Qt::white) << false;
        QTest::newRow("light palette") << ThemeManager::lightPalette().color(QPalette::Window) << false;
        QTest::newRow("lightness 110") << QColor::fromHsl(0, 0, 110) << false;
        QTest::newRow("lightness 109") << QColor::fromHsl(0, 0, 109) << true;
        QTest::newRow("dark palette") << ThemeManager::darkPalette().color(QPalette::Window) << true;
        QTest::newRow("black") << QColor(Qt::black) << true;
    }
    void lightnessRule()
    {
        QFETCH(QColor, window);
        QFETCH(bool, dark);
        QPalette palette;
        palette.setColor(QPalette::Window, window);
        QCOMPARE(ThemeManager::isDarkPalette(palette), dark);
    }

    void desktopChoice_data()
    {
        QTest::addColumn<int>("portal");
        QTest::addColumn<bool>("systemDark");
        QTest::addColumn<bool>("dark");
        QTest::newRow("portal dark over light palette") << 1 << false << true;
        QTest::newRow("portal light over dark palette") << 2 << true << false;
        QTest::newRow("no preference: dark palette") << 0 << true << true;
        QTest::newRow("no preference: light palette") << 0 << false << false;
        QTest::newRow("no portal: dark palette") << -1 << true << true;
        QTest::newRow("no portal: light palette") << -1 << false << false;
    }
    void desktopChoice()
    {
        QFETCH(int, portal);
        QFETCH(bool, systemDark);
        QFETCH(bool, dark);
        const QPalette system = systemDark ? ThemeManager::darkPalette() : ThemeManager::lightPalette();
        QCOMPARE(ThemeManager::desktopPrefersDark(portal, system), dark);
    }

    void portalValuesAreUnwrapped()
    {
        const QVariant nested = QVariant::fromValue(QDBusVariant(QVariant::fromValue(QDBusVariant(QVariant(1u)))));
        QCOMPARE(DesktopColorScheme::preferenceFromValue(nested), int(DesktopColorScheme::PreferDark));
        QCOMPARE(DesktopColorScheme::preferenceFromValue(QVariant(2u)), int(DesktopColorScheme::PreferLight));
        QCOMPARE(DesktopColorScheme::preferenceFromValue(QVariant(7u)), int(DesktopColorScheme::Unknown));
        QCOMPARE(DesktopColorScheme::preferenceFromValue(QVariant()), int(DesktopColorScheme::Unknown));
    }

    void followsThePortal()
    {
        if (!m_portalRunning)
            QSKIP("no dbus-daemon to run a desktop portal on");
        ThemeManager* theme = ThemeManager::instance();
        QSignalSpy changed(theme, &ThemeManager::themeChanged);
        // The portal asks for dark, so the desktop's light palette does not count.
        theme->setForcedScheme(ThemeManager::System);
        QVERIFY(theme->isDark());
        QCOMPARE(changed.count(), 1);

        auto announce = [this](uint scheme) {
            QDBusMessage signal = QDBusMessage::createSignal(QStringLiteral("/org/freedesktop/portal/desktop"),
                QStringLiteral("org.freedesktop.portal.Settings"), QStringLiteral("SettingChanged"));
            signal << QStringLiteral("org.freedesktop.appearance") << QStringLiteral("color-scheme")
                   << QVariant::fromValue(QDBusVariant(QVariant(scheme)));
            QVERIFY(QDBusConnection(QStringLiteral("fake-portal")).send(signal));
        };
        announce(2);
        QTRY_COMPARE(changed.count(), 2);
        QVERIFY(!theme->isDark());
        QVERIFY(!ThemeManager::isDarkPalette(QApplication::palette()));
        // A forced scheme wins over the desktop.
        announce(1);
        QTRY_COMPARE(changed.count(), 3);
        theme->setForcedScheme(ThemeManager::Light);
        QCOMPARE(changed.count(), 4);
        QVERIFY(!theme->isDark());
    }

    void forcedSchemeRepaintsAndSignals()
    {
        ThemeManager* theme = ThemeManager::instance();
        theme->setForcedScheme(ThemeManager::Light);
        PaintCounter window;
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QSignalSpy changed(theme, &ThemeManager::themeChanged);

        const int paintsBefore = window.paints;
        theme->setForcedScheme(ThemeManager::Dark);
        QVERIFY(theme->isDark());
        QVERIFY(ThemeManager::isDarkPalette(QApplication::palette()));
        QCOMPARE(changed.count(), 1);
        QCOMPARE(changed.last().at(0).toBool(), true);
        QTRY_VERIFY(window.paints > paintsBefore);

        theme->setForcedScheme(ThemeManager::Dark);
        QCOMPARE(changed.count(), 1);
        theme->setForcedScheme(ThemeManager::Light);
        QCOMPARE(changed.count(), 2);
        QCOMPARE(changed.last().at(0).toBool(), false);
        QVERIFY(!ThemeManager::isDarkPalette(QApplication::palette()));
    }

    void archiveFontIsSubstituted()
    {
        ThemeManager::applyFonts();
        ThemeManager::applyFonts();
        QCOMPARE(
            QFont::substitutes(AppFonts::archiveFamily()).join(u','), AppFonts::substitutes().join(u',').toLower());
        const QString expected = QFontDatabase::hasFamily(QStringLiteral("Inter")) ? QStringLiteral("Inter")
                                                                                   : QStringLiteral("DejaVu Sans");
        QCOMPARE(QFontInfo(AppFonts::archiveFont(12)).family(), expected);
        QCOMPARE(QFontInfo(AppFonts::archiveFont(12, true)).weight(), int(QFont::Bold));
        QCOMPARE(QFontInfo(QFont(QStringLiteral("WriteSans-Bold"))).family(), expected);
    }

private:
    /// A private session bus with a fake portal on it, when dbus-daemon is installed.
    void startPortal()
    {
        const QString daemon = QStandardPaths::findExecutable(QStringLiteral("dbus-daemon"));
        if (daemon.isEmpty())
            return;
        // The bus goes with the test, even when the test is killed.
        m_bus.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGTERM); });
        m_bus.start(
            daemon, { QStringLiteral("--session"), QStringLiteral("--nofork"), QStringLiteral("--print-address") });
        if (!m_bus.waitForStarted() || !m_bus.waitForReadyRead(10000))
            return;
        const QByteArray address = m_bus.readLine().trimmed();
        qputenv("DBUS_SESSION_BUS_ADDRESS", address);
        QDBusConnection portalBus
            = QDBusConnection::connectToBus(QString::fromLatin1(address), QStringLiteral("fake-portal"));
        m_portal.moveToThread(&m_portalThread);
        m_portalThread.start();
        m_portalRunning = portalBus.isConnected()
            && portalBus.registerService(QStringLiteral("org.freedesktop.portal.Desktop"))
            && portalBus.registerObject(
                QStringLiteral("/org/freedesktop/portal/desktop"), &m_portal, QDBusConnection::ExportAllSlots)
            && QDBusConnection::sessionBus().isConnected();
    }

    TemporaryHome m_home;
    QProcess m_bus;
    QThread m_portalThread;
    FakePortal m_portal;
    bool m_portalRunning = false;
};

QTEST_MAIN(TestGuiControls)
#include "tst_gui_controls.moc"
