// The information popover: each showing validates the archive and shows its
// states in order; a failure leaves the integrity log and a button to open it.
#include "ArchiveFixture.h"
#include "TestSupport.h"
#include "app/popover/InfoPopover.h"
#include "app/popover/Popover.h"
#include "app/popover/PopoverRegistry.h"
#include "app/util/ExternalOpen.h"
#include "app/views/IntegrityStatusLabel.h"
#include "controls/KVButton.h"
#include "controls/KVLinkButton.h"
#include "controls/KVTessaryProgress.h"
#include "store/IntegrityValidator.h"

#include <QDir>
#include <QFile>
#include <QLabel>
#include <QSignalSpy>
#include <QStackedWidget>
#include <QTest>

class TestGuiInfo : public QObject
{
    Q_OBJECT

private:
    TemporaryHome m_home;
    QString m_path;
    QStringList m_members;
    QList<std::pair<QString, QString>> m_opened;

    /// A saved archive with three documents, reopened as a window opens it.
    std::unique_ptr<Document> makeArchive()
    {
        m_path = m_home.freshPath(QStringLiteral("info")) + QStringLiteral(".quillarc");
        auto fixture = std::make_unique<ArchiveFixture>(m_path);
        const GroupPtr group = fixture->addGroup(QStringLiteral("Belege"));
        m_members.clear();
        for (const char* name : { "Rechnung", "Vertrag", "Brief" })
            m_members << fixture->addDocument(group, QString::fromLatin1(name), QByteArray(name).repeated(50))->path();
        fixture->save();
        return ArchiveFixture::reopen(m_path, Document::OpenMode::ReadWrite);
    }

    /// Shows the popover for @p archive and records every state line it shows.
    InfoPopover* show(Document& archive, QStringList* states)
    {
        auto* popover = new InfoPopover;
        popover->setDocument(&archive);
        connect(&archive, &Document::integrityStringChanged, popover,
            [states](const QString& text) { states->append(text); });
        auto* frame = new Popover(popover, Popover::Behavior::Transient, nullptr);
        frame->show();
        popover->popoverViewActions();
        return popover;
    }

private Q_SLOTS:
    void init()
    {
        m_opened.clear();
        ExternalOpen::setHandlerForTesting(
            [this](const QString& action, const QString& path) { m_opened.append({ action, path }); });
        QFile::remove(IntegrityValidator::integrityLogPath());
    }
    void cleanup() { ExternalOpen::setHandlerForTesting({}); }

    void statesInOrder_data()
    {
        QTest::addColumn<QString>("damage");
        QTest::addColumn<QStringList>("states");
        QTest::addColumn<bool>("logButton");
        const QString validating = text("INTEGRITY_STRING_VALIDATING");
        const QString corrupt = text("INTEGRITY_STRING_DATABASE_CORRUPT");
        // clang-format off
        QTest::newRow("intact")         << "none"   << QStringList { validating, text("INTEGRITY_STRING_DATABASE_VALID") } << false;
        QTest::newRow("changed member") << "flip"   << QStringList { validating, corrupt }                                 << true;
        QTest::newRow("deleted member") << "delete" << QStringList { validating, corrupt }                                 << true;
        QTest::newRow("never reopened") << "new"    << QStringList { validating, text("INTEGRITY_STRING_NEW") }            << false;
        // clang-format on
    }
    void statesInOrder()
    {
        QFETCH(QString, damage);
        QFETCH(QStringList, states);
        QFETCH(bool, logButton);

        std::unique_ptr<Document> archive;
        if (damage == QLatin1String("new")) {
            // Made and saved in this session: validation is not possible yet.
            archive = std::make_unique<Document>();
            archive->setUpAfterReading();
            QVERIFY(archive->saveToPath(m_home.freshPath(QStringLiteral("new")) + QStringLiteral(".quillarc")));
        } else {
            archive = makeArchive();
            QVERIFY(archive);
        }
        const QString member = m_path + QLatin1Char('/') + m_members.value(1);
        if (damage == QLatin1String("flip"))
            QVERIFY(writeFile(member, readFile(member).replace("Vertrag", "VERTRAG")));
        else if (damage == QLatin1String("delete"))
            QVERIFY(QFile::remove(member));

        // The window's line follows the archive's state.
        QWidget window;
        IntegrityStatusLabel windowLine(archive.get(), &window);
        QVERIFY(windowLine.isHidden());

        QStringList shown;
        InfoPopover* popover = show(*archive, &shown);
        QCOMPARE(popover->pathLabel()->toolTip(), QDir::toNativeSeparators(archive->packagePath()));
        QCOMPARE(popover->stateLabel()->text(), states.first());
        QTRY_COMPARE_WITH_TIMEOUT(shown, states, 10000);
        QCOMPARE(archive->integrityString(), states.last());
        QCOMPARE(popover->stateLabel()->text(), states.last());
        QCOMPARE(popover->failLogButton()->isVisible(), logButton);
        QCOMPARE(windowLine.text(), states.last());
        QVERIFY(!windowLine.isHidden());
        const char* mark = damage == QLatin1String("none") ? "intact" : (logButton ? "damaged" : "info");
        QCOMPARE(windowLine.findChild<QLabel*>()->property("state").toString(), QString::fromLatin1(mark));
        QVERIFY(!popover->progressView()->isVisible());
        if (logButton) {
            const QString log = QString::fromUtf8(readFile(IntegrityValidator::integrityLogPath()));
            QVERIFY2(log.contains(m_members.value(1)), qPrintable(log));
            QTest::mouseClick(popover->failLogButton(), Qt::LeftButton);
            QCOMPARE(m_opened.value(0), std::make_pair(QStringLiteral("open"), IntegrityValidator::integrityLogPath()));
        }
        popover->window()->close();
    }

