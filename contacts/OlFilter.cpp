#include "contacts/OlFilter.h"

#include "contacts/ContactItem.h"
#include "contacts/VCardText.h"
#include "util/ZwError.h"

#include <QCollator>
#include <QDate>
#include <QDateTime>
#include <QLocale>
#include <QStringList>
#include <cmath>

namespace
{

enum class Op { Eq, Ne, Lt, Gt, Le, Ge };

struct Literal {
    QString text;
    bool isNumber = false;
    double number = 0;
};

[[noreturn]] void fail(const QString& filter, const QString& reason, qsizetype position)
{
    throw ZwError(5,
                  QStringLiteral("Ungültige Filterbedingung: %1 bei Zeichen %2 in \"%3\"")
                      .arg(reason)
                      .arg(position + 1)
                      .arg(filter),
                  QStringLiteral("Restrict"));
}

// The item model's date properties: a value compared with them must be a date.
bool isDateProperty(const QString& name)
{
    return name.compare(u"Birthday", Qt::CaseInsensitive) == 0 ||
           name.compare(u"Anniversary", Qt::CaseInsensitive) == 0;
}

std::optional<QDate> dateOf(const QString& text)
{
    const QString t = text.trimmed();
    for (const QString& dateFormat : {QStringLiteral("d.M.yyyy"), QStringLiteral("yyyy-MM-dd")}) {
        // A time after the date is allowed and ignored.
        const QString datePart = t.section(QLatin1Char(' '), 0, 0).section(QLatin1Char('T'), 0, 0);
        const QDate d = QDate::fromString(datePart, dateFormat);
        if (d.isValid())
            return d;
    }
    return std::nullopt;
}

std::optional<double> numberOf(const QString& text)
{
    bool ok = false;
    QString t = text.trimmed();
    double d = t.toDouble(&ok);
    if (!ok) {
        // German decimal comma, as a user types it.
        d = t.replace(QLatin1Char(','), QLatin1Char('.')).toDouble(&ok);
    }
    return ok ? std::optional<double>(d) : std::nullopt;
}

std::optional<bool> yesNoOf(const Literal& l)
{
    if (l.isNumber)
        return l.number != 0;
    static const QStringList yes = {QStringLiteral("wahr"), QStringLiteral("ja"),
                                    QStringLiteral("true"), QStringLiteral("-1"),
                                    QStringLiteral("1")};
    static const QStringList no = {QStringLiteral("falsch"), QStringLiteral("nein"),
                                   QStringLiteral("false"), QStringLiteral("0")};
    const QString t = l.text.trimmed().toLower();
    if (yes.contains(t))
        return true;
    if (no.contains(t))
        return false;
    return std::nullopt;
}

template <class T> bool holds(Op op, const T& a, const T& b)
{
    switch (op) {
    case Op::Eq:
        return a == b;
    case Op::Ne:
        return !(a == b);
    case Op::Lt:
        return a < b;
    case Op::Gt:
        return b < a;
    case Op::Le:
        return !(b < a);
    case Op::Ge:
        return !(a < b);
    }
    return false;
}

// Equality is exact but for case; order follows the German alphabet (ä with a, ß with ss).
bool holdsText(Op op, const QString& value, const QString& literal)
{
    if (op == Op::Eq || op == Op::Ne)
        return holds(op, value.compare(literal, Qt::CaseInsensitive), 0);
    static const QCollator collator = [] {
        QCollator c{QLocale(QLocale::German, QLocale::Germany)};
        c.setCaseSensitivity(Qt::CaseInsensitive);
        return c;
    }();
    return holds(op, collator.compare(value, literal), 0);
}

bool compareValue(const QVariant& v, Op op, const Literal& l)
{
    switch (v.typeId()) {
    case QMetaType::QDate: {
        const std::optional<QDate> d = dateOf(l.text);
        return d && holds(op, v.toDate(), *d);
    }
    case QMetaType::Bool: {
        const std::optional<bool> b = yesNoOf(l);
        return b && holds(op, v.toBool(), *b);
    }
    case QMetaType::Int:
    case QMetaType::LongLong:
    case QMetaType::Double: {
        const std::optional<double> n = l.isNumber ? l.number : numberOf(l.text);
        return n && holds(op, v.toDouble(), *n);
    }
    case QMetaType::QStringList: {
        const QStringList list = v.toStringList();
        bool any = false;
        for (const QString& e : list)
            any = any || e.compare(l.text, Qt::CaseInsensitive) == 0;
        if (op == Op::Eq)
            return any;
        if (op == Op::Ne)
            return !any;
        for (const QString& e : list) {
            if (holdsText(op, e, l.text))
                return true;
        }
        return false;
    }
    default:
        break;
    }
    const QString text = v.toString();
    if (l.isNumber) {
        // A number against text: numerically when the text is a number.
        if (const std::optional<double> n = numberOf(text))
            return holds(op, *n, l.number);
    }
    return holdsText(op, text, l.text);
}

} // namespace

struct OlFilter::Node {
    enum class Type { And, Or, Not, Compare } type = Type::Compare;
    std::shared_ptr<const Node> left, right;
    int property = -1;
    Op op = Op::Eq;
    Literal literal;

