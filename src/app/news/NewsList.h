#pragma once

#include <QByteArray>
#include <QString>

/// The news list the makers publish: a property list (XML or binary) whose
/// root dictionary holds "newsUpdateNumber", the number of the latest news.
class NewsList
{
public:
    static constexpr const char* numberKey = "newsUpdateNumber";

    /// Reads the published number from the bytes of a news list. False (with
    /// @p error) when the bytes are no property list or its root is no
    /// dictionary. A missing number, or a value that is no number, reads as
    /// 0; a text reads as its leading integer, as the list's writers expect.
    static bool readNewsUpdateNumber(const QByteArray& bytes, qint64* number, QString* error = nullptr);

    /// The leading integer of a text: blanks skipped, an optional sign, the
    /// digits up to the first other character; 0 without digits, clamped at
    /// the ends of the 64-bit range.
    static qint64 leadingInteger(const QString& text);
};
