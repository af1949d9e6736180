#ifndef DBGCAT_RECORD_SUMMARY_H
#define DBGCAT_RECORD_SUMMARY_H

#include "log_summary.h"
#include "name_counts.h"
#include "timeline.h"

namespace DbgCat {

/** How many records there are, of which levels, modules and threads, and when. */
class RecordSummary : public LogSummary
{
public:
    /** A place where an output began to write. */
    struct Restart
    {
        LogTime before; ///< of the last record before it; no_time if there is none
        LogTime after;  ///< of the first record behind it; no_time if there is none
        bool starts;    ///< a collector started, so it was no pause
    };

    RecordSummary();

    void Take(const LogItem& item, LogTime time) override;
    bool IsEmpty() const override { return m_records == 0; }
    void AppendText(QByteArray& out) const override;

    qint64 Records() const { return m_records; }
    LogTime First() const { return m_first; }
    LogTime Last() const { return m_last; }
    qint64 ClockSteps() const { return m_clock_steps; }
    const Timeline::Counts& Levels() const { return m_levels; }
    const NameCounts& Modules() const { return m_modules; }
    const NameCounts& Threads() const { return m_threads; }
    const Timeline& Rate() const { return m_rate; }

    /** The first thousand of them; RestartCount() has all. */
    const std::vector<Restart>& Restarts() const { return m_restarts; }
    qint64 RestartCount() const { return m_restart_count; }

private:
    void TakeRestart(LogTime time);
    void NoteStart(const LogItem& record, LogTime time);

    qint64 m_records;
    LogTime m_first;
    LogTime m_last;
    LogTime m_newest;
    qint64 m_clock_steps;
    Timeline::Counts m_levels;
    NameCounts m_modules;
    NameCounts m_threads;
    Timeline m_rate;
    std::vector<Restart> m_restarts;
    qint64 m_restart_count;
};

} // namespace DbgCat

#endif
