// Writes a picture of every painted control, in the light and the dark
// palette at 1x and 2x, to DIR/controls-<theme>-<scale>.png (DIR defaults to
// "screens"). Look at them after changing how a control draws: blurry edges,
// hairlines off the pixel grid and clipped German texts show up here first.

#include "app/style/AppFonts.h"
#include "app/style/Icons.h"
#include "app/style/ThemeManager.h"
#include "controls/BadgeField.h"
#include "controls/ColorTagDot.h"
#include "controls/ColorTagPicker.h"
#include "controls/KVBox.h"
#include "controls/KVButton.h"
#include "controls/KVHoverButton.h"
#include "controls/KVLinkButton.h"
#include "controls/KVSeparator.h"
#include "controls/KVTessaryProgress.h"
#include "controls/TessaryBeachBallView.h"
#include "text/KVLocalizationDictionary.h"

#include <QApplication>
#include <QDir>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QImage>
#include <QLabel>
#include <QPainter>
#include <QTextStream>
#include <QVBoxLayout>

namespace {

/// Every shipped icon at 16 and 32 pixels, painted through QIcon so the
/// picture shows what the engine draws at the target's pixel ratio.
class IconStrip : public QWidget
{
public:
    using QWidget::QWidget;
    QSize sizeHint() const override { return QSize(Icons::names().size() * 40, 56); }

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        int x = 0;
        for (const QString& name : Icons::names()) {
            const QIcon icon = Icons::icon(name);
            icon.paint(&painter, QRect(x + 8, 0, 16, 16));
            icon.paint(&painter, QRect(x, 22, 32, 32));
            x += 40;
        }
    }
};

QWidget* row(std::initializer_list<QWidget*> widgets)
{
    auto* box = new QWidget;
    auto* layout = new QHBoxLayout(box);
    layout->setContentsMargins(0, 0, 0, 0);
    for (QWidget* widget : widgets)
        layout->addWidget(widget, 0, Qt::AlignVCenter);
    layout->addStretch();
    return box;
}

