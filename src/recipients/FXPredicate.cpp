#include "recipients/FXPredicate.h"

#include "foundation/FXLogging.h"

#include <QRegularExpression>
#include <QStringBuilder>

#include <algorithm>
#include <string_view>

#include <vector>

struct FXPredicate::Node
{
    enum class Kind { Constant, Comparison, Or, And };

    Kind kind = Kind::Constant;
    bool value = false;
    PhoneBookEntry::Key key = PhoneBookEntry::Key::uniqueID;
    Operator op = Operator::EqualTo;
    Options options;
    QString operand; // already in the form the options compare (folded for [cd])
    QString originalOperand;
    std::vector<FXPredicate> children;

    bool sameComparison(const Node &other) const
    {
        return kind == Kind::Comparison && other.kind == Kind::Comparison && key == other.key
               && op == other.op && options == other.options && operand == other.operand;
    }
};

namespace {

constexpr FXPredicate::Options foldingOptions =
    FXPredicate::CaseInsensitive | FXPredicate::DiacriticInsensitive;

// Letters that carry their "diacritic" as part of the letter and so survive decomposition.
char16_t strokeLetterBase(char16_t c)
{
    switch (c) {
    case u'ł':
        return u'l';
    case u'Ł':
        return u'L';
    case u'ø':
        return u'o';
    case u'Ø':
        return u'O';
    case u'đ':
        return u'd';
    case u'Đ':
        return u'D';
    case u'ħ':
        return u'h';
    case u'Ħ':
        return u'H';
    case u'ŧ':
        return u't';
    case u'Ŧ':
        return u'T';
    case u'ı':
        return u'i';
    default:
        return 0;
    }
}

QString stripMarks(const QString &string)
{
    const QString decomposed = string.normalized(QString::NormalizationForm_D);
    QString out;
    out.reserve(decomposed.size());
    const qsizetype size = decomposed.size();
    for (qsizetype i = 0; i < size; ++i) {
        const QChar c = decomposed.at(i);
        char32_t ucs4 = c.unicode();
        const bool pair =
            c.isHighSurrogate() && i + 1 < size && decomposed.at(i + 1).isLowSurrogate();
        if (pair)
            ucs4 = QChar::surrogateToUcs4(c, decomposed.at(i + 1));
        const QChar::Category category = QChar::category(ucs4);
        const bool mark = category == QChar::Mark_NonSpacing
                          || category == QChar::Mark_SpacingCombining
                          || category == QChar::Mark_Enclosing;
        if (!mark) {
            if (const char16_t base = strokeLetterBase(c.unicode()))
                out.append(QChar(base));
            else if (pair)
                out.append(QStringView(decomposed).mid(i, 2));
            else
                out.append(c);
        }
        if (pair)
            ++i;
    }
    return out;
}

QString operandForOptions(const QString &value, FXPredicate::Options options)
{
    if (options == foldingOptions)
        return FXPredicate::foldedString(value);
    QString out = value;
    if (options & FXPredicate::DiacriticInsensitive)
        out = stripMarks(out);
    if (options & FXPredicate::CaseInsensitive)
        out = out.toCaseFolded();
    return out;
}

const char *operatorName(FXPredicate::Operator op)
{
    switch (op) {
    case FXPredicate::Operator::EqualTo:
        return "==";
    case FXPredicate::Operator::BeginsWith:
        return "BEGINSWITH";
    case FXPredicate::Operator::Contains:
        return "CONTAINS";
    }
    return "?";
}

} // namespace

FXPredicate::FXPredicate()
    : FXPredicate(predicateWithValue(false))
{}

FXPredicate::FXPredicate(std::shared_ptr<const Node> node)
    : m_node(std::move(node))
{}

FXPredicate FXPredicate::predicateWithValue(bool value)
{
    static const auto constantFalse = [] {
        auto node = std::make_shared<Node>();
        node->value = false;
        return std::shared_ptr<const Node>(node);
    }();
    static const auto constantTrue = [] {
        auto node = std::make_shared<Node>();
        node->value = true;
        return std::shared_ptr<const Node>(node);
    }();
    return FXPredicate(value ? constantTrue : constantFalse);
}

