#ifndef DBGCAT_TIMING_SUMMARY_H
#define DBGCAT_TIMING_SUMMARY_H

#include "log_summary.h"

#include <map>
#include <vector>

namespace DbgCat {

/** What the function tracer logged of the time that calls took. */
class TimingSummary : public LogSummary
{
public:
    /** The statistics of a module, in nanoseconds. */
    struct Module
    {
        qint64 count;
        double sum;
        qint64 min;
        qint64 max;
    };

    struct SlowCall
    {
        qint64 duration; ///< nanoseconds
        QByteArray time;
        QByteArray module;
        QByteArray thread;
        QByteArray file;
        QByteArray line;
        QByteArray function;
    };

    TimingSummary();

    void Take(const LogItem& item, LogTime time) override;
    bool IsEmpty() const override { return m_modules.empty() && m_slow_calls.empty(); }
    void AppendText(QByteArray& out) const override;

    const std::map<QByteArray, Module>& Modules() const { return m_modules; }

    static qint64 Mean(const Module& module);

    /** The slowest calls, the slowest first; SlowCallCount() has all. */
    const std::vector<SlowCall>& SlowCalls() const { return m_slow_calls; }
    qint64 SlowCallCount() const { return m_slow_call_count; }

private:
    void TakeModule(const LogItem& record);
    void TakeSlowCall(const LogItem& record);

    std::map<QByteArray, Module> m_modules;
    std::vector<SlowCall> m_slow_calls;
    qint64 m_slow_call_count;
};

} // namespace DbgCat

#endif