QWidget* buildGallery()
{
    auto* gallery = new QWidget;
    auto* form = new QFormLayout(gallery);
    form->setContentsMargins(16, 16, 16, 16);
    form->setHorizontalSpacing(16);
    form->setVerticalSpacing(10);

    auto* normal = new KVButton(localizedString(QStringLiteral("Cancel")));
    auto* accent = new KVButton(QStringLiteral("Übernehmen"));
    accent->setDefault(true);
    auto* disabled = new KVButton(QStringLiteral("Löschen"));
    disabled->setEnabled(false);
    auto* pressed = new KVButton(QStringLiteral("Gedrückt"));
    pressed->setDown(true);
    auto* focused = new KVButton(QStringLiteral("Exportieren …"));
    focused->setIcon(Icons::icon(QStringLiteral("export")));
    focused->setObjectName(QStringLiteral("focused"));
    form->addRow(QStringLiteral("KVButton"), row({ normal, accent, disabled, pressed, focused }));

    QList<QWidget*> hover;
    for (const char* name : { "add", "remove", "search", "settings", "lock", "info" })
        hover.append(new KVHoverButton(Icons::icon(QString::fromLatin1(name)), QString::fromLatin1(name)));
    static_cast<KVHoverButton*>(hover.at(4))->setCheckable(true);
    static_cast<KVHoverButton*>(hover.at(4))->setChecked(true);
    hover.at(5)->setEnabled(false);
    // Shown as if the pointer rested on it.
    hover.at(2)->setAttribute(Qt::WA_UnderMouse);
    auto* hoverRow = new QWidget;
    auto* hoverLayout = new QHBoxLayout(hoverRow);
    hoverLayout->setContentsMargins(0, 0, 0, 0);
    for (QWidget* button : hover)
        hoverLayout->addWidget(button);
    hoverLayout->addStretch();
    form->addRow(QStringLiteral("KVHoverButton"), hoverRow);

    auto* disabledLink = new KVLinkButton(QStringLiteral("Nicht verfügbar"));
    disabledLink->setEnabled(false);
    form->addRow(QStringLiteral("KVLinkButton"),
        row({ new KVLinkButton(QStringLiteral("Hilfe zur ordnungsgemäßen Archivierung")), disabledLink }));

    QList<QWidget*> dots;
    auto* dotRow = new QWidget;
    auto* dotLayout = new QHBoxLayout(dotRow);
    dotLayout->setContentsMargins(0, 0, 0, 0);
    for (int tag = 0; tag <= 7; ++tag) {
        auto* dot = new ColorTagDot;
        dot->setColorTag(tag);
        dotLayout->addWidget(dot);
    }
    dotLayout->addStretch();
    form->addRow(QStringLiteral("ColorTagDot"), dotRow);

    auto* picker = new ColorTagPicker;
    picker->setCurrentTag(3);
    picker->setObjectName(QStringLiteral("picker"));
    auto* pickerNone = new ColorTagPicker;
    form->addRow(QStringLiteral("ColorTagPicker"), row({ picker, pickerNone }));

    auto* one = new BadgeField;
    one->setText(QStringLiteral("7"));
    auto* many = new BadgeField;
    many->setText(QStringLiteral("128"));
    auto* lots = new BadgeField;
    lots->setText(QStringLiteral("12.345"));
    form->addRow(QStringLiteral("BadgeField"), row({ one, many, lots }));

    auto* separators = new QWidget;
    auto* separatorLayout = new QHBoxLayout(separators);
    separatorLayout->setContentsMargins(0, 0, 0, 0);
    separatorLayout->addWidget(new KVSeparator(Qt::Horizontal), 1);
    auto* vertical = new KVSeparator(Qt::Vertical);
    vertical->setFixedHeight(28);
    separatorLayout->addWidget(vertical);
    separatorLayout->addWidget(new KVSeparator(Qt::Horizontal), 1);
    form->addRow(QStringLiteral("KVSeparator"), separators);

    auto* box = new KVBox(QStringLiteral("Belegangaben"));
    auto* boxLayout = new QHBoxLayout(box);
    boxLayout->setContentsMargins(0, 0, 0, 0);
    boxLayout->addWidget(new QLabel(QStringLiteral("Belegnummer: RE-2024-0815")));
    boxLayout->addStretch();
    boxLayout->addWidget(new KVButton(QStringLiteral("Ändern")));
    auto* plain = new KVBox;
    auto* plainLayout = new QHBoxLayout(plain);
    plainLayout->setContentsMargins(0, 0, 0, 0);
    plainLayout->addWidget(new QLabel(QStringLiteral("Ohne Titel")));
    form->addRow(QStringLiteral("KVBox"), row({ box, plain }));

    auto* spinner = new TessaryBeachBallView;
    spinner->startAnimation();
    auto* small = new TessaryBeachBallView;
    small->setFixedSize(16, 16);
    small->startAnimation();
    auto* stopped = new TessaryBeachBallView;
    stopped->setDisplayedWhenStopped(true);
    form->addRow(QStringLiteral("TessaryBeachBallView"), row({ spinner, small, stopped }));

    auto* determinate = new KVTessaryProgress;
    determinate->setRange(0, 240);
    determinate->setValue(101);
    determinate->setText(QStringLiteral("Rechnung_2024-03_Bürobedarf_Schreibwaren_Müller_und_Söhne_GmbH.pdf"));
    auto* indeterminate = new KVTessaryProgress;
    indeterminate->setIndeterminate(true);
    indeterminate->setText(QStringLiteral("Texterkennung läuft …"));
    auto* noCancel = new KVTessaryProgress;
    noCancel->setCancelVisible(false);
    noCancel->setRange(0, 3);
    noCancel->setValue(3);
    noCancel->setText(QStringLiteral("Fertig"));
    auto* progress = new QWidget;
    auto* progressLayout = new QVBoxLayout(progress);
    progressLayout->setContentsMargins(0, 0, 0, 0);
    progressLayout->addWidget(determinate);
    progressLayout->addWidget(indeterminate);
    progressLayout->addWidget(noCancel);
    form->addRow(QStringLiteral("KVTessaryProgress"), progress);

    form->addRow(QStringLiteral("Icons"), new IconStrip);
    return gallery;
}

bool writeGallery(const QString& directory, bool dark, int scale)
{
    ThemeManager::instance()->setForcedScheme(dark ? ThemeManager::Dark : ThemeManager::Light);
    QWidget* gallery = buildGallery();
    gallery->setWindowTitle(QStringLiteral("Controls"));
    gallery->resize(gallery->sizeHint().expandedTo(QSize(760, 0)));
    gallery->show();
    gallery->activateWindow();
    QApplication::processEvents();
    // Keyboard focus, so the focus ring shows on the button that has it.
    if (auto* focused = gallery->findChild<QWidget*>(QStringLiteral("focused")))
        focused->setFocus(Qt::TabFocusReason);
    QApplication::processEvents();

    QImage image(gallery->size() * scale, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(scale);
    image.fill(Qt::transparent);
    gallery->render(&image);
    delete gallery;

    const QString path = QStringLiteral("%1/controls-%2-%3x.png").arg(directory, dark ? "dark" : "light").arg(scale);
    if (!image.save(path)) {
        QTextStream(stderr) << "controls_gallery: cannot write " << path << "\n";
        return false;
    }
    QTextStream(stdout) << path << "\n";
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    const QString directory = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral("screens");
    if (!QDir().mkpath(directory)) {
        QTextStream(stderr) << "controls_gallery: cannot create " << directory << "\n";
        return 1;
    }
    // German texts are the longest; the archive window's typeface.
    KVLocalizationDictionary::sharedLocalizationDictionary().setLanguage(QStringLiteral("de"));
    KVLocalizationDictionary::sharedLocalizationDictionary().reloadLocalizationDictionary();
    ThemeManager::applyFonts();
    QApplication::setFont(AppFonts::archiveFont(10));

    bool ok = true;
    for (bool dark : { false, true }) {
        for (int scale : { 1, 2 })
            ok = writeGallery(directory, dark, scale) && ok;
    }
    return ok ? 0 : 1;
}
