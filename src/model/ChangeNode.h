#pragma once

#include <atomic>
#include <memory>

class Document;
class QuillarcDatabaseObject;

/// A place in the archive's ownership chain: an archive object or the open
/// archive itself. Changes climb from node to parent, one level per turn of
/// the main event loop, and end in the archive being marked edited.
class ChangeNode
{
public:
    ChangeNode();
    virtual ~ChangeNode();
    ChangeNode(const ChangeNode&) = delete;
    ChangeNode& operator=(const ChangeNode&) = delete;

    /// Called when this node or something below it changed.
    virtual void valuesChanged() = 0;
    /// The open archive this node belongs to, or nullptr before parents are set.
    virtual Document* document() const = 0;
    /// Hands the news that object changed up the chain to the open archive,
    /// which announces it; nodes in between only pass it on.
    virtual void noteObjectChanged(QuillarcDatabaseObject* object) { (void)object; }

protected:
    /// Schedules one valuesChanged() on target at the next turn of the main
    /// event loop. Requests made before it runs are merged into it, so a burst
    /// of changes reaches each level once.
    static void scheduleValuesChanged(ChangeNode* target);

private:
    std::shared_ptr<bool> m_alive; ///< watched by scheduled requests, reset on destruction
    std::atomic<bool> m_changeScheduled { false };
};
