#pragma once

#include "recipients/PhoneBookEntry.h"

#include <QFlags>
#include <QList>
#include <QString>

#include <memory>

// A condition over phone book entries: comparisons of a key with a text, OR, AND and the
// constants. Built directly, never parsed from a format string. Cheap to copy.
class FXPredicate
{
public:
    enum class Operator { EqualTo, BeginsWith, Contains };
    enum Option {
        NoOptions = 0,
        CaseInsensitive = 0x1,      // [c]
        DiacriticInsensitive = 0x2, // [d]
    };
    Q_DECLARE_FLAGS(Options, Option)

    // The constant-false predicate.
    FXPredicate();

    static FXPredicate predicateWithValue(bool value);
    static FXPredicate comparison(PhoneBookEntry::Key key, Operator op, const QString &value,
                                  Options options = NoOptions);
    // `operatorText` as in a predicate format: "=", "==", "beginswith", "contains", each
    // optionally followed by "[c]", "[d]" or "[cd]"/"[dc]"; case is ignored. An unknown key or
    // operator gives the constant-false predicate.
    static FXPredicate comparison(const QString &keyName, const QString &operatorText,
                                  const QString &value);
    // Constant-false operands are dropped, nested ORs flattened and repeated comparisons
    // kept once; an empty list gives constant false.
    static FXPredicate orPredicateWithSubpredicates(const QList<FXPredicate> &subpredicates);
    // An empty list gives constant true.
    static FXPredicate andPredicateWithSubpredicates(const QList<FXPredicate> &subpredicates);

    bool evaluateWithObject(const PhoneBookEntry &entry) const;

    bool isConstantFalse() const;
    bool isConstantTrue() const;
    // A readable form for logs and test failures: lastName BEGINSWITH[cd] "anna" OR ...
    QString predicateFormat() const;

    // Unicode decomposition, marks removed, a few letters with strokes reduced to their base
    // letter, case folded: "Müller" and "MULLER" both become "muller".
    static QString foldedString(const QString &string);

    bool operator==(const FXPredicate &other) const;

private:
    struct Node;
    static bool compare(const QString &value, const Node &node);
    explicit FXPredicate(std::shared_ptr<const Node> node);

    std::shared_ptr<const Node> m_node;
};

Q_DECLARE_OPERATORS_FOR_FLAGS(FXPredicate::Options)
