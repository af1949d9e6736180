#ifndef DBGCAT_RATE_CHART_H
#define DBGCAT_RATE_CHART_H

#include "record_summary.h"

namespace DbgCat {

/** The records over time by level, with the restarts, as an SVG picture. */
class RateChart
{
public:
    explicit RateChart(const RecordSummary& records);

    void Append(QByteArray& out) const;

    /** The colour of a level, as a stylesheet has it. */
    static const char* Colour(int level_index);

private:
    /** What stands side by side: a period, or a longer time without records. */
    struct Slot
    {
        qint64 number;                  ///< of the period, or of the first one without records
        qint64 length;                  ///< how many periods it stands for
        const Timeline::Counts* counts; ///< null without records
    };

    void AddSlots(qint64 first, qint64 length);
    double Position(LogTime time) const;
    void AppendGrid(QByteArray& out) const;
    void AppendBars(QByteArray& out) const;
    void AppendRestarts(QByteArray& out) const;
    void AppendTimes(QByteArray& out) const;

    const RecordSummary& m_records;
    const Timeline m_rate;
    std::vector<Slot> m_slots;
    qint64 m_most;
    double m_slot_width;
};

} // namespace DbgCat

#endif
