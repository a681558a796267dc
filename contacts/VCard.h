#pragma once

#include "contacts/VCardProperty.h"

#include <QByteArray>
#include <QList>

enum class VCardVersion { V21, V30, V40 };

// One contact as read from (or to be written to) a vCard file: its lines in file order,
// without BEGIN, END and VERSION, which the writer composes.
//
// A card without a VERSION line reads as 3.0 (2.1 features such as quoted-printable are
// accepted in every version). `raw()` is the card exactly as read, from BEGIN to END
// including its last line break; the writer puts it back unchanged while nothing was edited.
class VCard
{
public:
    VCard() = default;
    // A new, empty card in the given version (3.0 unless a server asks for 4.0).
    explicit VCard(VCardVersion version);

    VCardVersion version() const { return m_version; }
    bool hasVersionLine() const { return m_hasVersionLine; }
    const QByteArray& raw() const { return m_raw; }
    int line() const { return m_line; } // 1-based line of BEGIN:VCARD in its file

    QList<VCardProperty>& properties() { return m_properties; }
    const QList<VCardProperty>& properties() const { return m_properties; }

    // First line of that name (case-insensitive, groups ignored), or nullptr.
    const VCardProperty* find(QByteArrayView name) const;
    VCardProperty* find(QByteArrayView name);
    // Indexes of all lines of that name, in file order.
    QList<int> indexesOf(QByteArrayView name) const;
    // The first line whose group carries this label (X-ABLabel), or "" (Apple/Google labels).
    QString groupLabel(QByteArrayView group) const;

    VCardProperty& append(VCardProperty property);
    void removeAt(int index);
    // Removes every line of that name; returns how many.
    int removeAll(QByteArrayView name);

    // True when a line was changed, added or removed since reading.
    bool isModified() const;

    // Used by the reader.
    void setSource(VCardVersion version, bool hasVersionLine, QByteArray raw, int line);

private:
    VCardVersion m_version = VCardVersion::V30;
    bool m_hasVersionLine = false;
    bool m_structureChanged = false;
    int m_line = 0;
    QByteArray m_raw;
    QList<VCardProperty> m_properties;
};
