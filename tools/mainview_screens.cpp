// Writes the main view's screens to DIR/mainview-<screen>-<lang>-<theme>.png
// (DIR defaults to "screens"): the empty and the full main view, the busy
// view of a batch, every sheet and alert of its flows, the preview of a PDF
// and of an image, and the sort popover, in German and English, light and
// dark. The archives are made at run time by the engine's own intake.

#include "app/intake/BatchFlow.h"
#include "app/intake/Delay.h"
#include "app/intake/FolderFlow.h"
#include "app/intake/GroupFlow.h"
#include "app/intake/IntakeFlow.h"
#include "app/popover/Popover.h"
#include "app/popover/PopoverController.h"
#include "app/popover/PopoverRegistry.h"
#include "app/preview/PdfPageView.h"
#include "app/preview/PreviewWindow.h"
#include "app/sheet/FolderImportSheet.h"
#include "controls/KVButton.h"
#include "app/style/AppFonts.h"
#include "app/style/ThemeManager.h"
#include "app/util/FileDialog.h"
#include "app/util/MessageBox.h"
#include "app/window/MainView.h"
#include "controls/KVSeparator.h"
#include "intake/DeletionRules.h"
#include "intake/DocumentIntake.h"
#include "model/QuillarcContainer.h"
#include "model/QuillarcDocument.h"
#include "model/QuillarcGroup.h"
#include "model/QuillarcPreferences.h"
#include "store/Document.h"
#include "text/KVLocalizationDictionary.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QLineEdit>
#include <QMessageBox>
#include <QPainter>
#include <QPdfWriter>
#include <QTemporaryDir>
#include <QTextStream>
#include <QThread>
#include <QVBoxLayout>
#include <functional>

