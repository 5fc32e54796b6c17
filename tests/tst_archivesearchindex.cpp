// The archive's shared search structures: built in the background, answering
// exactly as the search's own index does before, during and after the build,
// and kept current as documents come, change and go.
#include "model/QuillarcContainer.h"
#include "model/QuillarcDocument.h"
#include "model/QuillarcGroup.h"
#include "output/ArchiveSearchIndex.h"
#include "output/DocumentSearch.h"
#include "store/Document.h"

#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTest>

namespace {

const char* const words[] = { "Rechnung", "Miete", "Müller", "Strom", "Konto", "Beleg", "Vertrag", "Zahlung", "Mai",
    "Straße", "invoice", "rent", "GmbH", "2024", "RE-0815" };
const char* const kinds[] = { "PDF document", "PNG image", "Image*", "Plain text document" };

QString randomText(QRandomGenerator& random, int count)
{
    QStringList parts;
    for (int i = 0; i < count; ++i)
        parts << QString::fromUtf8(words[random.bounded(int(std::size(words)))]);
    return parts.join(QLatin1Char(' '));
}

DocumentPtr randomDocument(QRandomGenerator& random)
{
    DocumentPtr document = QuillarcDocument::create();
    document->setField(QuillarcDocument::Title, Value::string(randomText(random, 2)));
    document->setField(QuillarcDocument::ContentString, Value::string(randomText(random, 30)));
    if (random.bounded(3) == 0)
        document->setField(QuillarcDocument::Note, Value::string(randomText(random, 2)));
    document->setField(QuillarcDocument::FileKind, Value::string(QString::fromUtf8(kinds[random.bounded(4)])));
    document->setField(QuillarcDocument::FileDate, Value::date(7.0e8 + random.bounded(400) * 86400.0));
    return document;
}

QStringList ids(const QList<DocumentPtr>& documents)
{
    QStringList result;
    for (const DocumentPtr& document : documents)
        result << document->uniqueID();
    return result;
}

struct Query
{
    QString text;
    bool period;
    bool kind;
};

const Query queries[] = {
    { "miete", false, false },
    { "muller strasse", false, false },
    { "mai rechnung", true, false },
    { "", false, true },
    { "re-0815", true, true },
    { "e", false, false },
    { "nirgendwo", false, false },
};

/// The hits of @p search for every query, one list per query.
QList<QStringList> answers(DocumentSearch& search)
{
    QList<QStringList> result;
    for (const Query& query : queries) {
        search.setSearchText(query.text);
        search.setFilterPeriod(query.period);
        search.setStartDate(Clock::toDateTime(7.0e8 + 50 * 86400.0));
        search.setEndDate(Clock::toDateTime(7.0e8 + 250 * 86400.0));
        search.setFilterKind(query.kind);
        search.setFileKind(QStringLiteral("Image*"));
        search.searchDocuments();
        result << ids(search.arrangedObjects());
    }
    return result;
}

} // namespace

class TestArchiveSearchIndex : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<Document> m_archive;
    QList<GroupPtr> m_groups;
    QRandomGenerator m_random { 4711 };

    void add(const GroupPtr& group, const DocumentPtr& document)
    {
        document->setParent(group.get());
        group->mutableField(QuillarcGroup::Documents).mutableArray().append(Value::object(document));
    }

    /// What a search with an index of its own answers on the archive as it is now.
    QList<QStringList> reference()
    {
        DocumentSearch own;
        own.resetArrayAndFilter(*m_archive);
        return answers(own);
    }