    bool eval(const ValueOf& valueOf) const
    {
        switch (type) {
        case Type::And:
            return left->eval(valueOf) && right->eval(valueOf);
        case Type::Or:
            return left->eval(valueOf) || right->eval(valueOf);
        case Type::Not:
            return !left->eval(valueOf);
        case Type::Compare:
            break;
        }
        const std::optional<QVariant> v = valueOf(property);
        return v && v->isValid() && compareValue(*v, op, literal);
    }
};

namespace
{

// Recursive descent over the filter text.
class Parser
{
public:
    Parser(const QString& text, QList<OlFilter::Property>& properties)
        : m_s(text), m_properties(properties)
    {
    }

    std::shared_ptr<const OlFilter::Node> parseAll()
    {
        skipBlanks();
        if (m_i >= m_s.size())
            fail(m_s, QStringLiteral("die Bedingung ist leer"), 0);
        auto node = parseOr();
        skipBlanks();
        if (m_i < m_s.size())
            fail(m_s, QStringLiteral("\"and\", \"or\" oder Ende der Bedingung erwartet"), m_i);
        return node;
    }

private:
    using NodePtr = std::shared_ptr<const OlFilter::Node>;
    using Node = OlFilter::Node;

    void skipBlanks()
    {
        while (m_i < m_s.size() && m_s[m_i].isSpace())
            ++m_i;
    }

    // A keyword stands alone: not followed by a letter, digit or "_".
    bool keyword(QStringView word)
    {
        skipBlanks();
        const qsizetype end = m_i + word.size();
        if (end > m_s.size() ||
            QStringView(m_s).sliced(m_i, word.size()).compare(word, Qt::CaseInsensitive) != 0)
            return false;
        if (end < m_s.size() && (m_s[end].isLetterOrNumber() || m_s[end] == u'_'))
            return false;
        m_i = end;
        return true;
    }

    NodePtr combine(Node::Type type, NodePtr left, NodePtr right)
    {
        auto n = std::make_shared<Node>();
        n->type = type;
        n->left = std::move(left);
        n->right = std::move(right);
        return n;
    }

    NodePtr parseOr()
    {
        NodePtr left = parseAnd();
        while (keyword(u"or"))
            left = combine(Node::Type::Or, left, parseAnd());
        return left;
    }

    NodePtr parseAnd()
    {
        NodePtr left = parseUnary();
        while (keyword(u"and"))
            left = combine(Node::Type::And, left, parseUnary());
        return left;
    }

    NodePtr parseUnary()
    {
        // Each "(" and "not" nests one level deeper in this parser; the input must not decide
        // how deep the stack grows.
        struct Level {
            int& depth;
            ~Level() { --depth; }
        } level{++m_depth};
        if (m_depth > 200)
            fail(m_s, QStringLiteral("zu tief geschachtelt (mehr als 200 Klammern oder \"not\")"),
                 m_i);
        if (keyword(u"not"))
            return combine(Node::Type::Not, parseUnary(), nullptr);
        skipBlanks();
        if (m_i < m_s.size() && m_s[m_i] == u'(') {
            const qsizetype open = m_i++;
            NodePtr inner = parseOr();
            skipBlanks();
            if (m_i >= m_s.size() || m_s[m_i] != u')')
                fail(m_s,
                     QStringLiteral("die Klammer bei Zeichen %1 wird nicht geschlossen")
                         .arg(open + 1),
                     m_i);
            ++m_i;
            return inner;
        }
        return parseComparison();
    }

    NodePtr parseComparison()
    {
        skipBlanks();
        if (m_i >= m_s.size())
            fail(m_s, QStringLiteral("Eigenschaft in [ ] erwartet, Ende der Bedingung gefunden"),
                 m_i);
        if (m_s[m_i] != u'[')
            fail(m_s, QStringLiteral("Eigenschaft in [ ] erwartet"), m_i);
        const qsizetype open = m_i++;
        const qsizetype close = m_s.indexOf(u']', m_i);
        if (close < 0)
            fail(m_s, QStringLiteral("die Klammer [ wird nicht geschlossen"), open);
        const QString name = m_s.mid(m_i, close - m_i).trimmed();
        if (name.isEmpty())
            fail(m_s, QStringLiteral("der Eigenschaftsname ist leer"), open);
        m_i = close + 1;

        auto n = std::make_shared<Node>();
        n->property = propertyIndex(name);
        n->op = parseOperator();
        n->literal = parseLiteral();
        const OlFilter::Property& p = m_properties[n->property];
        if (!p.isUserProperty && isDateProperty(p.name) && !dateOf(n->literal.text))
            fail(m_s, QStringLiteral("\"%1\" ist kein Datum").arg(n->literal.text), m_literalAt);
        return n;
    }