FXPredicate FXPredicate::comparison(PhoneBookEntry::Key key, Operator op, const QString &value,
                                    Options options)
{
    auto node = std::make_shared<Node>();
    node->kind = Node::Kind::Comparison;
    node->key = key;
    node->op = op;
    node->options = options;
    node->originalOperand = value;
    node->operand = operandForOptions(value, options);
    return FXPredicate(std::move(node));
}

FXPredicate FXPredicate::comparison(const QString &keyName, const QString &operatorText,
                                    const QString &value)
{
    static const QRegularExpression pattern(
        QStringLiteral("^\\s*(==?|beginswith|contains)\\s*(?:\\[([cd]{1,2})\\])?\\s*$"),
        QRegularExpression::CaseInsensitiveOption);
    const auto key = PhoneBookEntry::keyForName(keyName);
    const QRegularExpressionMatch match = pattern.match(operatorText);
    if (!key || !match.hasMatch()) {
        qCWarning(lcRecipients, "Unsupported predicate comparison: %s %s", qUtf8Printable(keyName),
                  qUtf8Printable(operatorText));
        return FXPredicate();
    }
    const QString name = match.captured(1).toLower();
    const Operator op = name == QLatin1String("beginswith") ? Operator::BeginsWith
                        : name == QLatin1String("contains") ? Operator::Contains
                                                            : Operator::EqualTo;
    Options options;
    const QString flags = match.captured(2).toLower();
    if (flags.contains(u'c'))
        options |= CaseInsensitive;
    if (flags.contains(u'd'))
        options |= DiacriticInsensitive;
    return comparison(*key, op, value, options);
}

FXPredicate FXPredicate::orPredicateWithSubpredicates(const QList<FXPredicate> &subpredicates)
{
    std::vector<FXPredicate> children;
    std::vector<FXPredicate> pending(subpredicates.rbegin(), subpredicates.rend());
    while (!pending.empty()) {
        const FXPredicate next = pending.back();
        pending.pop_back();
        const Node &node = *next.m_node;
        if (node.kind == Node::Kind::Constant) {
            if (node.value)
                return predicateWithValue(true);
            continue;
        }
        if (node.kind == Node::Kind::Or) {
            pending.insert(pending.end(), node.children.rbegin(), node.children.rend());
            continue;
        }
        const bool repeated = std::any_of(children.begin(), children.end(), [&](const auto &c) {
            return c.m_node == next.m_node || c.m_node->sameComparison(node);
        });
        if (!repeated)
            children.push_back(next);
    }
    if (children.empty())
        return predicateWithValue(false);
    if (children.size() == 1)
        return children.front();
    auto node = std::make_shared<Node>();
    node->kind = Node::Kind::Or;
    node->children = std::move(children);
    return FXPredicate(std::move(node));
}

FXPredicate FXPredicate::andPredicateWithSubpredicates(const QList<FXPredicate> &subpredicates)
{
    std::vector<FXPredicate> children;
    for (const FXPredicate &predicate : subpredicates) {
        const Node &node = *predicate.m_node;
        if (node.kind == Node::Kind::Constant) {
            if (!node.value)
                return predicateWithValue(false);
            continue;
        }
        if (node.kind == Node::Kind::And)
            children.insert(children.end(), node.children.begin(), node.children.end());
        else
            children.push_back(predicate);
    }
    if (children.empty())
        return predicateWithValue(true);
    if (children.size() == 1)
        return children.front();
    auto node = std::make_shared<Node>();
    node->kind = Node::Kind::And;
    node->children = std::move(children);
    return FXPredicate(std::move(node));
}

