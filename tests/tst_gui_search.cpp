// The search popover driven as a user drives it: typing narrows the hit list
// exactly as the engine's searchDocuments() does on the same archive, the
// filters and the kind pop-up feed the same search, a chosen hit is
// announced, and the deferred reset clears everything after a sheet closes.
#include "ArchiveFixture.h"
#include "TestSupport.h"
#include "app/models/SearchHitModel.h"
#include "app/popover/Popover.h"
#include "app/popover/PopoverRegistry.h"
#include "app/popover/SearchPopover.h"
#include "model/QuillarcContainer.h"

#include <QAbstractItemModelTester>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDateEdit>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>

namespace {

struct Record
{
    const char* title;
    const char* content;
    const char* note;
    const char* kind;
    int day; ///< days after 2024-03-01
};

// Titles are unique so a list of titles names a hit list.
const Record records[] = {
    { "Rechnung Müller", "Betrag 120 EUR Miete", "", "PDF document", 0 },
    { "Invoice Mueller", "amount due", "Miete Mai", "PDF document", 1 },
    { "Quittung Bäckerei", "Brot und Brötchen", "", "JPEG image", 1 },
    { "Mietvertrag", "Miete für Mai und Juni", "", "Word document", 3 },
    { "Kontoauszug", "Überweisung Miete", "Miete bezahlt", "PDF document", 10 },
    { "Scan 0815", "", "", "Image PNG", 12 },
    { "Zinsen", "a.*?[x] (1|2) $ 100%", "", "Image*", 12 },
};

QDateTime dayAt(int day, int hour = 10)
{
    return QDateTime(QDate(2024, 3, 1).addDays(day), QTime(hour, 0));
}

QStringList titles(const QList<DocumentPtr>& documents)
{
    QStringList result;
    for (const DocumentPtr& document : documents)
        result.append(document->title());
    return result;
}

} // namespace

class TestGuiSearch : public QObject
{
    Q_OBJECT

private:
    TemporaryHome m_home;
    std::unique_ptr<ArchiveFixture> m_fixture;
    GroupPtr m_first;
    QWidget m_window;
    QPushButton* m_searchButton = new QPushButton(QStringLiteral("Search"), &m_window);

    Document& archive() { return m_fixture->archive(); }

    /// The engine's own answer for the popover's current settings.
    QStringList engineTitles(const SearchPopover& popover)
    {
        const DocumentSearch& shown = popover.model()->search();
        DocumentSearch reference;
        reference.setSortDescriptor(shown.sortDescriptor());
        reference.resetArrayAndFilter(archive());
        reference.setSearchText(shown.searchText());
        reference.setFilterPeriod(shown.filterPeriod());
        reference.setStartDate(shown.startDate());
        reference.setEndDate(shown.endDate());
        reference.setFilterKind(shown.filterKind());
        reference.setFileKind(shown.fileKind());
        reference.searchDocuments();
        return titles(reference.arrangedObjects());
    }