private Q_SLOTS:
    void init()
    {
        m_archive = std::make_unique<Document>();
        m_archive->setUpAfterReading();
        m_groups.clear();
        for (int g = 0; g < 3; ++g) {
            auto group = QuillarcGroup::create();
            group->setParent(m_archive->container().get());
            m_archive->container()->mutableField(QuillarcContainer::Groups).mutableArray().append(Value::object(group));
            m_groups << group;
        }
        // Enough documents for the build to use several segments.
        for (int i = 0; i < 3000; ++i)
            add(m_groups[i % 3], randomDocument(m_random));
    }
    void cleanup() { m_archive.reset(); }

    void answersAlikeBeforeAndAfterTheBuild()
    {
        const QList<QStringList> expected = reference();
        ArchiveSearchIndex* shared = ArchiveSearchIndex::forDocument(m_archive.get());
        QCOMPARE(ArchiveSearchIndex::forDocument(m_archive.get()), shared);
        DocumentSearch search;
        // Not built yet: every document is asked directly.
        search.useSharedIndex(shared->index());
        search.resetArrayAndFilter(*m_archive);
        QCOMPARE(answers(search), expected);

        QSignalSpy ready(shared, &ArchiveSearchIndex::ready);
        QVERIFY(shared->isReady() || ready.wait(20000));
        QVERIFY(!shared->isBuilding());
        search.useSharedIndex(shared->index());
        QCOMPARE(answers(search), expected);
        QCOMPARE(shared->index()->statistics().documents, 3000);
    }

    void keptCurrentAsDocumentsComeChangeAndGo()
    {
        ArchiveSearchIndex* shared = ArchiveSearchIndex::forDocument(m_archive.get());
        // Changes made while the build runs are applied when it ends.
        const DocumentPtr early = randomDocument(m_random);
        early->setField(QuillarcDocument::Title, Value::string(QStringLiteral("Quellensteuer früh")));
        add(m_groups[0], early);
        shared->documentsChanged();
        QSignalSpy ready(shared, &ArchiveSearchIndex::ready);
        QVERIFY(shared->isReady() || ready.wait(20000));
        QVERIFY(shared->index()->slotOf(early.get()) >= 0);

        // Taken in, edited, deleted.
        QList<DocumentPtr> added;
        for (int i = 0; i < 50; ++i) {
            added << randomDocument(m_random);
            add(m_groups[1], added.back());
        }
        const DocumentPtr edited = m_archive->allDocuments().at(7);
        edited->setField(QuillarcDocument::Note, Value::string(QStringLiteral("Mai Miete RE-0815")));
        QList<Value>& second = m_groups[2]->mutableField(QuillarcGroup::Documents).mutableArray();
        const DocumentPtr gone = second.first().toObjectOf<QuillarcDocument>();
        second.removeFirst();
        shared->documentsChanged();
        shared->documentChanged(edited);
        QSignalSpy changed(shared, &ArchiveSearchIndex::changed);
        QVERIFY(changed.wait(5000));
        QCOMPARE(shared->index()->slotOf(gone.get()), -1);
        QVERIFY(shared->index()->slotOf(added.back().get()) >= 0);

        DocumentSearch search;
        search.useSharedIndex(shared->index());
        search.resetArrayAndFilter(*m_archive);
        QCOMPARE(answers(search), reference());
    }

    void closingWhileBuildingIsSafe()
    {
        ArchiveSearchIndex* shared = ArchiveSearchIndex::forDocument(m_archive.get());
        QVERIFY(shared->isBuilding() || shared->isReady());
        const std::weak_ptr<QuillarcDocument> watched = m_archive->allDocuments().first();
        m_archive.reset();
        m_groups.clear();
        // The documents outlive the archive until the build has ended, then go on this thread.
        QTRY_VERIFY_WITH_TIMEOUT(watched.expired(), 20000);
    }

    void stepwiseSearchEndsWithTheSameHits()
    {
        // No structures yet and a budget too small for the archive: the hits arrive in steps, in list order.
        DocumentSearch search;
        search.useSharedIndex(nullptr);
        search.setDirectTimeBudget(1);
        search.resetArrayAndFilter(*m_archive);
        search.setSearchText(QStringLiteral("miete"));
        search.searchDocuments();
        int steps = 1;
        QStringList partial = ids(search.arrangedObjects());
        while (!search.isComplete()) {
            QVERIFY(!search.continueSearch() || search.isComplete());
            const QStringList more = ids(search.arrangedObjects());
            // What was decided stays; later steps only add further down the list.
            QVERIFY(more.mid(0, partial.size()) == partial);
            partial = more;
            ++steps;
        }
        DocumentSearch own;
        own.resetArrayAndFilter(*m_archive);
        own.setSearchText(QStringLiteral("miete"));
        own.searchDocuments();
        QCOMPARE(partial, ids(own.arrangedObjects()));
        qInfo("decided in %d steps", steps);
    }
};

QTEST_GUILESS_MAIN(TestArchiveSearchIndex)
#include "tst_archivesearchindex.moc"
