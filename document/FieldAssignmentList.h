#pragma once

#include <QList>
#include <QString>
#include <QStringList>

// The field assignments of every template: one entry string per template
// ("<template>|<bookmark>=<field>|..."), keyed by the template path without regard to
// case, kept in the order of adding. Replacing an entry (remove, then add) moves it to
// the end, which is what the lists of templates show.
class FieldAssignmentList
{
public:
    int count() const { return int(m_entries.size()); }
    bool isEmpty() const { return m_entries.isEmpty(); }

    // Adds an entry under a key. A key that is already present is refused (false), as a
    // keyed collection refuses a duplicate.
    bool add(const QString& key, const QString& entry);
    // Adds an entry under its own first "|"-separated token.
    bool add(const QString& entry) { return add(keyOf(entry), entry); }
    bool remove(const QString& key);
    void removeAt(int position);
    void clear() { m_entries.clear(); }

    bool contains(const QString& key) const { return indexOf(key) >= 0; }
    // 1-based position of the key, 0 when absent.
    int position(const QString& key) const { return indexOf(key) + 1; }
    // The entry at a 1-based position or under a key; empty when there is none.
    QString item(int position) const;
    QString item(const QString& key) const;
    QString key(int position) const;

    QStringList keys() const;
    QStringList entries() const;

    // The template path an entry string starts with.
    static QString keyOf(const QString& entry);

private:
    struct Entry {
        QString key;
        QString entry;
    };
    int indexOf(const QString& key) const;
    QList<Entry> m_entries;
};