    /// Shows the archive's popover under the search button of a window, as the main view does.
    SearchPopover* showPopover()
    {
        SearchPopover::showSearchPopover(&archive(), m_searchButton, &m_window);
        SearchPopover* popover = SearchPopover::forDocument(&archive());
        [&] { QTRY_VERIFY(!popover->isResetPending()); }();
        return popover;
    }

private Q_SLOTS:
    void initTestCase()
    {
        m_window.resize(900, 700);
        m_searchButton->move(600, 10);
        m_window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&m_window));
    }

    void init()
    {
        m_fixture = std::make_unique<ArchiveFixture>(m_home.freshPath(QStringLiteral("search")) + ".quillarc");
        m_first = m_fixture->addGroup(QStringLiteral("Belege"));
        const GroupPtr second = m_fixture->addGroup(QStringLiteral("Verträge"));
        int n = 0;
        for (const Record& record : records) {
            ++n;
            const DocumentPtr document = m_fixture->addDocument(n % 2 ? m_first : second,
                QStringLiteral("file%1").arg(n), QByteArray("bytes ") + QByteArray::number(n));
            document->setField(QuillarcDocument::Title, Value::string(QString::fromUtf8(record.title)));
            document->setField(QuillarcDocument::ContentString, Value::string(QString::fromUtf8(record.content)));
            if (*record.note)
                document->setField(QuillarcDocument::Note, Value::string(QString::fromUtf8(record.note)));
            document->setField(QuillarcDocument::FileKind, Value::string(QString::fromUtf8(record.kind)));
            document->setField(QuillarcDocument::FileDate, Value::date(Clock::fromDateTime(dayAt(record.day))));
        }
    }

    void cleanup()
    {
        if (QWidget* popup = QApplication::activePopupWidget())
            popup->close();
        m_fixture.reset();
    }

    void typingNarrowsAsTheEngineDoes_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<int>("fromDay"); ///< -1: period off
        QTest::addColumn<int>("toDay");
        QTest::addColumn<QString>("kind"); ///< "": kind off
        QTest::addColumn<QStringList>("hits");

        QTest::newRow("one word") << "miete" << -1 << 0 << ""
                                  << QStringList { "Kontoauszug", "Mietvertrag", "Invoice Mueller", "Rechnung Müller" };
        QTest::newRow("diacritics ignored") << "MULLER" << -1 << 0 << "" << QStringList { "Rechnung Müller" };
        QTest::newRow("every word somewhere")
            << "miete mai" << -1 << 0 << "" << QStringList { "Mietvertrag", "Invoice Mueller" };
        QTest::newRow("note only as phrase") << "mai  miete" << -1 << 0 << "" << QStringList { "Mietvertrag" };
        QTest::newRow("period") << "" << 1 << 3 << ""
                                << QStringList { "Mietvertrag", "Quittung Bäckerei", "Invoice Mueller" };
        QTest::newRow("period and word") << "miete" << 0 << 1 << ""
                                         << QStringList { "Invoice Mueller", "Rechnung Müller" };
        QTest::newRow("period ending before it starts") << "" << 5 << 2 << "" << QStringList();
        QTest::newRow("kind") << "" << -1 << 0 << "PDF document"
                              << QStringList { "Kontoauszug", "Invoice Mueller", "Rechnung Müller" };
        QTest::newRow("kind as wildcard") << "" << -1 << 0 << "Image*" << QStringList { "Zinsen", "Scan 0815" };
        QTest::newRow("all three") << "miete" << 0 << 20 << "PDF document"
                                   << QStringList { "Kontoauszug", "Invoice Mueller", "Rechnung Müller" };
        QTest::newRow("regex and wildcard characters") << ".*?[x]" << -1 << 0 << "" << QStringList { "Zinsen" };
        QTest::newRow("percent and dollar") << "$ 100%" << -1 << 0 << "" << QStringList { "Zinsen" };
        QTest::newRow("only spaces") << "   " << -1 << 0 << ""
                                     << QStringList { "Zinsen", "Scan 0815", "Kontoauszug", "Mietvertrag",
                                            "Quittung Bäckerei", "Invoice Mueller", "Rechnung Müller" };
    }

    void typingNarrowsAsTheEngineDoes()
    {
        QFETCH(QString, typed);
        QFETCH(int, fromDay);
        QFETCH(int, toDay);
        QFETCH(QString, kind);
        QFETCH(QStringList, hits);

        SearchPopover* popover = showPopover();
        QAbstractItemModelTester tester(popover->model(), QAbstractItemModelTester::FailureReportingMode::QtTest);
        if (fromDay >= 0) {
            popover->startDateEdit()->setDate(dayAt(fromDay).date());
            popover->endDateEdit()->setDate(dayAt(toDay).date());
            QTest::mouseClick(popover->periodCheckBox(), Qt::LeftButton);
            QVERIFY(popover->model()->search().filterPeriod());
        }
        if (!kind.isEmpty()) {
            QTest::mouseClick(popover->kindCheckBox(), Qt::LeftButton);
            popover->kindPopUp()->setCurrentIndex(popover->kindPopUp()->findText(kind));
            QCOMPARE(popover->model()->search().fileKind(), kind);
        }
        // Every keystroke narrows the list to what the engine answers for the text so far.
        for (const QChar c : typed) {
            QTest::keyClicks(popover->searchField(), QString(c));
            QCOMPARE(titles(popover->model()->hits()), engineTitles(*popover));
        }
        QCOMPARE(titles(popover->model()->hits()), engineTitles(*popover));
        QCOMPARE(titles(popover->model()->hits()), hits);
        const QString status = popover->findChild<QLabel*>("searchStatus")->text();
        if (fromDay > toDay)
            QCOMPARE(status, text("SEARCH_PERIOD_REVERSED"));
        else // "1 hit", "2 hits"
            QCOMPARE(status,
                QStringLiteral("%1 %2").arg(hits.size()).arg(text(hits.size() == 1 ? "SEARCH_HIT" : "SEARCH_HITS")));
    }

    void hitsShowWhereTheWordsAre()
    {
        SearchPopover* popover = showPopover();
        QTest::keyClicks(popover->searchField(), QStringLiteral("brotchen"));
        QCOMPARE(popover->model()->rowCount(), 1);
        const QModelIndex hit = popover->model()->index(0);
        QCOMPARE(hit.data(SearchHitModel::MatchFieldRole).toString(), text("SEARCH_FIELD_contentString"));
        QCOMPARE(hit.data(SearchHitModel::ExcerptRole).toString(), QStringLiteral("Brot und Brötchen"));
        QCOMPARE(hit.data(SearchHitModel::MarksRole).value<QList<QPoint>>(), QList<QPoint> { QPoint(9, 8) });
        // The row paints without complaint, marks and all.
        QVERIFY(!popover->resultsView()->grab().isNull());
    }

    void longAndBrokenTextsStayAnswered_data()
    {
        QTest::addColumn<QString>("pasted");
        QTest::newRow("10,000 characters") << QString(10000, QLatin1Char('m'));
        QTest::newRow("5,000 words") << QStringLiteral("miete ").repeated(5000);
        QTest::newRow("unpaired surrogates")
            << QStringLiteral("Mi") + QChar(0xD800) + QStringLiteral("ete") + QChar(0xDC00);
    }
    void longAndBrokenTextsStayAnswered()
    {
        QFETCH(QString, pasted);
        SearchPopover* popover = showPopover();
        popover->searchField()->insert(pasted);
        QCOMPARE(popover->model()->search().searchText(), popover->searchField()->text());
        QCOMPARE(titles(popover->model()->hits()), engineTitles(*popover));
        QVERIFY(!popover->resultsView()->grab().isNull());
    }

    void choosingAHit()
    {
        SearchPopover* popover = showPopover();
        QSignalSpy chosen(popover, &SearchPopover::searchResultChosen);
        QTest::keyClicks(popover->searchField(), QStringLiteral("miete"));
        // The first hit is selected as the list narrows; Return chooses it and stays in the field.
        QTest::keyClick(popover->searchField(), Qt::Key_Return);
        QCOMPARE(chosen.size(), 1);
        QCOMPARE(chosen.at(0).at(0).value<DocumentPtr>()->title(), QStringLiteral("Kontoauszug"));

        const QRect second = popover->resultsView()->visualRect(popover->model()->index(1));
        QTest::mouseClick(popover->resultsView()->viewport(), Qt::LeftButton, {}, second.center());
        QCOMPARE(chosen.size(), 2);
        QCOMPARE(chosen.at(1).at(0).value<DocumentPtr>()->title(), QStringLiteral("Mietvertrag"));

        // No hit: Return does nothing, and no line break reaches the field.
        QTest::keyClicks(popover->searchField(), QStringLiteral("xyz"));
        QCOMPARE(popover->model()->rowCount(), 0);
        QTest::keyClick(popover->searchField(), Qt::Key_Enter);
        QCOMPARE(chosen.size(), 2);
        QCOMPARE(popover->searchField()->text(), QStringLiteral("mietexyz"));
    }

    void stateSurvivesClosingAndReopening()
    {
        SearchPopover* popover = showPopover();
        QTest::keyClicks(popover->searchField(), QStringLiteral("miete"));
        QTest::mouseClick(popover->kindCheckBox(), Qt::LeftButton);
        popover->kindPopUp()->setCurrentIndex(popover->kindPopUp()->findText(QStringLiteral("PDF document")));
        QApplication::activePopupWidget()->close();
        QTRY_VERIFY(!QApplication::activePopupWidget());
        QCOMPARE(SearchPopover::forDocument(&archive()), popover);

        SearchPopover::showSearchPopover(&archive(), m_searchButton, &m_window);
        QVERIFY(popover->isVisible());
        QCOMPARE(popover->searchField()->text(), QStringLiteral("miete"));
        QVERIFY(popover->kindCheckBox()->isChecked());
        QCOMPARE(popover->model()->rowCount(), 3);
        QVERIFY(popover->searchField()->hasFocus());
    }

    void resetClearsAfterASheetCloses()
    {
        SearchPopover* popover = showPopover();
        QTest::keyClicks(popover->searchField(), QStringLiteral("miete"));
        QTest::mouseClick(popover->periodCheckBox(), Qt::LeftButton);
        QTest::mouseClick(popover->kindCheckBox(), Qt::LeftButton);

        // A sheet added a document of a new kind, then asked for the reset.
        const DocumentPtr added = m_fixture->addDocument(m_first, QStringLiteral("new"), "new bytes");
        added->setField(QuillarcDocument::FileKind, Value::string(QStringLiteral("Spreadsheet")));
        added->setField(QuillarcDocument::FileDate, Value::date(Clock::fromDateTime(dayAt(40))));
        QSignalSpy done(popover, &SearchPopover::resetDone);
        popover->resetArrayAndFilter();
        QVERIFY(popover->isResetPending());
        QCOMPARE(popover->searchField()->text(), QStringLiteral("miete")); // not before its delay
        QVERIFY(done.wait());

        QCOMPARE(popover->searchField()->text(), QString());
        QVERIFY(!popover->periodCheckBox()->isChecked());
        QVERIFY(!popover->kindCheckBox()->isChecked());
        QCOMPARE(popover->model()->rowCount(), int(std::size(records)) + 1);
        QVERIFY(popover->kindPopUp()->findText(QStringLiteral("Spreadsheet")) >= 0);
        QCOMPARE(popover->startDateEdit()->date(), dayAt(0).date());
        QCOMPARE(popover->endDateEdit()->date(), dayAt(40).date());
        QVERIFY(popover->model()->search().predicate().isNull());
    }

    void registeredByName()
    {
        PopoverRegistry::registerBuiltIns();
        std::unique_ptr<PopoverController> byName(PopoverRegistry::create(QStringLiteral("Search_Popover")));
        QVERIFY(qobject_cast<SearchPopover*>(byName.get()));
    }
};

QTEST_MAIN(TestGuiSearch)
#include "tst_gui_search.moc"
