#ifndef DBGCAT_GLOB_SET_H
#define DBGCAT_GLOB_SET_H

#include "byte_span.h"

#include <QtCore/QHash>

#include <vector>

namespace DbgCat {

/** Patterns as a shell's, such as "net*", one of which a name has to match. */
class GlobSet
{
public:
    void Add(const QByteArray& pattern) { m_patterns.push_back(pattern); }
    bool IsEmpty() const { return m_patterns.empty(); }

    bool Matches(const ByteSpan& name);

private:
    bool MatchesAny(const QByteArray& name) const;

    std::vector<QByteArray> m_patterns;
    QHash<QByteArray, bool> m_known; // a log has few names, and each often
};

} // namespace DbgCat

#endif
