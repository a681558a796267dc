#pragma once

#include <QList>
#include <QString>
#include <QVariant>
#include <functional>
#include <memory>
#include <optional>

// The filter language of Items.Restrict, as the system composes it:
//
//   [LastName] = 'Müller'
//   [Lastname] = 'O''Neill' and ([CompanyName] = "Muster AG" or [Gender] <> 2)
//   not [Birthday] >= '01.01.1960'
//
// - A property name stands in brackets and compares without regard to case. A name that is
//   not one of ContactItem's Outlook property names is a user property ("[Firma 2]").
// - Operators: = <> < > <= >=.
// - Values: '...' with '' for an embedded ', "..." with "" for an embedded ", or a number
//   (-12, 3.5).
// - and, or, not: keywords without regard to case; not binds tighter than and, and tighter
//   than or; parentheses group.
//
// Comparison, as Outlook compares:
// - text: = and <> compare whole values without regard to case; < > <= >= in German
//   alphabetical order, without regard to case;
// - dates (Birthday, Anniversary, date user properties): the value is read as a date
//   (31.12.1960, 1960-12-31, optionally with a time, which is ignored);
// - numbers and yes/no: numerically; yes/no accepts Wahr/Falsch, Ja/Nein, True/False, -1/0;
// - lists (Categories, keywords): = holds when one element is equal, <> when none is;
// - a property the item does not have (a missing user property) makes the comparison false.
//
// A text that cannot be parsed raises ZwError 5 with "Ungültige Filterbedingung: ..." and the
// 1-based character position: Restrict never returns an empty result for a broken filter.
class OlFilter
{
public:
    // Where a property's value comes from. NamePart and OrgPart read a single vCard line
    // (N or ORG), so a folder can evaluate them by peeking at that line instead of parsing
    // the whole card.
    enum class Source { NamePart, OrgPart, Item };
    struct Property {
        QString name; // as the item model spells it (user properties: as written)
        Source source = Source::Item;
        int component = 0; // NamePart/OrgPart: 0-based component
        bool isUserProperty = false;
    };

    // The value of property `index` (of properties()) for the item being tested; nullopt
    // when the item does not have that property.
    using ValueOf = std::function<std::optional<QVariant>(int index)>;

    OlFilter();
    ~OlFilter();
    OlFilter(const OlFilter&);
    OlFilter& operator=(const OlFilter&);

    // Throws ZwError 5 (source "Restrict") with a German description.
    static OlFilter parse(const QString& text);

    const QString& text() const { return m_text; }
    // The distinct properties the filter reads, in order of first use.
    const QList<Property>& properties() const { return m_properties; }
    // Values are asked for lazily, only as far as and/or need them.
    bool matches(const ValueOf& valueOf) const;

    // The value of a NamePart or OrgPart property from the escaped value of the N or ORG line,
    // as ContactItem computes it.
    static QString componentValue(Source source, int component, const QString& escapedValue);

    struct Node;

private:
    QString m_text;
    QList<Property> m_properties;
    std::shared_ptr<const Node> m_root;
};
