#pragma once

#include "model/QuillarcDatabaseObject.h"
#include "store/KeyedArchiver.h"

#include <QSet>
#include <QStringList>

#include <vector>

/// Everything one save writes, taken in one go on the main thread: the
/// values the database dictionary is filled from and the fields of every
/// archive object below the container and the preferences. Taking it costs a
/// shared reference per object (the values are copied only when the window
/// changes them later), so the save itself can encode and write on another
/// thread while the window goes on.
class ArchiveSnapshot : public KeyedArchiver::FieldSource
{
public:
    QString packagePath;
    bool isInitialDataCreated = false;
    bool isAlreadyOpen = false;
    QString host;
    Value container;       ///< the container object, nil when there is none
    Value preferences;     ///< the preferences object
    Value indexDictionary; ///< the selection state
    /// Folders of documents deleted since the archive was opened.
    QStringList deleteIDs;

    /// Records the fields of the objects reachable from container and
    /// preferences (on the main thread, as cheaply as possible).
    void captureObjects();
    /// Orders what was captured for lookups; done on the save thread.
    void prepareLookups();

    /// The fields of an object as captured, nullptr for one never captured;
    /// prepareLookups() must have run.
    const FieldValues* fieldsOf(const QuillarcDatabaseObject& object) const override;
    /// The uniqueID of every document the snapshot holds.
    QSet<QString> documentIDs() const;
    qsizetype objectCount() const { return qsizetype(m_objects.size()); }

private:
    struct Captured
    {
        const QuillarcDatabaseObject* object;
        std::shared_ptr<const FieldValues> fields;
    };

    void captureValue(const Value& value, int depth);
    /// True the first time a list or dictionary that leads further is met.
    bool firstVisit(const Value& container);
    std::vector<Captured>::const_iterator find(const QuillarcDatabaseObject& object) const;

    std::vector<Captured> m_objects;
    QSet<const void*> m_reachedContainers;
    quint64 m_walk = 0;
};
