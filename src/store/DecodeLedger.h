#pragma once

#include "model/Value.h"

#include <vector>

class BinaryPlistReader;

/// What one keyed-archive decode knows about each stored object of its
/// property list: which object indexes name the same bytes, whether an object
/// is being decoded (meeting it again then means it contains itself), what it
/// decoded to, and how much work the whole decode has spent.
///
/// Objects are kept by slot, the first index whose offset-table entry points
/// at the object's bytes, so a UID, an index or a list reached many times is
/// decoded once.
class DecodeLedger
{
public:
    enum class State : quint8 { Unseen, InProgress, Value, List };

    /// Starts a decode of `reader`'s objects that may spend `workLimit` units.
    void reset(const BinaryPlistReader& reader, qint64 workLimit);

    /// The slot of an object index below the reader's object count.
    quint64 slot(quint64 index) const { return m_slots.empty() ? index : m_slots[size_t(index)]; }
    State state(quint64 slot) const { return m_states[size_t(slot)]; }
    void setInProgress(quint64 slot) { m_states[size_t(slot)] = State::InProgress; }
    const Value& value(quint64 slot) const { return m_values[size_t(slot)]; }
    /// Records what the object in `slot` decoded to: a value, or the entries of a list of references.
    void setValue(quint64 slot, const Value& value);
    void setList(quint64 slot, const ValueList& entries);

    /// Adds to the work spent; false once the limit is passed.
    bool spend(qint64 work)
    {
        m_work += work;
        return m_work <= m_workLimit;
    }
    qint64 work() const { return m_work; }
    /// Objects that have decoded to a value (lists not counted).
    int valueCount() const { return m_valueCount; }

private:
    std::vector<quint64> m_slots; ///< index -> slot; empty when no offset repeats
    std::vector<State> m_states;
    std::vector<Value> m_values;
    qint64 m_work = 0;
    qint64 m_workLimit = 0;
    int m_valueCount = 0;
};
