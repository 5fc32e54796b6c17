#include "ScreenSamples.h"

#include "ScreenRegistry.h"
#include "app/popover/Popover.h"
#include "app/popover/PopoverController.h"
#include "app/window/MainView.h"
#include "controls/KVSeparator.h"
#include "intake/DocumentIntake.h"
#include "model/QuillarcContainer.h"
#include "model/QuillarcDocument.h"
#include "model/QuillarcGroup.h"
#include "model/QuillarcPreferences.h"
#include "store/Document.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QPainter>
#include <QPdfWriter>
#include <QVBoxLayout>

namespace {

/// A PDF of A4 pages: each page's first line as its heading, the rest as text below.
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

/// A photographed receipt: dark text on tinted paper.
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
    painter.end();
    image.save(path);
}

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

void writeFiles(const QString& files)
{
    QDir().mkpath(files);
    writePdf(files + QStringLiteral("/Rechnung Büromaterial.pdf"),
        { QStringLiteral("Rechnung Nr. 2024-0117\nBüromaterial: Ordner, Papier, Toner.\nNetto 412,00 EUR, USt 78,28 "
                         "EUR, Brutto 490,28 EUR."),
            QStringLiteral("Seite 2\nZahlungsziel 14 Tage ohne Abzug. Bankverbindung siehe Briefkopf.") });
    writePdf(files + QStringLiteral("/Wartungsvertrag Server.pdf"),
        { QStringLiteral("Wartungsvertrag\nLaufzeit 24 Monate, Kündigung drei Monate zum Quartalsende.") });
    writeImage(files + QStringLiteral("/Tankquittung.jpg"), QColor(250, 248, 240),
        QStringLiteral("TANKSTELLE AM RING\n\nSuper E10  42,18 l\nBetrag     76,30 EUR\n\nVielen Dank"));
    writeImage(files + QStringLiteral("/Bewirtung.png"), QColor(240, 246, 255),
        QStringLiteral("Gasthaus Linde\n\n2x Menü     58,00\n2x Wasser    7,80\nSumme       65,80 EUR"));
    QFile text(files + QStringLiteral("/Notiz Steuerberater.txt"));
    if (text.open(QIODevice::WriteOnly))
        text.write("Unterlagen für den Jahresabschluss bis 31.03. einreichen.\nKassenbuch und Kontoauszüge "
                   "beilegen.\n");
}

} // namespace

ScreenSamples::Archive ScreenSamples::accountingArchive(ScreenContext& context)
{
    Archive made;
    const QString root = context.freshPath(QStringLiteral("accounting"));
    QDir().mkpath(root);
    made.path = root + QStringLiteral("/Buchhaltung.quillarc");
    made.files = root + QStringLiteral("/files");
    made.document = new Document;
    context.keep(made.document);
    Document& archive = *made.document;
    archive.setUpAfterReading();
    archive.saveToPath(made.path);
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

    writeFiles(made.files);
    const QString& files = made.files;
    DocumentIntake intake(archive);
    made.pdf = take(archive, intake, invoices, files + QStringLiteral("/Rechnung Büromaterial.pdf"),
        { QStringLiteral("Büro"), QStringLiteral("2024") }, 0);
    made.image = take(
        archive, intake, invoices, files + QStringLiteral("/Tankquittung.jpg"), { QStringLiteral("Fahrzeug") }, 2);
    take(archive, intake, invoices, files + QStringLiteral("/Bewirtung.png"),
        { QStringLiteral("Bewirtung"), QStringLiteral("Kunde") }, 7);
    take(archive, intake, invoices, files + QStringLiteral("/Notiz Steuerberater.txt"), {}, 5);
    take(archive, intake, contracts, files + QStringLiteral("/Wartungsvertrag Server.pdf"), { QStringLiteral("IT") },
        4);
    if (made.pdf) {
        made.pdf->setField(QuillarcDocument::Comment, Value::string(QStringLiteral("Sammelbestellung Q1")));
        made.pdf->setField(QuillarcDocument::Note, Value::string(QStringLiteral("Skonto genutzt.\nBeleg im Ordner 3.")));
    }
    archive.save();
    archive.setParents();
    archive.clearChangeCount();
    return made;
}

Document* ScreenSamples::reopen(ScreenContext& context, const QString& path)
{
    auto* document = new Document;
    context.keep(document);
    DocumentError error;
    document->readFromFileWrapper(path, QString::fromLatin1(Document::typeName), &error);
    document->setUpAfterReading();
    document->clearChangeCount();
    return document;
}

MainView* ScreenSamples::mainViewFrame(ScreenContext& context, Document* archive)
{
    auto* frame = new QWidget;
    context.keep(frame);
    auto* layout = new QVBoxLayout(frame);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    auto* view = new MainView(archive);
    layout->addWidget(view->toolbarView());
    layout->addWidget(new KVSeparator(Qt::Horizontal));
    layout->addWidget(view, 1);
    frame->resize(1180, 720);
    frame->show();
    view->viewActions();
    ScreenContext::settle(50);
    return view;
}

QWidget* ScreenSamples::shownPopover(QWidget* window)
{
    Popover* found = nullptr;
    ScreenContext::waitFor([&found, window] {
        QList<Popover*> popovers = window->findChildren<Popover*>();
        for (QWidget* widget : QApplication::topLevelWidgets()) {
            if (auto* popover = qobject_cast<Popover*>(widget))
                popovers.append(popover);
        }
        for (Popover* popover : popovers) {
            if (popover->isVisible())
                found = popover;
        }
        return found != nullptr;
    });
    return found;
}
