#pragma once

#include "model/Value.h"

#include <QString>
#include <vector>

class QuillarcDatabaseObject;

/// A filter predicate kept as a small expression tree: comparisons of a key
/// path with an argument, combined by AND and OR. It prints in the format
/// language it was built from ("fileKind like %@") and evaluates against any
/// archive object through valueForKey().
///
/// Comparison rules: "contains[cd]" is substring matching ignoring case and
/// diacritics (see TextFolding); "like" matches the whole value against a
/// pattern in which "?" stands for one character and "*" for any run of
/// characters ("\" makes the next character literal), case-sensitively;
/// ">=" and "<=" compare dates and numbers. A nil value, or a value of another
/// kind than the comparison needs, never matches.
class SearchPredicate
{
public:
    enum class Type : quint8
    {
        Null,
        Comparison,
        And,
        Or
    };
    enum class Operator : quint8
    {
        ContainsCD,
        Like,
        GreaterOrEqual,
        LessOrEqual
    };

    /// The null predicate: no filter at all.
    SearchPredicate() = default;

    static SearchPredicate comparison(const QString& key, Operator op, const Value& argument);
    /// @p bracketed: each operand is printed inside parentheses, as in
    /// "(a) OR (b)"; otherwise "a AND b".
    static SearchPredicate andPredicate(std::vector<SearchPredicate> operands, bool bracketed = true);
    static SearchPredicate orPredicate(std::vector<SearchPredicate> operands, bool bracketed = true);

    Type type() const { return m_type; }
    bool isNull() const { return m_type == Type::Null; }
    Operator op() const { return m_operator; }
    const QString& key() const { return m_key; }
    const Value& argument() const { return m_argument; }
    const std::vector<SearchPredicate>& operands() const { return m_operands; }

    /// The format text with a "%@" for every argument, e.g.
    /// "fileDate >= %@ AND fileDate <= %@".
    QString predicateFormat() const;
    /// Every argument in the order of predicateFormat()'s placeholders.
    ValueList arguments() const;
    /// The format with the arguments filled in: texts quoted, dates in ISO 8601
    /// with their local offset, nil as "nil".
    QString description() const;

    /// True when @p object satisfies the predicate; the null predicate takes everything.
    bool evaluate(const QuillarcDatabaseObject& object) const;
    /// The comparison alone, against a value already fetched.
    bool evaluateComparison(const Value& value) const;

    /// "like" of a text against a pattern (case-sensitive, whole text).
    static bool matchesLike(const QString& text, const QString& pattern);

    static QString operatorText(Operator op);

private:
    void appendFormat(QString& out, bool withArguments) const;

    Type m_type = Type::Null;
    Operator m_operator = Operator::ContainsCD;
    bool m_bracketed = true;
    QString m_key;
    Value m_argument;
    std::vector<SearchPredicate> m_operands;
};
