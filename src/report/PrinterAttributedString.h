#pragma once

#include <QList>
#include <QMetaType>
#include <QString>
#include <QTextBlockFormat>
#include <QTextCharFormat>

class QTextCursor;

/// Text with styled runs: each run carries its character format (font,
/// colour, letter spacing) and, optionally, a paragraph style. A paragraph
/// takes the paragraph style of its first character, as in rich-text views.
/// This is the value type of report items and of attributed variables.
class PrinterAttributedString
{
public:
    struct Run
    {
        qsizetype length = 0;
        QTextCharFormat format;
        /// Empty (no properties) when the run has no paragraph style of its own.
        QTextBlockFormat paragraphStyle;
    };

    PrinterAttributedString() = default;
    explicit PrinterAttributedString(const QString& text, const QTextCharFormat& format = QTextCharFormat(),
        const QTextBlockFormat& paragraphStyle = QTextBlockFormat());

    const QString& string() const { return m_text; }
    qsizetype length() const { return m_text.size(); }
    bool isEmpty() const { return m_text.isEmpty(); }
    const QList<Run>& runs() const { return m_runs; }

    void append(const QString& text, const QTextCharFormat& format = QTextCharFormat(),
        const QTextBlockFormat& paragraphStyle = QTextBlockFormat());
    void append(const PrinterAttributedString& other);

    /// Character format and paragraph style at a position (those of the last
    /// character when the position is at the end; empty formats for empty text).
    QTextCharFormat formatAt(qsizetype position) const;
    QTextBlockFormat paragraphStyleAt(qsizetype position) const;

    /// Replaces a range by plain text; the new characters take the attributes
    /// of the first replaced character (of the one before when nothing is replaced).
    void replace(qsizetype position, qsizetype length, const QString& text);
    /// Replaces a range by styled text, keeping the value's own attributes.
    void replace(qsizetype position, qsizetype length, const PrinterAttributedString& value);

    /// Changes every run's format in place.
    template<typename Function> void forEachRun(Function function)
    {
        for (Run& run : m_runs)
            function(run);
    }

    /// Inserts the text at the cursor: one text block per paragraph, line
    /// breaks ("\n", "\r\n", "\r", U+2029) end paragraphs.
    void insertInto(QTextCursor& cursor) const;

    bool operator==(const PrinterAttributedString& other) const;

private:
    qsizetype runIndexAt(qsizetype position, qsizetype* runStart = nullptr) const;
    void appendRun(qsizetype length, const QTextCharFormat& format, const QTextBlockFormat& paragraphStyle);

    QString m_text;
    QList<Run> m_runs;
};

Q_DECLARE_METATYPE(PrinterAttributedString)
