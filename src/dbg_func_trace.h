#ifndef ZOLDEBUG_DBG_FUNC_TRACE_H
#define ZOLDEBUG_DBG_FUNC_TRACE_H

#include "dbg_module.h"
#include "dbg_utils.h"
#include "zoldebug_export.h"

#include <QtCore/QMap>
#include <QtCore/QString>

namespace Zol {

/**
 * Traces the function, or the scope, that it is a local object of.
 *
 * With DBG_TRACE enabled for the module it logs "Enter" and "Leave". Otherwise, if it is asked for
 * timing and DBG_TIME_TRACE is enabled, it measures the time spent, logs calls of more than 5 ms,
 * and keeps statistics per module and over all modules; the first timed call that ends in a new
 * second logs and resets them. With both levels off it costs the tests of the mask alone.
 *
 * Durations are kept in 32 bits: one of three seconds or more is recorded wrapped.
 */
class ZOLDEBUG_EXPORT DbgFuncTrace
{
public:
    /** Statistics of durations, in nanoseconds. */
    struct ZOLDEBUG_EXPORT TimeTracer
    {
        /** No duration yet; the minimum starts at one second. */
        TimeTracer();

        int last_second;            ///< monotonic second of the last reset, -1 for none
        long long min_time;         ///< the smallest duration, at most one second
        long long max_time;         ///< the largest duration
        int count;                  ///< how many durations there were
        long long accumulated_time; ///< their sum
    };

    /**
     * Begins the trace. Any thread.
     *
     * @param module      the module that the records name; must outlive this object
     * @param file        source file; not copied
     * @param line        source line
     * @param function    function signature; not copied
     * @param time_trace  whether time may be measured
     */
    DbgFuncTrace(const DebugModule& module, const char* file, unsigned int line,
                 const char* function, bool time_trace)
        : m_module(&module)
        , m_file(file)
        , m_line_no(line)
        , m_function(function)
        , m_time_trace(time_trace)
        , m_timespec()
    {
        if (!m_module->LvlDisabled(DBG_TRACE))
            LogPassage("Enter");
        else if (m_time_trace && !m_module->LvlDisabled(DBG_TIME_TRACE))
            BeginTiming();
    }

    /** Ends the trace, by the masks as they are now. */
    ~DbgFuncTrace()
    {
        if (!m_module->LvlDisabled(DBG_TRACE))
            LogPassage("Leave");
        else if (m_time_trace && !m_module->LvlDisabled(DBG_TIME_TRACE) && m_timespec.tv_sec != 0)
            EndTiming();
    }

    /** Empties @p tracer as of the monotonic second @p second. Takes no lock. */
    void ResetTracer(TimeTracer& tracer, int second);

    /** Adds a duration of @p elapsed_time nanoseconds to @p tracer. Takes no lock. */
    void UpdateTracer(TimeTracer& tracer, int elapsed_time);

private:
    Q_DISABLE_COPY(DbgFuncTrace)

    typedef QMap<QString, TimeTracer> ModuleMap;

    /** A timespec that has one size, whatever the width of the host's time_t. */
    struct Timespec
    {
        qint64 tv_sec;
        qint64 tv_nsec;
    };

    DbgFuncTrace();

    void LogPassage(const char* text);
    void BeginTiming();
    void EndTiming();
    void PublishSummary(int second);
    void LogSummary(const TimeTracer& global_trace_copy, const ModuleMap& module_map);
    void Record(int elapsed_time);
    static Timespec Now();
    static long long Elapsed(const Timespec& from, const Timespec& to);

    const DebugModule* m_module;
    const char* m_file;
    unsigned int m_line_no;
    const char* m_function;
    bool m_time_trace;
    Timespec m_timespec; // zero unless time is measured

    static TimeTracer global_trace;
    static ModuleMap& m_module_map;
};

} // namespace Zol

#endif
