#include "output/SearchPredicate.h"

#include "model/QuillarcDatabaseObject.h"
#include "output/TextFolding.h"

SearchPredicate SearchPredicate::comparison(const QString& key, Operator op, const Value& argument)
{
    SearchPredicate predicate;
    predicate.m_type = Type::Comparison;
    predicate.m_key = key;
    predicate.m_operator = op;
    predicate.m_argument = argument;
    return predicate;
}

SearchPredicate SearchPredicate::andPredicate(std::vector<SearchPredicate> operands, bool bracketed)
{
    SearchPredicate predicate;
    predicate.m_type = Type::And;
    predicate.m_bracketed = bracketed;
    predicate.m_operands = std::move(operands);
    return predicate;
}

SearchPredicate SearchPredicate::orPredicate(std::vector<SearchPredicate> operands, bool bracketed)
{
    SearchPredicate predicate = andPredicate(std::move(operands), bracketed);
    predicate.m_type = Type::Or;
    return predicate;
}

QString SearchPredicate::operatorText(Operator op)
{
    switch (op) {
    case Operator::ContainsCD:
        return QStringLiteral("contains[cd]");
    case Operator::Like:
        return QStringLiteral("like");
    case Operator::GreaterOrEqual:
        return QStringLiteral(">=");
    case Operator::LessOrEqual:
        return QStringLiteral("<=");
    }
    return QString();
}

namespace {
QString argumentText(const Value& value)
{
    switch (value.kind()) {
    case Value::Kind::Nil:
        return QStringLiteral("nil");
    case Value::Kind::String: {
        QString text = value.toString();
        text.replace(QLatin1Char('\\'), QLatin1String("\\\\")).replace(QLatin1Char('"'), QLatin1String("\\\""));
        return QLatin1Char('"') + text + QLatin1Char('"');
    }
    case Value::Kind::Date:
        return Clock::toDateTime(value.toDate()).toLocalTime().toString(Qt::ISODate);
    case Value::Kind::Integer:
    case Value::Kind::Bool:
        return QString::number(value.toInteger());
    case Value::Kind::Real:
        return QString::number(value.toReal());
    default:
        return QStringLiteral("<%1>").arg(Value::kindName(value.kind()));
    }
}
} // namespace

void SearchPredicate::appendFormat(QString& out, bool withArguments) const
{
    switch (m_type) {
    case Type::Null:
        out += QLatin1String("TRUEPREDICATE");
        return;
    case Type::Comparison:
        out += m_key + QLatin1Char(' ') + operatorText(m_operator) + QLatin1Char(' ')
            + (withArguments ? argumentText(m_argument) : QStringLiteral("%@"));
        return;
    case Type::And:
    case Type::Or:
        break;
    }
    // A compound of one operand prints as that operand.
    const QLatin1String joiner(m_type == Type::And ? " AND " : " OR ");
    const bool bracketed = m_bracketed && m_operands.size() > 1;
    for (size_t i = 0; i < m_operands.size(); ++i) {
        if (i > 0)
            out += joiner;
        if (bracketed)
            out += QLatin1Char('(');
        m_operands[i].appendFormat(out, withArguments);
        if (bracketed)
            out += QLatin1Char(')');
    }
}

QString SearchPredicate::predicateFormat() const
{
    QString out;
    appendFormat(out, false);
    return out;
}

QString SearchPredicate::description() const
{
    QString out;
    appendFormat(out, true);
    return out;
}

ValueList SearchPredicate::arguments() const
{
    if (m_type == Type::Comparison)
        return { m_argument };
    ValueList all;
    for (const SearchPredicate& operand : m_operands)
        all.append(operand.arguments());
    return all;
}

bool SearchPredicate::evaluate(const QuillarcDatabaseObject& object) const
{
    switch (m_type) {
    case Type::Null:
        return true;
    case Type::Comparison:
        return evaluateComparison(object.valueForKey(m_key));
    case Type::And:
        for (const SearchPredicate& operand : m_operands) {
            if (!operand.evaluate(object))
                return false;
        }
        return true;
    case Type::Or:
        for (const SearchPredicate& operand : m_operands) {
            if (operand.evaluate(object))
                return true;
        }
        return false;
    }
    return false;
}

bool SearchPredicate::evaluateComparison(const Value& value) const
{
    switch (m_operator) {
    case Operator::ContainsCD:
        return value.kind() == Value::Kind::String && m_argument.kind() == Value::Kind::String
            && TextFolding::containsCD(value.toString(), m_argument.toString());
    case Operator::Like:
        return value.kind() == Value::Kind::String && m_argument.kind() == Value::Kind::String
            && matchesLike(value.toString(), m_argument.toString());
    case Operator::GreaterOrEqual:
    case Operator::LessOrEqual: {
        const bool bothDates = value.kind() == Value::Kind::Date && m_argument.kind() == Value::Kind::Date;
        const bool bothNumbers = value.isNumber() && m_argument.isNumber();
        if (!bothDates && !bothNumbers)
            return false;
        const double left = bothDates ? value.toDate() : value.toReal();
        const double right = bothDates ? m_argument.toDate() : m_argument.toReal();
        return m_operator == Operator::GreaterOrEqual ? left >= right : left <= right;
    }
    }
    return false;
}

bool SearchPredicate::matchesLike(const QString& text, const QString& pattern)
{
    const QList<uint> subject = text.toUcs4();
    // The pattern as code points, with escaped characters marked literal.
    struct Item
    {
        uint code;
        bool literal;
    };
    QList<Item> items;
    const QList<uint> raw = pattern.toUcs4();
    for (qsizetype i = 0; i < raw.size(); ++i) {
        if (raw[i] == '\\' && i + 1 < raw.size())
            items.append({ raw[++i], true });
        else
            items.append({ raw[i], false });
    }
    // Greedy matching with one backtrack point at the last "*".
    qsizetype s = 0, p = 0, starP = -1, starS = 0;
    while (s < subject.size()) {
        if (p < items.size() && !items[p].literal && items[p].code == '*') {
            starP = p++;
            starS = s;
        } else if (p < items.size() && ((!items[p].literal && items[p].code == '?') || items[p].code == subject[s])) {
            ++p;
            ++s;
        } else if (starP >= 0) {
            p = starP + 1;
            s = ++starS;
        } else {
            return false;
        }
    }
    while (p < items.size() && !items[p].literal && items[p].code == '*')
        ++p;
    return p == items.size();
}
