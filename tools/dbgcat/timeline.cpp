#include "timeline.h"

#include <numeric>

namespace DbgCat {

namespace {

// Milliseconds; each is a multiple of the one before, up to some hundred years.
const qint64 units[] = {10,        100,        1000,        5000,         15000,        60000,
                        300000,    900000,     3600000,     10800000,     43200000,     86400000,
                        604800000, 2419200000, 31449600000, 314496000000, 3144960000000};
const int last_unit = static_cast<int>(sizeof(units) / sizeof(units[0])) - 1;

const int most_periods = 4096;

/** The quotient rounded down, for times before 1970, too. */
qint64 Quotient(qint64 dividend, qint64 divisor)
{
    return dividend / divisor - (dividend % divisor < 0 ? 1 : 0);
}

} // namespace

Timeline::Timeline()
    : m_unit(0)
    , m_last_number(0)
    , m_last(0)
{
}

void Timeline::Add(LogTime time, int level_index)
{
    const qint64 number = Quotient(time, PeriodLength());
    if (!m_last || number != m_last_number) {
        m_last = &m_periods[number];
        m_last_number = number;
    }
    ++(*m_last)[static_cast<size_t>(level_index)];
    if (static_cast<int>(m_periods.size()) > most_periods && m_unit != last_unit)
        Coarsen();
}

Timeline Timeline::Coarsened(int periods) const
{
    Timeline coarse = *this;
    coarse.m_last = 0;
    while (static_cast<int>(coarse.m_periods.size()) > periods && coarse.m_unit != last_unit)
        coarse.Coarsen();
    return coarse;
}

qint64 Timeline::PeriodLength() const
{
    return units[m_unit];
}

void Timeline::Coarsen()
{
    const qint64 factor = units[m_unit + 1] / units[m_unit];
    std::map<qint64, Counts> periods;
    for (const std::pair<const qint64, Counts>& period : m_periods) {
        Counts& counts = periods[Quotient(period.first, factor)];
        for (size_t i = 0; i < counts.size(); ++i)
            counts[i] += period.second[i];
    }
    m_periods.swap(periods);
    ++m_unit;
    m_last = 0;
}

qint64 Total(const Timeline::Counts& counts)
{
    return std::accumulate(counts.begin(), counts.end(), qint64(0));
}

} // namespace DbgCat
