#include "log_filter.h"

#include "level_names.h"
#include "log_text.h"

namespace DbgCat {

namespace {

bool Matches(const QRegularExpression& expression, const ByteSpan& escaped)
{
    return expression.pattern().isEmpty() || expression.match(DecodeUnescaped(escaped)).hasMatch();
}

} // namespace

LogFilter::LogFilter()
    : m_any_level(true)
    , m_levels(static_cast<Zol::DebugLevel>(0))
    , m_since(no_time)
    , m_until(std::numeric_limits<LogTime>::max())
{
}

void LogFilter::AddLevels(Zol::DebugLevel mask)
{
    m_any_level = false;
    m_levels = m_levels | mask;
}

bool LogFilter::Admits(const LogItem& item, LogTime time)
{
    if (item.kind == LogItem::Record)
        return AdmitsRecord(item) && AdmitsTime(time);
    if (IsSelective())
        return false;
    return item.kind == LogItem::Rubbish ? AdmitsTime(no_time) : AdmitsTime(time);
}

bool LogFilter::AdmitsTime(LogTime time) const
{
    return time >= m_since && time <= m_until;
}

bool LogFilter::AdmitsRecord(const LogItem& record)
{
    if (!m_any_level) {
        const int index = LevelIndex(record.level);
        if (index == level_count || !(m_levels & LevelAt(index)))
            return false;
    }
    return (m_modules.IsEmpty() || m_modules.Matches(record.module)) &&
           (m_threads.IsEmpty() || m_threads.Matches(record.thread)) &&
           Matches(m_function, record.function) && Matches(m_text, record.body);
}

bool LogFilter::IsSelective() const
{
    return !m_any_level || !m_modules.IsEmpty() || !m_threads.IsEmpty() ||
           !m_function.pattern().isEmpty() || !m_text.pattern().isEmpty();
}

} // namespace DbgCat
