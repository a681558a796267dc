#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

// One content line of a vCard (`group.NAME;PARAM=value:value`).
//
// `value` holds the value as text in 3.0/4.0 escaped form, whatever the card's version: the
// reader has already unfolded it, decoded quoted-printable and the character set, and turned
// 2.1 escaping (only \; , commas literal) into 3.0 escaping. Base64 data stays as it was
// written and is never decoded. Use text(), components(), structured() or list() to read it,
// the setters to change it (they mark the line modified).
//
// `raw` is the line exactly as read, physical lines and line breaks included, so that the
// writer can put back every line that nobody changed byte for byte.
class VCardProperty
{
public:
    struct Parameter {
        QByteArray name; // upper case; bare 2.1 parameters become TYPE, ENCODING or CHARSET
        QString value;   // unquoted, carets decoded (4.0 and our own X-ZETTELWERK-* names)
    };

    VCardProperty() = default;
    // A new line; its value is escaped text (see VCardText::escape), so use the setters for
    // plain text.
    VCardProperty(QByteArray name, QString escapedValue, QList<Parameter> parameters = {},
                  QByteArray group = {});

    QByteArray group; // as written, without the dot; empty when there is none
    QByteArray name;  // as written
    QList<Parameter> parameters;
    QString value;  // escaped text, see above
    QByteArray raw; // the line as read; empty for a new line
    int line = 0;   // 1-based line in the file where it starts (0 for a new line)
    bool modified = false;
    bool malformed = false; // no colon: kept byte for byte, never interpreted
    // For a line read from 2.1: true when `raw` is already valid 3.0 with the same meaning
    // (no bare or encoding parameters, no escapes that differ), so it may be written back as is.
    bool rawIsPortable = true;

    // Name and group compare without regard to case.
    bool isNamed(QByteArrayView n) const;
    bool hasGroup(QByteArrayView g) const;
    // First value of a parameter ("" when absent).
    QString parameter(QByteArrayView n) const;
    bool hasParameter(QByteArrayView n) const;
    void setParameter(QByteArrayView n, const QString& value); // replaces all of that name
    void removeParameter(QByteArrayView n);
    // TYPE values in upper case, from every TYPE parameter, split at commas, empties dropped.
    QStringList types() const;
    bool hasType(QStringView t) const;
    // Sort key among lines of the same kind: PREF=n, else 1 for TYPE=PREF, else 101.
    int preference() const;
    // ENCODING=b / BASE64: inline binary, kept undecoded.
    bool isBinary() const;

    // The whole value without escapes.
    QString text() const;
    // The value split at unescaped `;` (N, ADR, ORG), each part without escapes; commas
    // inside a part stay commas.
    QStringList components() const;
    // Split at `;` and then at unescaped `,` (3.0/4.0 value lists inside a component).
    QList<QStringList> structured() const;
    // The value split at unescaped `,` (CATEGORIES, NICKNAME).
    QStringList list() const;

    void setText(const QString& text);
    void setComponents(const QStringList& components);
    void setComponent(int index, const QString& text); // 0-based, pads with empty parts
    void setList(const QStringList& values);
};
