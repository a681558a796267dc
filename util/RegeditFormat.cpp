#include "util/RegeditFormat.h"

#include <QStringDecoder>
#include <QStringList>
#include <algorithm>

// ---------------------------------------------------------------------------------------
// RegistryNode

namespace
{
// The registry compares names by their upper-case form.
QString foldName(const QString& name)
{
    return name.toUpper();
}
} // namespace

RegistryNode::~RegistryNode()
{
    // Children are taken apart level by level on the heap: the nodes left to destroy
    // implicitly have no children of their own.
    std::vector<RegistryNode> pending = std::move(children);
    while (!pending.empty()) {
        RegistryNode last = std::move(pending.back());
        pending.pop_back();
        for (RegistryNode& grandChild : last.children)
            pending.push_back(std::move(grandChild));
        last.children.clear();
    }
}

RegistryNode* RegistryNode::child(const QString& childName)
{
    const QString folded = foldName(childName);
    auto it = std::lower_bound(
        children.begin(), children.end(), folded,
        [](const RegistryNode& n, const QString& f) { return foldName(n.name) < f; });
    return (it != children.end() && foldName(it->name) == folded) ? &*it : nullptr;
}

const RegistryNode* RegistryNode::child(const QString& childName) const
{
    return const_cast<RegistryNode*>(this)->child(childName);
}

RegistryNode& RegistryNode::addChild(const QString& childName, bool* created)
{
    const QString folded = foldName(childName);
    auto it = std::lower_bound(
        children.begin(), children.end(), folded,
        [](const RegistryNode& n, const QString& f) { return foldName(n.name) < f; });
    if (it != children.end() && foldName(it->name) == folded) {
        if (created)
            *created = false;
        return *it;
    }
    RegistryNode node;
    node.name = childName;
    if (created)
        *created = true;
    return *children.insert(it, std::move(node));
}

int RegistryNode::valueIndex(const QString& valueName) const
{
    for (int i = 0; i < values.size(); ++i)
        if (values[i].name.compare(valueName, Qt::CaseInsensitive) == 0)
            return i;
    return -1;
}

