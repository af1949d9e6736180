#ifndef DBGCAT_TIMELINE_H
#define DBGCAT_TIMELINE_H

#include "level_names.h"
#include "log_time.h"

#include <array>
#include <map>

namespace DbgCat {

/**
 * How many records there were over time, by level. Periods grow as there are more of them; those
 * without records take no room, so that a clock that began in 1970 spoils nothing.
 */
class Timeline
{
public:
    typedef std::array<qint64, level_count + 1> Counts; ///< the last is of no level

    Timeline();

    void Add(LogTime time, int level_index);

    /** The same with at most @p periods that have records. */
    Timeline Coarsened(int periods) const;

    /** How long a period is, in milliseconds. */
    qint64 PeriodLength() const;

    /** The periods that have records: number of the period since 1970, and its counts. */
    const std::map<qint64, Counts>& Periods() const { return m_periods; }

private:
    void Coarsen();

    int m_unit;
    std::map<qint64, Counts> m_periods;
    qint64 m_last_number;
    Counts* m_last;
};

/** All records of a period. */
qint64 Total(const Timeline::Counts& counts);

} // namespace DbgCat

#endif
