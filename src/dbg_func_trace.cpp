#include "dbg_func_trace.h"

#include "dbg_client.h"

#include <QtCore/QMutex>
#include <QtCore/QMutexLocker>

#include <time.h>

#include <atomic>

namespace Zol {

namespace {

const long long second_in_ns = 1000000000;
const long long slow_call = 5000000; // ns

// The shared state is never destroyed: threads may trace until the very end of the process.
QMutex& mutex = *new QMutex;

std::atomic<int> summary_second(-1); // what global_trace.last_second is, to be read unlocked

QTextStream& operator<<(QTextStream& stream, const DbgFuncTrace::TimeTracer& tracer)
{
    return stream << "Count: " << tracer.count << " Accumulated time: " << tracer.accumulated_time
                  << " Min time: " << tracer.min_time << " Max time: " << tracer.max_time;
}

} // namespace

DbgFuncTrace::TimeTracer DbgFuncTrace::global_trace;
DbgFuncTrace::ModuleMap& DbgFuncTrace::m_module_map = *new ModuleMap;

DbgFuncTrace::TimeTracer::TimeTracer()
    : last_second(-1)
    , min_time(second_in_ns)
    , max_time(0)
    , count(0)
    , accumulated_time(0)
{
}

DbgFuncTrace::Timespec DbgFuncTrace::Now()
{
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return {now.tv_sec, now.tv_nsec};
}

/** The time between two readings, in ns; its seconds wrap as a signed 32-bit count does. */
long long DbgFuncTrace::Elapsed(const Timespec& from, const Timespec& to)
{
    const quint32 seconds = static_cast<quint32>(to.tv_sec - from.tv_sec);
    const quint32 wrapped = seconds * static_cast<quint32>(second_in_ns);
    return static_cast<long long>(static_cast<qint32>(wrapped)) + (to.tv_nsec - from.tv_nsec);
}

void DbgFuncTrace::ResetTracer(TimeTracer& tracer, int second)
{
    tracer = TimeTracer();
    tracer.last_second = second;
}

void DbgFuncTrace::UpdateTracer(TimeTracer& tracer, int elapsed_time)
{
    ++tracer.count;
    tracer.accumulated_time += elapsed_time;
    if (tracer.max_time < elapsed_time)
        tracer.max_time = elapsed_time;
    if (elapsed_time < tracer.min_time)
        tracer.min_time = elapsed_time;
}

void DbgFuncTrace::LogPassage(const char* text)
{
    DBG_OBJ(m_module->Id(), m_file, m_line_no, m_function, DBG_TRACE).Dbg() << text;
}

void DbgFuncTrace::BeginTiming()
{
    m_timespec = Now();
}

void DbgFuncTrace::EndTiming()
{
    const Timespec ts = Now();
    const int second = static_cast<int>(ts.tv_sec);
    if (second != summary_second.load(std::memory_order_relaxed))
        PublishSummary(second);

    const long long elapsed_time = Elapsed(m_timespec, ts);
    if (elapsed_time > slow_call) {
        DBG_OBJ(m_module->Id(), m_file, m_line_no, m_function, DBG_TIME_TRACE).Dbg()
            << "Leave: Time taken " << elapsed_time << " ns";
    }
    Record(static_cast<int>(elapsed_time));
}

/** Logs and resets the statistics, unless another thread did so in this second. */
void DbgFuncTrace::PublishSummary(int second)
{
    ModuleMap module_map;
    QMutexLocker lock(&mutex);
    if (second == global_trace.last_second)
        return;
    module_map.swap(m_module_map);
    const TimeTracer global_trace_copy = global_trace;
    ResetTracer(global_trace, second);
    summary_second.store(second, std::memory_order_relaxed);
    lock.unlock();

    LogSummary(global_trace_copy, module_map);
}

void DbgFuncTrace::LogSummary(const TimeTracer& global_trace_copy, const ModuleMap& module_map)
{
    DBG_OBJ(m_module->Id(), "", 0, "", DBG_TIME_TRACE).Dbg()
        << "Time trace summary " << global_trace_copy;
    for (ModuleMap::const_iterator it = module_map.constBegin(); it != module_map.constEnd();
         ++it) {
        DBG_OBJ(it.key(), "", 0, "", DBG_TIME_TRACE).Dbg()
            << "Time spent in module " << it.key() << ": "
            << " " << it.value();
    }
}

void DbgFuncTrace::Record(int elapsed_time)
{
    QMutexLocker lock(&mutex);
    UpdateTracer(m_module_map[m_module->Id()], elapsed_time);
    UpdateTracer(global_trace, elapsed_time);
}

} // namespace Zol
