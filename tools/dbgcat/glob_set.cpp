#include "glob_set.h"

#include <fnmatch.h>

namespace DbgCat {

bool GlobSet::Matches(const ByteSpan& name)
{
    const QHash<QByteArray, bool>::const_iterator known = m_known.constFind(name.View());
    if (known != m_known.constEnd())
        return known.value();
    const QByteArray copy = name.Copy();
    const bool matches = MatchesAny(copy);
    const int most_known = 1000;
    const int longest_known = 1000;
    if (m_known.size() < most_known && name.size <= longest_known)
        m_known.insert(copy, matches);
    return matches;
}

bool GlobSet::MatchesAny(const QByteArray& name) const
{
    for (const QByteArray& pattern : m_patterns) {
        if (fnmatch(pattern.constData(), name.constData(), 0) == 0)
            return true;
    }
    return false;
}

} // namespace DbgCat
