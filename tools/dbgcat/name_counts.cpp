#include "name_counts.h"

#include <algorithm>

namespace DbgCat {

void NameCounts::Add(const ByteSpan& name)
{
    const int longest = 200;
    const int most = 10000;
    const ByteSpan key(name.data, std::min(name.size, longest));
    const QHash<QByteArray, qint64>::iterator known = m_counts.find(key.View());
    if (known != m_counts.end())
        ++known.value();
    else if (m_counts.size() < most)
        m_counts.insert(key.Copy(), 1);
    else
        ++m_counts["(others)"];
}

std::vector<NameCounts::Entry> NameCounts::Sorted() const
{
    std::vector<Entry> entries;
    for (QHash<QByteArray, qint64>::const_iterator it = m_counts.constBegin();
         it != m_counts.constEnd(); ++it)
        entries.push_back(Entry(it.key(), it.value()));
    std::sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) {
        return a.second != b.second ? a.second > b.second : a.first < b.first;
    });
    return entries;
}

} // namespace DbgCat