namespace RegeditFormat
{

namespace
{

const QString kHeader4 = QStringLiteral("REGEDIT4");
const QString kHeader5 = QStringLiteral("Windows Registry Editor Version 5.00");

QString decodeFile(const QByteArray& content)
{
    // regedit's version 5 export is UTF-16 with a byte order mark.
    if (content.startsWith("\xFF\xFE"))
        return QStringDecoder(QStringDecoder::Utf16LE).decode(content.mid(2));
    QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = utf8.decode(content);
    if (!utf8.hasError())
        return text;
    QStringDecoder ansi("windows-1252");
    if (ansi.isValid())
        return ansi.decode(content);
    return QString::fromLatin1(content);
}

// Reads a quoted string starting at `pos` (the opening quote). On success `pos` stands
// after the closing quote.
bool readQuoted(const QString& line, qsizetype& pos, QString& out)
{
    if (pos >= line.size() || line[pos] != u'"')
        return false;
    out.clear();
    for (qsizetype i = pos + 1; i < line.size(); ++i) {
        const QChar c = line[i];
        if (c == u'"') {
            pos = i + 1;
            return true;
        }
        if (c == u'\\' && i + 1 < line.size() && (line[i + 1] == u'\\' || line[i + 1] == u'"')) {
            out += line[++i];
            continue;
        }
        // A lone backslash (a hand-edited "C:\Temp") is taken as it stands.
        out += c;
    }
    return false;
}

bool readHexBytes(const QString& list, QByteArray& out)
{
    out.clear();
    const QString trimmed = list.trimmed();
    if (trimmed.isEmpty())
        return true;
    const QStringList parts = trimmed.split(u',');
    for (const QString& part : parts) {
        const QString p = part.trimmed();
        bool ok = false;
        const uint b = p.toUInt(&ok, 16);
        if (!ok || p.size() > 2 || b > 0xFF)
            return false;
        out.append(char(b));
    }
    return true;
}

// The data of a string value without its terminating zero. A zero inside the text is part
// of it, as RegQueryValueEx hands it over: a value holding U+0000 reads back whole.
QString textFromBytes(const QByteArray& bytes, bool utf16)
{
    if (utf16) {
        QString s = QString::fromUtf16(reinterpret_cast<const char16_t*>(bytes.constData()),
                                       bytes.size() / 2);
        if (s.endsWith(QChar(0)))
            s.chop(1);
        return s;
    }
    return decodeFile(bytes.endsWith('\0') ? bytes.first(bytes.size() - 1) : bytes);
}

// Parses the data part of a value line (after "=").
bool parseData(const QString& data, bool utf16, RegistryValue& value, QString& reason)
{
    if (data.startsWith(u'"')) {
        qsizetype pos = 0;
        QString text;
        if (!readQuoted(data, pos, text)) {
            reason = QStringLiteral("Zeichenkette ohne schließendes Anführungszeichen");
            return false;
        }
        if (!data.mid(pos).trimmed().isEmpty()) {
            reason = QStringLiteral("Text nach der Zeichenkette");
            return false;
        }
        value.type = Reg::TypeSz;
        value.data.text = text;
        return true;
    }
    if (data.startsWith(QStringLiteral("dword:"), Qt::CaseInsensitive)) {
        const QString digits = data.mid(6).trimmed();
        bool ok = false;
        const uint n = digits.toUInt(&ok, 16);
        if (!ok || digits.isEmpty() || digits.size() > 8 || digits.startsWith(u'+') ||
            digits.startsWith(u'-')) {
            reason = QStringLiteral("ungültiger DWORD-Wert");
            return false;
        }
        value.type = Reg::TypeDword;
        value.data.number = n;
        return true;
    }
    if (data.startsWith(QStringLiteral("hex"), Qt::CaseInsensitive)) {
        quint32 type = Reg::TypeBinary;
        qsizetype colon = data.indexOf(u':');
        if (colon < 0) {
            reason = QStringLiteral("ungültige Hex-Daten");
            return false;
        }
        const QString head = data.left(colon);
        if (head.compare(QStringLiteral("hex"), Qt::CaseInsensitive) != 0) {
            bool ok = false;
            if (head.size() > 5 && head[3] == u'(' && head.endsWith(u')'))
                type = head.mid(4, head.size() - 5).toUInt(&ok, 16);
            if (!ok) {
                reason = QStringLiteral("ungültiger Werttyp");
                return false;
            }
        }
        QByteArray bytes;
        if (!readHexBytes(data.mid(colon + 1), bytes)) {
            reason = QStringLiteral("ungültige Hex-Daten");
            return false;
        }
        value.type = type;
        if (type == Reg::TypeSz || type == Reg::TypeExpandSz) {
            value.data.text = textFromBytes(bytes, utf16);
        } else if (type == Reg::TypeDword) {
            if (bytes.size() != 4) {
                reason = QStringLiteral("ungültiger DWORD-Wert");
                return false;
            }
            value.data.number = quint32(uchar(bytes[0])) | quint32(uchar(bytes[1])) << 8 |
                                quint32(uchar(bytes[2])) << 16 | quint32(uchar(bytes[3])) << 24;
        } else {
            value.data.bytes = bytes;
        }
        return true;
    }
    reason = QStringLiteral("unbekannter Werttyp");
    return false;
}

// Splits "ROOT\a\b" into its path below the root; false when it is not below `rootName`.
bool pathBelowRoot(const QString& full, const QString& rootName, QStringList& path)
{
    path.clear();
    if (full.compare(rootName, Qt::CaseInsensitive) == 0)
        return true;
    if (!full.startsWith(rootName + u'\\', Qt::CaseInsensitive))
        return false;
    path = full.mid(rootName.size() + 1).split(u'\\');
    for (const QString& part : path)
        if (part.isEmpty())
            return false;
    return true;
}

bool removeKey(RegistryNode& tree, const QStringList& path)
{
    RegistryNode* node = &tree;
    for (int i = 0; i + 1 < path.size(); ++i) {
        node = node->child(path[i]);
        if (!node)
            return false;
    }
    auto& kids = node->children;
    for (auto it = kids.begin(); it != kids.end(); ++it)
        if (it->name.compare(path.last(), Qt::CaseInsensitive) == 0) {
            kids.erase(it);
            return true;
        }
    return false;
}

} // namespace

ParseResult parse(const QByteArray& content, const QString& rootName, RegistryNode& tree)
{
    tree = RegistryNode();
    tree.name = rootName;
    ParseResult result;
    auto fail = [&result](int line, const QString& reason) {
        result.ok = false;
        result.line = line;
        result.reason = reason;
        return result;
    };

    QString text = decodeFile(content);
    if (text.startsWith(QChar(0xFEFF)))
        text.remove(0, 1);
    const QStringList lines = text.split(u'\n');

    bool headerSeen = false;
    bool utf16 = false;
    RegistryNode* current = nullptr;
    for (int i = 0; i < lines.size(); ++i) {
        const int lineNo = i + 1;
        QString line = lines[i].trimmed();
        // Hex lists run on over several lines, each but the last ending in "\".
        while (line.endsWith(u'\\') && line.contains(QStringLiteral("=hex"), Qt::CaseInsensitive) &&
               i + 1 < lines.size()) {
            line.chop(1);
            line += lines[++i].trimmed();
        }
        if (line.isEmpty() || line.startsWith(u';'))
            continue;
        if (!headerSeen) {
            if (line == kHeader4 || line == kHeader5) {
                headerSeen = true;
                // Version 5 files keep the strings of hex(1)/hex(2) lists in UTF-16.
                utf16 = line == kHeader5;
                continue;
            }
            return fail(lineNo, QStringLiteral("Kopfzeile REGEDIT4 fehlt"));
        }
        if (line.startsWith(u'[')) {
            if (!line.endsWith(u']'))
                return fail(lineNo, QStringLiteral("Schlüsselzeile ohne schließende Klammer"));
            QString full = line.mid(1, line.size() - 2);
            const bool remove = full.startsWith(u'-');
            if (remove)
                full.remove(0, 1);
            // Counted before splitting: a line of a million levels is refused cheaply.
            if (full.count(u'\\') > kMaxDepth)
                return fail(lineNo,
                            QStringLiteral("Schlüssel tiefer als %1 Ebenen").arg(kMaxDepth));
            QStringList path;
            if (!pathBelowRoot(full, rootName, path))
                return fail(lineNo, QStringLiteral("Schlüssel nicht unter %1").arg(rootName));
            if (remove) {
                if (!path.isEmpty())
                    removeKey(tree, path);
                current = nullptr;
                continue;
            }
            RegistryNode* node = &tree;
            for (const QString& part : std::as_const(path))
                node = &node->addChild(part);
            current = node;
            continue;
        }
        if (line.startsWith(u'"') || line.startsWith(u'@')) {
            if (!current)
                return fail(lineNo, QStringLiteral("Wert ohne Schlüsselzeile"));
            RegistryValue value;
            qsizetype pos = 0;
            if (line.startsWith(u'@')) {
                pos = 1;
            } else if (!readQuoted(line, pos, value.name)) {
                return fail(lineNo, QStringLiteral("Wertname ohne schließendes Anführungszeichen"));
            }
            const QString rest = line.mid(pos).trimmed();
            if (!rest.startsWith(u'='))
                return fail(lineNo, QStringLiteral("Gleichheitszeichen fehlt"));
            const QString data = rest.mid(1).trimmed();
            const int index = current->valueIndex(value.name);
            if (data == QStringLiteral("-")) {
                if (index >= 0)
                    current->values.removeAt(index);
                continue;
            }
            QString reason;
            if (!parseData(data, utf16, value, reason))
                return fail(lineNo, reason);
            if (index >= 0)
                current->values[index] = value;
            else
                current->values.append(value);
            continue;
        }
        return fail(lineNo, QStringLiteral("unbekannte Zeile"));
    }
    return result;
}

namespace
{

QString quoted(const QString& s)
{
    QString out;
    out.reserve(s.size() + 2);
    out += u'"';
    for (const QChar c : s) {
        if (c == u'\\' || c == u'"')
            out += u'\\';
        out += c;
    }
    out += u'"';
    return out;
}

bool hasControlCharacters(const QString& s)
{
    return std::any_of(s.begin(), s.end(), [](QChar c) { return c.unicode() < 0x20; });
}

// regedit's layout of hex lists: about 80 characters a line, continued with "\".
QString hexList(const QString& prefix, const QByteArray& bytes)
{
    QString out = prefix;
    qsizetype lineLength = prefix.size();
    for (qsizetype i = 0; i < bytes.size(); ++i) {
        const QString b = QStringLiteral("%1").arg(uint(uchar(bytes[i])), 2, 16, QChar(u'0'));
        const bool last = i + 1 == bytes.size();
        out += b;
        lineLength += 2;
        if (!last) {
            out += u',';
            ++lineLength;
            if (lineLength > 76) {
                out += QStringLiteral("\\\n  ");
                lineLength = 2;
            }
        }
    }
    return out;
}

QString valueLine(const RegistryValue& v)
{
    const QString name = v.name.isEmpty() ? QStringLiteral("@") : quoted(v.name);
    switch (v.type) {
    case Reg::TypeSz:
        if (!hasControlCharacters(v.data.text))
            return name + u'=' + quoted(v.data.text);
        return hexList(name + QStringLiteral("=hex(1):"), v.data.text.toUtf8() + '\0');
    case Reg::TypeExpandSz:
        return hexList(name + QStringLiteral("=hex(2):"), v.data.text.toUtf8() + '\0');
    case Reg::TypeDword:
        return name + QStringLiteral("=dword:%1").arg(v.data.number, 8, 16, QChar(u'0'));
    case Reg::TypeBinary:
        return hexList(name + QStringLiteral("=hex:"), v.data.bytes);
    default:
        return hexList(name + QStringLiteral("=hex(%1):").arg(v.type, 0, 16), v.data.bytes);
    }
}

} // namespace

QByteArray serialize(const RegistryNode& tree, const QString& rootName)
{
    QString out = kHeader4 + QStringLiteral("\n\n");
    // Depth first in file order, with the keys still to write on an explicit stack.
    struct Pending {
        const RegistryNode* node;
        QString fullName;
    };
    std::vector<Pending> stack{{&tree, rootName}};
    while (!stack.empty()) {
        const Pending p = std::move(stack.back());
        stack.pop_back();
        if (p.node != &tree || !p.node->values.isEmpty()) {
            out += u'[' + p.fullName + QStringLiteral("]\n");
            for (const RegistryValue& v : p.node->values)
                out += valueLine(v) + u'\n';
            out += u'\n';
        }
        const auto& kids = p.node->children;
        for (auto it = kids.rbegin(); it != kids.rend(); ++it)
            stack.push_back({&*it, p.fullName + u'\\' + it->name});
    }
    return out.toUtf8();
}

} // namespace RegeditFormat
