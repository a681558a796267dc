#include "contacts/OlItems.h"

#include "util/ZwError.h"

OlItems::OlItems(std::shared_ptr<VCardFolderIndex> index) : m_index(std::move(index)) {}

OlItems::OlItems(std::shared_ptr<VCardFolderIndex> index, QList<VCardFolderIndex::Hit> hits)
    : m_index(std::move(index)), m_hits(std::move(hits))
{
}

long OlItems::Count(const Progress& progress) const
{
    if (!m_index)
        return 0;
    if (m_hits)
        return long(m_hits->size());
    return long(m_index->count(progress));
}

long OlItems::countWithRows(const Progress& progress) const
{
    if (!m_index || m_hits)
        return Count();
    return long(m_index->countWithRows(progress));
}

OlItemRow OlItems::row(long index) const
{
    return m_index->row(hit(index));
}

VCardFolderIndex::Hit OlItems::hit(long index) const
{
    if (index < 1 || index > Count()) {
        throw ZwError(9,
                      QStringLiteral("Index außerhalb des gültigen Bereichs (Element %1 von %2)")
                          .arg(index)
                          .arg(Count()),
                      QStringLiteral("Items"));
    }
    const quint32 i = quint32(index - 1);
    return m_hits ? (*m_hits)[i] : m_index->hitAt(i);
}

OlItem OlItems::Item(long index) const
{
    return m_index->item(hit(index));
}

OlItems OlItems::Restrict(const QString& filter, const Progress& progress) const
{
    const OlFilter parsed = OlFilter::parse(filter);
    if (!m_index)
        return OlItems();
    return OlItems(m_index, m_index->restrict(parsed, m_hits ? &*m_hits : nullptr, progress));
}

OlItems OlItems::foundBeforeAbort(const QString& filter) const
{
    if (!m_index)
        return OlItems();
    const OlFilter parsed = filter.isEmpty() ? OlFilter() : OlFilter::parse(filter);
    return OlItems(m_index, m_index->foundBeforeAbort(parsed, m_hits ? &*m_hits : nullptr));
}