    void pathRevealsThePackageAndLinesUp()
    {
        std::unique_ptr<Document> archive = makeArchive();
        QStringList shown;
        InfoPopover* popover = show(*archive, &shown);
        popover->openPath();
        QCOMPARE(m_opened.value(0), std::make_pair(QStringLiteral("reveal"), archive->packagePath()));
        QTRY_COMPARE_WITH_TIMEOUT(shown.size(), 2, 10000);
        // The link's text, the path and the state's icon start at one x, whatever the link's focus-ring room.
        const auto leftOf = [popover](QWidget* widget, int inset) { return widget->mapTo(popover, QPoint(inset, 0)).x(); };
        const int path = leftOf(popover->pathLabel(), popover->pathLabel()->contentsMargins().left());
        QCOMPARE(leftOf(popover->findChild<KVLinkButton*>(), KVLinkButton::textInset()), path);
        QCOMPARE(leftOf(popover->findChild<QStackedWidget*>(), 0), path);
        QVERIFY(!popover->progressView()->isCancelVisible());
        popover->window()->close();
    }

    void closingMidRunStillEndsInAVerdict()
    {
        std::unique_ptr<Document> archive = makeArchive();
        QStringList shown;
        InfoPopover* popover = show(*archive, &shown);
        IntegrityValidator* validator = popover->validator();
        QSignalSpy finished(validator, &IntegrityValidator::finished);
        popover->window()->close();
        QTRY_VERIFY(finished.size() == 1);
        QCOMPARE(archive->integrityString(), text("INTEGRITY_STRING_DATABASE_VALID"));

        // A second showing uses the archive's same validator, and the runs follow one another.
        InfoPopover* again = show(*archive, &shown);
        QCOMPARE(again->validator(), validator);
        show(*archive, &shown)->validator();
        QTRY_COMPARE(finished.size(), 3);
        QCOMPARE(archive->integrityString(), text("INTEGRITY_STRING_DATABASE_VALID"));
    }

    void membersVanishingBehindTheWindowsBack()
    {
        // The members are deleted while the archive is open: the validation ends, reports, and nothing hangs.
        m_path = m_home.freshPath(QStringLiteral("vanish")) + QStringLiteral(".quillarc");
        {
            ArchiveFixture fixture(m_path);
            const GroupPtr group = fixture.addGroup(QStringLiteral("Viele"));
            for (int i = 0; i < 300; ++i)
                fixture.addDocument(group, QStringLiteral("doc%1").arg(i), QByteArray(20000, char('a' + i % 26)));
            QVERIFY(fixture.save());
        }
        std::unique_ptr<Document> archive = ArchiveFixture::reopen(m_path, Document::OpenMode::ReadWrite);
        QVERIFY(QDir(m_path + QStringLiteral("/Files")).removeRecursively());
        QStringList shown;
        InfoPopover* popover = show(*archive, &shown);
        QTRY_COMPARE_WITH_TIMEOUT(shown.size(), 2, 20000);
        QCOMPARE(shown.last(), text("INTEGRITY_STRING_DATABASE_CORRUPT"));
        QVERIFY(popover->failLogButton()->isVisible());
        popover->window()->close();
    }

    void registeredByName()
    {
        PopoverRegistry::registerBuiltIns();
        std::unique_ptr<PopoverController> byName(PopoverRegistry::create(QStringLiteral("DocumentInfo_Popover")));
        QVERIFY(qobject_cast<InfoPopover*>(byName.get()));
    }
};

QTEST_MAIN(TestGuiInfo)
#include "tst_gui_info.moc"