bool FXPredicate::evaluateWithObject(const PhoneBookEntry &entry) const
{
    const Node &node = *m_node;
    switch (node.kind) {
    case Node::Kind::Constant:
        return node.value;
    case Node::Kind::Or:
        for (const FXPredicate &child : node.children) {
            if (child.evaluateWithObject(entry))
                return true;
        }
        return false;
    case Node::Kind::And:
        for (const FXPredicate &child : node.children) {
            if (!child.evaluateWithObject(entry))
                return false;
        }
        return true;
    case Node::Kind::Comparison:
        break;
    }
    // An absent value satisfies no comparison, as nil does not. (The folded copy is absent
    // exactly when the value is.)
    if (node.options == foldingOptions) {
        const QString &folded = entry.foldedValue(node.key);
        return !folded.isNull() && compare(folded, node);
    }
    const QString &raw = entry.value(node.key);
    if (raw.isNull())
        return false;
    if (!node.options)
        return compare(raw, node);
    return compare(operandForOptions(raw, node.options), node);
}

// The live search runs these over every entry on every key press; plain code-unit
// comparisons on views keep it clear of the general string search set-up.
bool FXPredicate::compare(const QString &value, const Node &node)
{
    const std::u16string_view haystack(QStringView(value).utf16(), size_t(value.size()));
    const std::u16string_view needle(QStringView(node.operand).utf16(),
                                     size_t(node.operand.size()));
    switch (node.op) {
    case Operator::EqualTo:
        return haystack == needle;
    case Operator::BeginsWith:
        return !needle.empty() && haystack.size() >= needle.size() && haystack[0] == needle[0]
               && haystack.substr(0, needle.size()) == needle;
    case Operator::Contains:
        return !needle.empty() && haystack.size() >= needle.size()
               && haystack.find(needle) != std::u16string_view::npos;
    }
    return false;
}

bool FXPredicate::isConstantFalse() const
{
    return m_node->kind == Node::Kind::Constant && !m_node->value;
}

bool FXPredicate::isConstantTrue() const
{
    return m_node->kind == Node::Kind::Constant && m_node->value;
}

QString FXPredicate::predicateFormat() const
{
    const Node &node = *m_node;
    switch (node.kind) {
    case Node::Kind::Constant:
        return node.value ? QStringLiteral("TRUEPREDICATE") : QStringLiteral("FALSEPREDICATE");
    case Node::Kind::Comparison: {
        QString flags;
        if (node.options & CaseInsensitive)
            flags += u'c';
        if (node.options & DiacriticInsensitive)
            flags += u'd';
        QString operand = node.originalOperand;
        operand.replace(u'\\', QLatin1String("\\\\")).replace(u'"', QLatin1String("\\\""));
        return PhoneBookEntry::nameForKey(node.key) % u' ' % QLatin1String(operatorName(node.op))
               % (flags.isEmpty() ? QString() : u'[' % flags % u']') % QLatin1String(" \"")
               % operand % u'"';
    }
    case Node::Kind::Or:
    case Node::Kind::And: {
        QStringList parts;
        for (const FXPredicate &child : node.children) {
            const bool compound =
                child.m_node->kind == Node::Kind::Or || child.m_node->kind == Node::Kind::And;
            parts.append(compound ? u'(' % child.predicateFormat() % u')'
                                  : child.predicateFormat());
        }
        return parts.join(node.kind == Node::Kind::Or ? QLatin1String(" OR ")
                                                      : QLatin1String(" AND "));
    }
    }
    return QString();
}

QString FXPredicate::foldedString(const QString &string)
{
    // Names and numbers are mostly ASCII; spare them the normalisation.
    bool ascii = true;
    bool upper = false;
    for (const QChar c : string) {
        const char16_t u = c.unicode();
        if (u >= 0x80) {
            ascii = false;
            break;
        }
        upper = upper || (u >= u'A' && u <= u'Z');
    }
    if (ascii)
        return upper ? string.toLower() : string;
    return stripMarks(string).toCaseFolded();
}

bool FXPredicate::operator==(const FXPredicate &other) const
{
    const Node &a = *m_node;
    const Node &b = *other.m_node;
    if (a.kind != b.kind)
        return false;
    switch (a.kind) {
    case Node::Kind::Constant:
        return a.value == b.value;
    case Node::Kind::Comparison:
        return a.sameComparison(b);
    case Node::Kind::Or:
    case Node::Kind::And:
        return a.children == b.children;
    }
    return false;
}
