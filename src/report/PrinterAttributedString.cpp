#include "report/PrinterAttributedString.h"

#include <QTextCursor>

PrinterAttributedString::PrinterAttributedString(
    const QString& text, const QTextCharFormat& format, const QTextBlockFormat& paragraphStyle)
{
    append(text, format, paragraphStyle);
}

void PrinterAttributedString::appendRun(
    qsizetype length, const QTextCharFormat& format, const QTextBlockFormat& paragraphStyle)
{
    if (length <= 0)
        return;
    if (!m_runs.isEmpty() && m_runs.last().format == format && m_runs.last().paragraphStyle == paragraphStyle) {
        m_runs.last().length += length;
        return;
    }
    m_runs.append(Run { length, format, paragraphStyle });
}

void PrinterAttributedString::append(
    const QString& text, const QTextCharFormat& format, const QTextBlockFormat& paragraphStyle)
{
    m_text += text;
    appendRun(text.size(), format, paragraphStyle);
}

void PrinterAttributedString::append(const PrinterAttributedString& other)
{
    m_text += other.m_text;
    for (const Run& run : other.m_runs)
        appendRun(run.length, run.format, run.paragraphStyle);
}

qsizetype PrinterAttributedString::runIndexAt(qsizetype position, qsizetype* runStart) const
{
    if (m_runs.isEmpty())
        return -1;
    position = qBound<qsizetype>(0, position, m_text.size() - 1);
    qsizetype start = 0;
    for (qsizetype i = 0; i < m_runs.size(); ++i) {
        if (position < start + m_runs[i].length) {
            if (runStart)
                *runStart = start;
            return i;
        }
        start += m_runs[i].length;
    }
    if (runStart)
        *runStart = start - m_runs.last().length;
    return m_runs.size() - 1;
}

QTextCharFormat PrinterAttributedString::formatAt(qsizetype position) const
{
    const qsizetype index = runIndexAt(position);
    return index < 0 ? QTextCharFormat() : m_runs[index].format;
}

QTextBlockFormat PrinterAttributedString::paragraphStyleAt(qsizetype position) const
{
    const qsizetype index = runIndexAt(position);
    return index < 0 ? QTextBlockFormat() : m_runs[index].paragraphStyle;
}

void PrinterAttributedString::replace(qsizetype position, qsizetype length, const QString& text)
{
    const qsizetype index = runIndexAt(length > 0 ? position : position - 1);
    PrinterAttributedString value;
    if (index < 0)
        value.append(text);
    else
        value.append(text, m_runs[index].format, m_runs[index].paragraphStyle);
    replace(position, length, value);
}

void PrinterAttributedString::replace(qsizetype position, qsizetype length, const PrinterAttributedString& value)
{
    position = qBound<qsizetype>(0, position, m_text.size());
    length = qBound<qsizetype>(0, length, m_text.size() - position);
    // Rebuild the run list: runs before the range, the value's runs, runs after it.
    QList<Run> oldRuns;
    oldRuns.swap(m_runs);
    const qsizetype end = position + length;
    PrinterAttributedString result;
    result.m_text.reserve(m_text.size() - length + value.length());
    qsizetype start = 0;
    bool valueInserted = false;
    auto insertValue = [&] {
        if (valueInserted)
            return;
        result.append(value);
        valueInserted = true;
    };
    for (const Run& run : std::as_const(oldRuns)) {
        const qsizetype runEnd = start + run.length;
        const qsizetype beforeLength = qMin(runEnd, position) - start;
        if (beforeLength > 0)
            result.append(m_text.mid(start, beforeLength), run.format, run.paragraphStyle);
        if (runEnd >= position)
            insertValue();
        const qsizetype afterStart = qMax(start, end);
        if (runEnd > afterStart)
            result.append(m_text.mid(afterStart, runEnd - afterStart), run.format, run.paragraphStyle);
        start = runEnd;
    }
    insertValue();
    *this = std::move(result);
}

void PrinterAttributedString::insertInto(QTextCursor& cursor) const
{
    qsizetype start = 0;
    bool paragraphStart = true;
    for (const Run& run : m_runs) {
        const qsizetype end = start + run.length;
        qsizetype segmentStart = start;
        for (qsizetype i = start; i <= end; ++i) {
            const bool atEnd = i == end;
            const QChar c = atEnd ? QChar() : m_text.at(i);
            const bool breakHere = !atEnd && (c == u'\n' || c == u'\r' || c == QChar::ParagraphSeparator);
            if (!atEnd && !breakHere)
                continue;
            if (paragraphStart && (i > segmentStart || breakHere)) {
                // A paragraph's style is that of its first character.
                QTextBlockFormat block = cursor.blockFormat();
                if (run.paragraphStyle.propertyCount() > 0)
                    block.merge(run.paragraphStyle);
                cursor.setBlockFormat(block);
                paragraphStart = false;
            }
            if (i > segmentStart)
                cursor.insertText(m_text.mid(segmentStart, i - segmentStart), run.format);
            if (breakHere) {
                if (c == u'\r' && i + 1 < end && m_text.at(i + 1) == u'\n')
                    ++i; // "\r\n" is one break
                cursor.insertBlock(QTextBlockFormat(), run.format);
                paragraphStart = true;
            }
            segmentStart = i + 1;
        }
        start = end;
    }
}

bool PrinterAttributedString::operator==(const PrinterAttributedString& other) const
{
    if (m_text != other.m_text || m_runs.size() != other.m_runs.size())
        return false;
    for (qsizetype i = 0; i < m_runs.size(); ++i) {
        const Run& a = m_runs[i];
        const Run& b = other.m_runs[i];
        if (a.length != b.length || a.format != b.format || a.paragraphStyle != b.paragraphStyle)
            return false;
    }
    return true;
}
