#ifndef ZOLDEBUG_DEBUG_H
#define ZOLDEBUG_DEBUG_H

/**
 * @file
 * What a host includes to log.
 *
 * @code
 * static Zol::DebugModule net("net");
 *
 * void Connect(int port)
 * {
 *     ZOL_INFO(net) << "connecting to port " << port;
 * }
 * @endcode
 */

#include "dbg_client.h"
#include "dbg_collector.h"
#include "dbg_func_trace.h"
#include "dbg_module.h"
#include "dbg_utils.h"

/** All that the library offers, but for the macros. */
namespace Zol {

/**
 * Starts the collector for the time of a scope, as a rule that of main(), and stops it at its end,
 * so that nothing logged in between is lost. Declare it behind the QCoreApplication.
 */
class CollectorScope
{
public:
    /** Starts the collector. */
    CollectorScope() { DbgCollector::Start(); }

    /** Stops the collector; waits until everything is written, up to ten seconds. */
    ~CollectorScope() { DbgCollector::Stop(); }

private:
    Q_DISABLE_COPY(CollectorScope)
};

/** Turns the composed message into a void expression, for the logging macros. */
struct StreamEnd
{
    /** Takes what the whole chain of << returns, as & binds weaker than <<. */
    void operator&(QTextStream&) const {}
};

/** Counts a hit for the message @p client and returns its stream, for the macros. */
inline QTextStream& CountHit(DbgClient&& client, const char* file, unsigned int line)
{
    client.Metric(file, line);
    return client.Dbg();
}

} // namespace Zol

/**
 * Logs what is streamed into it if @p level is enabled for @p module, and evaluates nothing of it
 * otherwise. A single statement, also in an if or else without braces. Any thread.
 *
 * @p module and @p level may be evaluated twice.
 */
#define ZOL_LOG(module, level)                                                                     \
    (module).LvlDisabled(level)                                                                    \
        ? (void)0                                                                                  \
        : ::Zol::StreamEnd() &                                                                     \
              ::Zol::DBG_OBJ((module).Id(), __FILE__, __LINE__, Q_FUNC_INFO, (level)).Dbg()

/** @{ */
/** ZOL_LOG() at one of the six ordinary levels. */
#define ZOL_TRACE(module) ZOL_LOG(module, ::Zol::DBG_TRACE)
#define ZOL_INFO(module) ZOL_LOG(module, ::Zol::DBG_INFO)
#define ZOL_WARN(module) ZOL_LOG(module, ::Zol::DBG_WARN)
#define ZOL_ERROR(module) ZOL_LOG(module, ::Zol::DBG_ERROR)
#define ZOL_CRITICAL(module) ZOL_LOG(module, ::Zol::DBG_CRITICAL)
#define ZOL_FATAL(module) ZOL_LOG(module, ::Zol::DBG_FATAL)
/** @} */

/**
 * Counts a hit of this code location if @p level is enabled for @p module, and logs nothing.
 * A single statement. Any thread.
 */
#define ZOL_METRIC(module, level)                                                                  \
    (module).LvlDisabled(level) ? (void)0 : ::Zol::CountHit(__FILE__, __LINE__)

/** ZOL_LOG() that also counts a hit of this code location. Any thread. */
#define ZOL_LOG_METRIC(module, level)                                                              \
    (module).LvlDisabled(level)                                                                    \
        ? (void)0                                                                                  \
        : ::Zol::StreamEnd() & ::Zol::CountHit(::Zol::DBG_OBJ((module).Id(), __FILE__, __LINE__,   \
                                                              Q_FUNC_INFO, (level)),               \
                                               __FILE__, __LINE__)

/**
 * Logs when the enclosing scope is entered and left, if DBG_TRACE is enabled for @p module, which
 * has to outlive the scope. Any thread.
 */
#define ZOL_TRACE_SCOPE(module) ZOL_SCOPE_GUARD(module, false)

/** ZOL_TRACE_SCOPE() that otherwise measures time, if DBG_TIME_TRACE is enabled. */
#define ZOL_TIME_SCOPE(module) ZOL_SCOPE_GUARD(module, true)

/** @cond */
#define ZOL_SCOPE_GUARD(module, time_trace)                                                        \
    const ::Zol::DbgFuncTrace ZOL_SCOPE_GUARD_NAME(__LINE__)(module, __FILE__, __LINE__,           \
                                                             Q_FUNC_INFO, time_trace)
#define ZOL_SCOPE_GUARD_NAME(line) ZOL_SCOPE_GUARD_JOIN(zol_scope_guard_, line)
#define ZOL_SCOPE_GUARD_JOIN(prefix, line) prefix##line
/** @endcond */

#endif