    Op parseOperator()
    {
        skipBlanks();
        const QStringView rest = QStringView(m_s).sliced(m_i);
        struct {
            const char16_t* text;
            Op op;
        } const ops[] = {{u"<>", Op::Ne}, {u"<=", Op::Le}, {u">=", Op::Ge},
                         {u"=", Op::Eq},  {u"<", Op::Lt},  {u">", Op::Gt}};
        for (const auto& o : ops) {
            const QStringView t(o.text);
            if (rest.startsWith(t)) {
                m_i += t.size();
                return o.op;
            }
        }
        fail(m_s, QStringLiteral("Vergleichsoperator (=, <>, <, >, <=, >=) erwartet"), m_i);
    }

    Literal parseLiteral()
    {
        skipBlanks();
        m_literalAt = m_i;
        if (m_i >= m_s.size())
            fail(m_s, QStringLiteral("Wert erwartet, Ende der Bedingung gefunden"), m_i);
        const QChar q = m_s[m_i];
        Literal l;
        if (q == u'\'' || q == u'"') {
            const qsizetype open = m_i++;
            for (;;) {
                if (m_i >= m_s.size())
                    fail(m_s, QStringLiteral("die Zeichenkette wird nicht geschlossen"), open);
                if (m_s[m_i] == q) {
                    if (m_i + 1 < m_s.size() && m_s[m_i + 1] == q) {
                        l.text.append(q);
                        m_i += 2;
                        continue;
                    }
                    ++m_i;
                    return l;
                }
                l.text.append(m_s[m_i++]);
            }
        }
        qsizetype j = m_i;
        if (j < m_s.size() && (m_s[j] == u'-' || m_s[j] == u'+'))
            ++j;
        const qsizetype digits = j;
        while (j < m_s.size() && (m_s[j].isDigit() || m_s[j] == u'.'))
            ++j;
        if (j == digits || (j < m_s.size() && (m_s[j].isLetter() || m_s[j] == u'_')))
            fail(m_s, QStringLiteral("Wert in Anführungszeichen oder Zahl erwartet"), m_i);
        l.text = m_s.mid(m_i, j - m_i);
        bool ok = false;
        l.number = l.text.toDouble(&ok);
        if (!ok)
            fail(m_s, QStringLiteral("\"%1\" ist keine Zahl").arg(l.text), m_i);
        l.isNumber = true;
        m_i = j;
        return l;
    }

    int propertyIndex(const QString& written)
    {
        for (int i = 0; i < m_properties.size(); ++i) {
            if (m_properties[i].name.compare(written, Qt::CaseInsensitive) == 0)
                return i;
        }
        OlFilter::Property p;
        p.name = written;
        if (ContactItem::isKnownProperty(written)) {
            // The model's own spelling, so that the folder's fast path can match on it.
            for (const QString& known : ContactItem::propertyNames()) {
                if (known.compare(written, Qt::CaseInsensitive) == 0)
                    p.name = known;
            }
            static const struct {
                const char16_t* name;
                OlFilter::Source source;
                int component;
            } direct[] = {{u"LastName", OlFilter::Source::NamePart, 0},
                          {u"FirstName", OlFilter::Source::NamePart, 1},
                          {u"MiddleName", OlFilter::Source::NamePart, 2},
                          {u"Title", OlFilter::Source::NamePart, 3},
                          {u"Suffix", OlFilter::Source::NamePart, 4},
                          {u"CompanyName", OlFilter::Source::OrgPart, 0},
                          {u"Department", OlFilter::Source::OrgPart, 1}};
            for (const auto& d : direct) {
                if (p.name == QStringView(d.name)) {
                    p.source = d.source;
                    p.component = d.component;
                }
            }
        } else {
            p.isUserProperty = true;
        }
        m_properties.append(p);
        return int(m_properties.size()) - 1;
    }

    const QString& m_s;
    QList<OlFilter::Property>& m_properties;
    qsizetype m_i = 0;
    int m_depth = 0;
    qsizetype m_literalAt = 0;
};

} // namespace

OlFilter::OlFilter() = default;
OlFilter::~OlFilter() = default;
OlFilter::OlFilter(const OlFilter&) = default;
OlFilter& OlFilter::operator=(const OlFilter&) = default;

OlFilter OlFilter::parse(const QString& text)
{
    OlFilter f;
    f.m_text = text;
    Parser parser(f.m_text, f.m_properties);
    f.m_root = parser.parseAll();
    return f;
}

bool OlFilter::matches(const ValueOf& valueOf) const
{
    return m_root && m_root->eval(valueOf);
}

QString OlFilter::componentValue(Source source, int component, const QString& escapedValue)
{
    // Mirrors ContactItem: N components may hold value lists (joined with a blank, empty
    // values dropped); ORG components are taken whole and trimmed.
    const QList<QStringView> parts = VCardText::splitEscaped(escapedValue, u';');
    if (component >= parts.size())
        return QString();
    if (source == Source::OrgPart)
        return VCardText::unescape(parts[component]).trimmed();
    QStringList nonEmpty;
    for (QStringView v : VCardText::splitEscaped(parts[component], u',')) {
        const QString t = VCardText::unescape(v).trimmed();
        if (!t.isEmpty())
            nonEmpty.append(t);
    }
    return nonEmpty.join(u' ');
}
