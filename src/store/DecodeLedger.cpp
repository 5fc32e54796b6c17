#include "store/DecodeLedger.h"

#include "store/BinaryPlistReader.h"

#include <QHash>

void DecodeLedger::reset(const BinaryPlistReader& reader, qint64 workLimit)
{
    const quint64 count = reader.objectCount();
    m_slots.clear();
    m_states.assign(size_t(count), State::Unseen);
    m_values.assign(size_t(count), Value());
    m_work = 0;
    m_workLimit = workLimit;
    m_valueCount = 0;

    // Writers place objects one after another; only when an offset repeats do
    // indexes need mapping onto the first index of their offset.
    quint64 i = 1;
    while (i < count && reader.offsetOf(i) > reader.offsetOf(i - 1))
        ++i;
    if (i >= count)
        return;
    QHash<qsizetype, quint64> firstAt;
    firstAt.reserve(qsizetype(count));
    m_slots.resize(size_t(count));
    for (quint64 index = 0; index < count; ++index) {
        const qsizetype offset = reader.offsetOf(index);
        auto first = firstAt.find(offset);
        if (first == firstAt.end())
            first = firstAt.insert(offset, index);
        m_slots[size_t(index)] = first.value();
    }
}

void DecodeLedger::setValue(quint64 slot, const Value& value)
{
    m_values[size_t(slot)] = value;
    m_states[size_t(slot)] = State::Value;
    ++m_valueCount;
}

void DecodeLedger::setList(quint64 slot, const ValueList& entries)
{
    m_values[size_t(slot)] = Value::array(entries);
    m_states[size_t(slot)] = State::List;
}
