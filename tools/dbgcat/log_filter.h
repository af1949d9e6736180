#ifndef DBGCAT_LOG_FILTER_H
#define DBGCAT_LOG_FILTER_H

#include "dbg_utils.h"
#include "glob_set.h"
#include "log_item.h"
#include "log_time.h"

#include <QtCore/QRegularExpression>

namespace DbgCat {

/** What is wanted of a log; everything as long as nothing is said. */
class LogFilter
{
public:
    LogFilter();

    /** Wants records of these levels, besides those wanted before. */
    void AddLevels(Zol::DebugLevel mask);
    void AddModule(const QByteArray& glob) { m_modules.Add(glob); }
    void AddThread(const QByteArray& glob) { m_threads.Add(glob); }
    void SetFunction(const QRegularExpression& function) { m_function = function; }
    void SetText(const QRegularExpression& text) { m_text = text; }

    /** Wants what was logged from then on, and until then. */
    void SetSince(LogTime since) { m_since = since; }
    void SetUntil(LogTime until) { m_until = until; }

    /**
     * Whether an item is wanted. Restarts, metrics and rubbish go by their time alone, and only as
     * long as nothing is said of the records; rubbish has no time.
     */
    bool Admits(const LogItem& item, LogTime time);

    /** Whether the time is within the limits. */
    bool AdmitsTime(LogTime time) const;

private:
    bool AdmitsRecord(const LogItem& record);
    bool IsSelective() const;

    bool m_any_level;
    Zol::DebugLevel m_levels;
    GlobSet m_modules;
    GlobSet m_threads;
    QRegularExpression m_function;
    QRegularExpression m_text;
    LogTime m_since;
    LogTime m_until;
};

} // namespace DbgCat

#endif