namespace {

QString g_directory;
QString g_suffix; // "-de-light"
bool g_ok = true;

bool waitFor(const std::function<bool()>& done, int milliseconds = 20000)
{
    QElapsedTimer timer;
    timer.start();
    while (!done()) {
        if (timer.elapsed() > milliseconds)
            return false;
        QApplication::processEvents(QEventLoop::AllEvents, 20);
        QThread::msleep(5);
    }
    return true;
}

void settle()
{
    for (int i = 0; i < 5; ++i) {
        QApplication::processEvents();
        QThread::msleep(10);
    }
}

void save(QWidget* widget, const QString& screen)
{
    settle();
    QImage image(widget->size(), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    widget->render(&image);
    const QString path = QStringLiteral("%1/mainview-%2%3.png").arg(g_directory, screen, g_suffix);
    if (!image.save(path)) {
        QTextStream(stderr) << "mainview_screens: cannot write " << path << "\n";
        g_ok = false;
        return;
    }
    QTextStream(stdout) << path << "\n";
}

QMessageBox* visibleAlert()
{
    for (QWidget* widget : QApplication::topLevelWidgets()) {
        if (auto* box = qobject_cast<QMessageBox*>(widget); box && box->isVisible())
            return box;
    }
    return nullptr;
}

/// Shows the alert @p ask raises, saves it and dismisses it.
void saveAlert(const QString& screen, const std::function<void()>& ask)
{
    ask();
    if (!waitFor([] { return visibleAlert() != nullptr; }, 3000)) {
        QTextStream(stderr) << "mainview_screens: no alert for " << screen << "\n";
        g_ok = false;
        return;
    }
    QMessageBox* box = visibleAlert();
    save(box, screen);
    box->done(-1);
    settle();
}

void writePdf(const QString& path, const QStringList& pages)
{
    QPdfWriter writer(path);
    writer.setResolution(72);
    writer.setPageSize(QPageSize(QPageSize::A4));
    QPainter painter(&writer);
    for (qsizetype i = 0; i < pages.size(); ++i) {
        if (i > 0)
            writer.newPage();
        QFont font(QStringLiteral("DejaVu Sans"));
        font.setPixelSize(22);
        font.setBold(true);
        painter.setFont(font);
        painter.drawText(QRect(60, 60, 470, 40), pages[i].section(QLatin1Char('\n'), 0, 0));
        font.setPixelSize(11);
        font.setBold(false);
        painter.setFont(font);
        painter.drawText(QRect(60, 120, 470, 600), Qt::TextWordWrap, pages[i].section(QLatin1Char('\n'), 1));
        painter.drawRect(60, 640, 470, 100);
    }
}

void writeImage(const QString& path, const QColor& paper, const QString& text)
{
    QImage image(900, 1200, QImage::Format_RGB32);
    image.fill(paper);
    QPainter painter(&image);
    painter.setPen(QColor(40, 40, 40));
    QFont font(QStringLiteral("DejaVu Sans Mono"));
    font.setPixelSize(34);
    painter.setFont(font);
    painter.drawText(QRect(80, 100, 740, 1000), Qt::TextWordWrap, text);
    image.save(path);
}

struct Archive
{
    std::unique_ptr<Document> document;
    QList<GroupPtr> groups;
    DocumentPtr pdf;
    DocumentPtr image;
};

GroupPtr addGroup(Document& archive, const QString& title, int color, bool locked)
{
    auto group = QuillarcGroup::create();
    group->setField(QuillarcGroup::GroupTitle, Value::string(title));
    group->setField(QuillarcGroup::GroupColorTag, Value::integer(color));
    group->setField(QuillarcGroup::IsLocked, Value::boolean(locked));
    group->setParent(archive.container().get());
    archive.container()->mutableField(QuillarcContainer::Groups).mutableArray().append(Value::object(group));
    return group;
}

DocumentPtr take(Document& archive, DocumentIntake& intake, const GroupPtr& group, const QString& path,
    const QStringList& tags, int color)
{
    const DocumentPtr record = intake.addDocument(path, group);
    if (!record)
        return nullptr;
    ValueList list;
    for (const QString& tag : tags)
        list.append(Value::string(tag));
    record->setField(QuillarcDocument::Tags, Value::array(list));
    record->setField(QuillarcDocument::DocumentColorTag, Value::integer(color));
    archive.createLogObjectForDocument(record, 0);
    return record;
}

Archive makeFullArchive(const QString& root)
{
    Archive made;
    made.document = std::make_unique<Document>();
    Document& archive = *made.document;
    archive.setUpAfterReading();
    archive.saveToPath(root + QStringLiteral("/Buchhaltung.quillarc"));
    const PreferencesPtr preferences = archive.preferences();
    preferences->setField(QuillarcPreferences::IsSetupDone, Value::boolean(true));
    preferences->setField(QuillarcPreferences::AutoLockDocuments, Value::boolean(false));
    preferences->setField(QuillarcPreferences::AutoVoucherNumbering, Value::boolean(true));
    preferences->setField(QuillarcPreferences::VoucherPrefix, Value::string(QStringLiteral("RE-")));
    preferences->setField(QuillarcPreferences::VoucherNumber, Value::integer(1041));
    archive.container()->setField(QuillarcContainer::ContainerTitle, Value::string(QStringLiteral("Buchhaltung 2024")));
    archive.container()->setField(QuillarcContainer::ContainerDescription,
        Value::string(QStringLiteral("Rechnungen, Verträge und Belege\nder Tessary GmbH")));

    const GroupPtr invoices = addGroup(archive, QStringLiteral("Eingangsrechnungen"), 0, false);
    const GroupPtr contracts = addGroup(archive, QStringLiteral("Verträge"), 4, true);
    const GroupPtr statements = addGroup(archive, QStringLiteral("Kontoauszüge"), 3, false);
    addGroup(archive, QStringLiteral("Reisekosten"), 7, false);
    statements->setField(QuillarcGroup::HasMonitoredFolder, Value::boolean(true));
    statements->setField(QuillarcGroup::FolderPath, Value::string(root + QStringLiteral("/scans")));
    made.groups = { invoices, contracts, statements };

    const QString files = root + QStringLiteral("/files");
    QDir().mkpath(files);
    writePdf(files + QStringLiteral("/Rechnung Büromaterial.pdf"),
        { QStringLiteral("Rechnung Nr. 2024-0117\nBüromaterial: Ordner, Papier, Toner.\nNetto 412,00 EUR, USt 78,28 EUR, Brutto 490,28 EUR."),
            QStringLiteral("Seite 2\nZahlungsziel 14 Tage ohne Abzug. Bankverbindung siehe Briefkopf.") });
    writePdf(files + QStringLiteral("/Wartungsvertrag Server.pdf"),
        { QStringLiteral("Wartungsvertrag\nLaufzeit 24 Monate, Kündigung drei Monate zum Quartalsende.") });
    writeImage(files + QStringLiteral("/Tankquittung.jpg"), QColor(250, 248, 240),
        QStringLiteral("TANKSTELLE AM RING\n\nSuper E10  42,18 l\nBetrag     76,30 EUR\n\nVielen Dank"));
    writeImage(files + QStringLiteral("/Bewirtung.png"), QColor(240, 246, 255),
        QStringLiteral("Gasthaus Linde\n\n2x Menü     58,00\n2x Wasser    7,80\nSumme       65,80 EUR"));
    QFile text(files + QStringLiteral("/Notiz Steuerberater.txt"));
    text.open(QIODevice::WriteOnly);
    text.write("Unterlagen für den Jahresabschluss bis 31.03. einreichen.\nKassenbuch und Kontoauszüge beilegen.\n");
    text.close();

    DocumentIntake intake(archive);
    made.pdf = take(archive, intake, invoices, files + QStringLiteral("/Rechnung Büromaterial.pdf"),
        { QStringLiteral("Büro"), QStringLiteral("2024") }, 0);
    made.image = take(archive, intake, invoices, files + QStringLiteral("/Tankquittung.jpg"), { QStringLiteral("Fahrzeug") }, 2);
    take(archive, intake, invoices, files + QStringLiteral("/Bewirtung.png"), { QStringLiteral("Bewirtung"), QStringLiteral("Kunde") }, 7);
    take(archive, intake, invoices, files + QStringLiteral("/Notiz Steuerberater.txt"), {}, 5);
    take(archive, intake, contracts, files + QStringLiteral("/Wartungsvertrag Server.pdf"), { QStringLiteral("IT") }, 4);
    made.pdf->setField(QuillarcDocument::Comment, Value::string(QStringLiteral("Sammelbestellung Q1")));
    made.pdf->setField(QuillarcDocument::Note, Value::string(QStringLiteral("Skonto genutzt.\nBeleg im Ordner 3.")));
    archive.save();
    archive.setParents();
    archive.clearChangeCount();
    return made;
}

/// The main view with its toolbar strip above it, as the archive window shows them.
struct Window
{
    QWidget frame;
    MainView* view = nullptr;

    explicit Window(Document* archive)
    {
        auto* layout = new QVBoxLayout(&frame);
        layout->setContentsMargins(0, 0, 0, 0);
        layout->setSpacing(0);
        view = new MainView(archive);
        QWidget* toolbar = view->toolbarView();
        layout->addWidget(toolbar);
        layout->addWidget(new KVSeparator(Qt::Horizontal));
        layout->addWidget(view, 1);
        frame.resize(1180, 720);
        frame.show();
        view->viewActions();
        settle();
    }
};

void writeScreens(const QString& root)
{
    // A new archive: the start area.
    {
        Document fresh;
        fresh.setUpAfterReading();
        Window window(&fresh);
        waitFor([&] { return window.view->containerTitleTextField()->hasFocus(); }, 2000);
        save(&window.frame, QStringLiteral("empty"));
    }

    const Archive made = makeFullArchive(root);
    Document& archive = *made.document;
    Window window(&archive);
    MainView* view = window.view;
    view->selectGroup(made.groups[0]);
    view->selectDocument(made.pdf);
    waitFor([&] { return view->currentDocument() == made.pdf; });
    settle();
    save(&window.frame, QStringLiteral("full"));

    // The sheets of the flows.
    const QString files = root + QStringLiteral("/files");
    FileDialog::setNextFileName(files + QStringLiteral("/Bewirtung.png"));
    view->addDocument();
    if (waitFor([&] { return view->intakeFlow()->documentSheet() != nullptr; })) {
        save(view->intakeFlow()->documentSheet(), QStringLiteral("sheet-document"));
        view->intakeFlow()->documentSheet()->cancelButton()->click();
        settle();
    }
    view->selectGroup(made.groups[0]);
    view->batchFlow()->startBatch({ files + QStringLiteral("/Tankquittung.jpg"), files + QStringLiteral("/Notiz Steuerberater.txt"),
                                      files + QStringLiteral("/gone.pdf"), files },
        made.groups[0], false);
    save(&window.frame, QStringLiteral("progress"));
    if (waitFor([&] { return view->batchFlow()->batchSheet() != nullptr; }, 60000)) {
        save(view->batchFlow()->batchSheet(), QStringLiteral("sheet-batch"));
        view->batchFlow()->batchSheet()->reject();
        settle();
    }
    view->selectGroup(made.groups[2]);
    view->editGroup();
    if (waitFor([&] { return view->groupFlow()->groupSheet() != nullptr; })) {
        save(view->groupFlow()->groupSheet(), QStringLiteral("sheet-group"));
        view->groupFlow()->groupSheet()->accept();
        settle();
    }
    {
        auto* import = new FolderImportSheet(&window.frame);
        import->setFolderImportString(localizedString(QStringLiteral("MONITORED_FOLDER_IMPORT_START")));
        import->open();
        save(import, QStringLiteral("sheet-folderimport"));
        delete import;
    }

    // The alerts.
    const auto text = [](const char* key) { return localizedString(QString::fromUtf8(key)); };
    const auto alert = [&](const char* screen, MessageBox::Icon icon, const char* title, const char* body, QStringList buttons) {
        saveAlert(QString::fromLatin1(screen), [&] { MessageBox::alert(&window.frame, icon, text(title), text(body), buttons); });
    };
    alert("alert-notsaved", MessageBox::Icon::Critical, "Error!", "You need to name and save the current Quillarc document first.", { text("OK") });
    alert("alert-notsupported", MessageBox::Icon::Critical, "Error!", "File format not supported.", { text("OK") });
    alert("alert-deletedocument", MessageBox::Icon::Warning, "Delete Document", "DELETE_DOCUMENT_ALERT", { text("OK"), text("Cancel") });
    alert("alert-deletedocument-refused", MessageBox::Icon::Critical, "ERROR!", "DELETE_DOCUMENT_IMPOSSIBLE_ALERT", { text("OK") });
    alert("alert-deletegroup", MessageBox::Icon::Warning, "Delete Group", "DELETE_GROUP_ALERT", { text("OK") });
    alert("alert-deletegroup-refused", MessageBox::Icon::Critical, "ERROR!", "DELETE_GROUP_IMPOSSIBLE_ALERT", { text("OK") });
    alert("alert-filenotfound", MessageBox::Icon::Critical, "Error!", "File not found.", { text("OK") });
    alert("alert-filecorrupted", MessageBox::Icon::Critical, "Error!", "File appears to be corrupted.", { text("OK") });
    alert("alert-folderhint", MessageBox::Icon::Information, "Hint!", "MONITORED_FOLDER_HINT", { text("OK") });

    // The sort popover.
    view->showSortOrderPopover();
    Popover* popover = nullptr;
    waitFor([&] {
        for (QWidget* widget : QApplication::topLevelWidgets()) {
            if (auto* candidate = qobject_cast<Popover*>(widget); candidate && candidate->isVisible())
                popover = candidate;
        }
        return popover != nullptr;
    }, 3000);
    if (popover) {
        save(popover, QStringLiteral("popover-sort"));
        popover->close();
    }

    // The preview of a PDF and of an image.
    view->selectGroup(made.groups[0]);
    view->selectDocument(made.pdf);
    view->generateQuickLook();
    PreviewWindow* preview = view->previewWindow();
    if (preview && waitFor([&] { return preview->isReady() && preview->pdfView()->renderedPageCount() > 0; })) {
        preview->resize(640, 820);
        waitFor([&] { return preview->pdfView()->renderedPageCount() > 0; });
        save(preview, QStringLiteral("preview-pdf"));
    }
    view->selectDocument(made.image);
    if (preview && waitFor([&] { return preview->document() == made.image && preview->isReady(); }))
        save(preview, QStringLiteral("preview-image"));
    if (preview)
        preview->close();
}

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    g_directory = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral("screens");
    if (!QDir().mkpath(g_directory)) {
        QTextStream(stderr) << "mainview_screens: cannot create " << g_directory << "\n";
        return 1;
    }
    Delay::setFactor(0);
    PopoverRegistry::registerBuiltIns();
    ThemeManager::applyFonts();
    QApplication::setFont(AppFonts::archiveFont(10));
    for (const QString& language : { QStringLiteral("de"), QStringLiteral("en") }) {
        KVLocalizationDictionary::sharedLocalizationDictionary().setLanguage(language);
        KVLocalizationDictionary::sharedLocalizationDictionary().reloadLocalizationDictionary();
        // Dates and sizes as a user of that language sees them.
        QLocale::setDefault(QLocale(language == QLatin1String("de") ? QLocale::German : QLocale::English,
            language == QLatin1String("de") ? QLocale::Germany : QLocale::UnitedKingdom));
        for (bool dark : { false, true }) {
            ThemeManager::instance()->setForcedScheme(dark ? ThemeManager::Dark : ThemeManager::Light);
            g_suffix = QStringLiteral("-%1-%2").arg(language, dark ? QStringLiteral("dark") : QStringLiteral("light"));
            QTemporaryDir root;
            writeScreens(root.path());
        }
    }
    return g_ok ? 0 : 1;
}
