#include "output/ArchiveSearchIndex.h"

#include "model/QuillarcDocument.h"
#include "store/Document.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFutureWatcher>
#include <QPromise>
#include <QThreadPool>
#include <QTimer>

namespace {
/// Changes within this many milliseconds are applied together.
constexpr int syncDelayMs = 50;
} // namespace

ArchiveSearchIndex* ArchiveSearchIndex::forDocument(Document* archive)
{
    if (!archive)
        return nullptr;
    if (auto* existing = archive->findChild<ArchiveSearchIndex*>(QString(), Qt::FindDirectChildrenOnly))
        return existing;
    auto* index = new ArchiveSearchIndex(archive);
    index->start();
    return index;
}

ArchiveSearchIndex::ArchiveSearchIndex(Document* archive)
    : QObject(archive)
    , m_archive(archive)
    , m_readTimer(new QTimer(this))
    , m_syncTimer(new QTimer(this))
{
    m_readTimer->setInterval(0);
    connect(m_readTimer, &QTimer::timeout, this, &ArchiveSearchIndex::readStep);
    m_syncTimer->setSingleShot(true);
    m_syncTimer->setInterval(syncDelayMs);
    connect(m_syncTimer, &QTimer::timeout, this, &ArchiveSearchIndex::synchronize);
}

ArchiveSearchIndex::~ArchiveSearchIndex()
{
    if (!m_watcher)
        return;
    // The build goes on without us; its documents are let go on the main
    // thread once it has finished, never on the build's own thread.
    auto* keeper = new QFutureWatcher<std::shared_ptr<SearchIndex>>(QCoreApplication::instance());
    connect(keeper, &QFutureWatcherBase::finished, keeper,
        [keeper, documents = std::move(m_building)]() mutable {
            keeper->future().takeResult().reset();
            documents.clear();
            keeper->deleteLater();
        });
    keeper->setFuture(m_watcher->future());
}

void ArchiveSearchIndex::start()
{
    if (!m_archive || isBuilding())
        return;
    m_building = m_archive->allDocuments();
    m_records.clear();
    m_records.reserve(size_t(m_building.size()));
    m_readPosition = 0;
    m_edited.clear();
    m_membershipChanged = false;
    m_reading = true;
    readStep();
    if (m_reading)
        m_readTimer->start();
}

void ArchiveSearchIndex::readStep()
{
    // The texts are taken on the thread that owns the documents, a few
    // thousand at a time, so the window goes on answering while a large archive is read.
    QElapsedTimer timer;
    timer.start();
    while (m_readPosition < m_building.size()) {
        if (const DocumentPtr& document = m_building.at(m_readPosition++))
            m_records.push_back(SearchIndex::recordOf(document));
        if ((m_readPosition & 63) == 0 && timer.elapsed() >= readStepMs)
            return;
    }
    m_readTimer->stop();
    m_reading = false;
    build();
}

void ArchiveSearchIndex::build()
{
    std::vector<SearchIndex::Record> records = std::move(m_records);
    m_records = {};
    auto promise = std::make_shared<QPromise<std::shared_ptr<SearchIndex>>>();
    m_watcher = new QFutureWatcher<std::shared_ptr<SearchIndex>>(this);
    connect(m_watcher, &QFutureWatcherBase::finished, this, [this] {
        auto* watcher = std::exchange(m_watcher, nullptr);
        std::shared_ptr<SearchIndex> built = watcher->future().takeResult();
        watcher->deleteLater();
        adopt(std::move(built));
        m_building.clear();
    });
    m_watcher->setFuture(promise->future());
    auto work = std::make_shared<std::vector<SearchIndex::Record>>(std::move(records));
    QThreadPool::globalInstance()->start([promise, work] {
        promise->start();
        auto index = std::make_shared<SearchIndex>();
        index->build(std::move(*work));
        promise->addResult(std::move(index));
        promise->finish();
    });
}

void ArchiveSearchIndex::adopt(std::shared_ptr<SearchIndex> index)
{
    const bool first = !m_index;
    m_index = std::move(index);
    // What changed while it was built is applied before anyone searches it.
    if (!m_edited.isEmpty() || m_membershipChanged)
        synchronize();
    if (first)
        Q_EMIT ready();
    Q_EMIT changed();
}

void ArchiveSearchIndex::documentsChanged()
{
    m_membershipChanged = true;
    if (m_index)
        m_syncTimer->start();
}

void ArchiveSearchIndex::documentChanged(const DocumentPtr& document)
{
    if (!document)
        return;
    m_edited.insert(document.get());
    if (m_index)
        m_syncTimer->start();
}

void ArchiveSearchIndex::synchronize()
{
    m_syncTimer->stop();
    if (!m_index || !m_archive)
        return;
    const QList<DocumentPtr> documents = m_archive->allDocuments();
    bool any = false;
    if (m_membershipChanged) {
        QSet<const QuillarcDocument*> present;
        present.reserve(documents.size());
        for (const DocumentPtr& document : documents) {
            present.insert(document.get());
            if (m_index->slotOf(document.get()) < 0) {
                m_index->addDocument(document);
                m_edited.remove(document.get());
                any = true;
            }
        }
        const SearchIndex::SlotSet& live = m_index->liveSlots();
        QList<DocumentPtr> gone;
        for (quint32 slot = 0; slot < m_index->slotCount(); ++slot) {
            if (live.contains(slot) && !present.contains(m_index->documentAt(slot).get()))
                gone.append(m_index->documentAt(slot));
        }
        for (const DocumentPtr& document : gone)
            m_index->removeDocument(document);
        any = any || !gone.isEmpty();
    }
    if (!m_edited.isEmpty()) {
        for (const DocumentPtr& document : documents) {
            if (m_edited.contains(document.get())) {
                m_index->refreshDocument(document);
                any = true;
            }
        }
    }
    m_edited.clear();
    m_membershipChanged = false;
    if (any)
        Q_EMIT changed();
}
