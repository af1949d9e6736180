#ifndef DBGCAT_NAME_COUNTS_H
#define DBGCAT_NAME_COUNTS_H

#include "byte_span.h"

#include <QtCore/QHash>

#include <utility>
#include <vector>

namespace DbgCat {

/** How often each name was met. Of names without end, only the first ten thousand are told apart.
 */
class NameCounts
{
public:
    typedef std::pair<QByteArray, qint64> Entry;

    void Add(const ByteSpan& name);

    /** The names, the most frequent first, names of the same count in alphabetical order. */
    std::vector<Entry> Sorted() const;

private:
    QHash<QByteArray, qint64> m_counts;
};

} // namespace DbgCat

#endif
