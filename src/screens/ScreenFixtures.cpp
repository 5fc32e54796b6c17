#include "ScreenFixtures.h"

#include "ScreenRegistry.h"
#include "app/core/Delays.h"
#include "app/window/ArchiveSaving.h"
#include "app/window/ArchiveWindow.h"
#include "app/window/WelcomeDuration.h"
#include "model/QuillarcContainer.h"
#include "model/QuillarcDocument.h"
#include "model/QuillarcGroup.h"
#include "model/QuillarcPreferences.h"
#include "store/Document.h"

#include <QApplication>
#include <QMessageBox>
#include <QTimer>

QString ScreenFixtures::archive(ScreenContext& context, const QString& title, int groups, int documents)
{
    const QString path = context.freshPath(QStringLiteral("archive")) + QStringLiteral(".quillarc");
    Document archive;
    archive.setUpAfterReading();
    archive.container()->setField(QuillarcContainer::ContainerTitle, Value::string(title));
    archive.preferences()->setField(QuillarcPreferences::IsSetupDone, Value::boolean(true));
    for (int g = 0; g < groups; ++g) {
        auto group = QuillarcGroup::create();
        group->setField(QuillarcGroup::GroupTitle, Value::string(QStringLiteral("Belege %1").arg(2021 + g)));
        for (int d = 0; d < documents; ++d) {
            auto record = QuillarcDocument::create();
            record->setField(
                QuillarcDocument::Title, Value::string(QStringLiteral("Rechnung %1-%2").arg(g + 1).arg(d + 1)));
            record->setField(
                QuillarcDocument::Name, Value::string(QStringLiteral("rechnung-%1-%2").arg(g + 1).arg(d + 1)));
            group->mutableField(QuillarcGroup::Documents).mutableArray().append(Value::object(record));
        }
        archive.container()->mutableField(QuillarcContainer::Groups).mutableArray().append(Value::object(group));
    }
    archive.saveToPath(path);
    return path;
}

ArchiveWindow* ScreenFixtures::openWindow(ScreenContext& context, const QString& path, bool mainView)
{
    auto* document = new Document;
    DocumentError error;
    document->readFromFileWrapper(path, QString::fromLatin1(Document::typeName), &error);
    auto* window = new ArchiveWindow(document);
    context.keep(window);
    // Delays are scaled to nothing, so the welcome screen must be asked for by hand.
    Delays::setScaleForTesting(mainView ? 0.0 : 1.0);
    WelcomeDuration::setDurationOverride(mainView ? 0.0 : 3600.0);
    window->resize(1120, 720);
    window->windowControllerDidLoadNib();
    window->show();
    if (mainView) {
        ScreenContext::waitFor([window] { return window->isMainViewLoaded(); });
    } else {
        window->showWelcomeView();
        ScreenContext::waitFor([window] { return window->welcomeView() != nullptr; });
    }
    Delays::setScaleForTesting(0.0);
    // With delays scaled to nothing the auto-save would clear every edited mark at once.
    if (QTimer* autoSave = window->saving()->autoSaveTimer())
        autoSave->stop();
    ScreenContext::settle(50); // saves already started complete now, not during the picture
    return window;
}

QWidget* ScreenFixtures::shownAlert(QWidget* window)
{
    QMessageBox* found = nullptr;
    ScreenContext::waitFor([&found, window] {
        const QList<QMessageBox*> boxes = window ? window->findChildren<QMessageBox*>() : QList<QMessageBox*>();
        for (QMessageBox* box : boxes) {
            if (box->isVisible())
                found = box;
        }
        for (QWidget* widget : QApplication::topLevelWidgets()) {
            if (auto* box = qobject_cast<QMessageBox*>(widget); box && box->isVisible())
                found = box;
        }
        return found != nullptr;
    });
    return found;
}
