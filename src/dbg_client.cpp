#include "dbg_client.h"

#include "current_time.h"
#include "dbg_collector.h"
#include "literal_text.h"
#include "qt_compat.h"
#include "text_pool.h"
#include "thread_name.h"

#include <QtCore/QIODevice>

#include <utility>

namespace Zol {

namespace {

const int most_expected = 128; // characters

// Of the last message of each thread, as the next one is often as long.
thread_local int last_size;

/** An empty text, with room for a message as long as the last one. */
QString NewText()
{
    QString text = TextPool::Take();
    if (text.capacity() == 0 && last_size > 0)
        text.reserve(last_size);
    return text;
}

} // namespace

DbgClient::DbgClient(const QString& module, const char* file, unsigned int line_no,
                     const char* func, DebugLevel lvl)
    : m_time_stamp(CurrentTime())
    , m_module(TextOfName(module))
    , m_file(file)
    , m_line_no(line_no)
    , m_func(func)
    , m_lvl(lvl)
    , m_thread_name(TextOfName(CurrentThreadName()))
    , m_message(NewText())
    , m_output(&m_message, QIODevice::ReadWrite)
{
}

DbgClient::~DbgClient()
{
    last_size = qMin(static_cast<int>(m_message.size()), most_expected);
    // CollectMsg(), but what is at its end need not be copied.
    DbgCollector::Collect(DebugMessageDetails(
        m_time_stamp, std::move(m_module), TextOfLiteral(m_file), m_line_no, TextOfLiteral(m_func),
        m_lvl, std::move(m_thread_name), std::move(m_message)));
}

bool DbgClient::Metric(const char* file, unsigned int line)
{
    CountHit(file, line);
    return true;
}

DbgClient DBG_OBJ(const QString& ModuleID, const char* file, unsigned int line_no, const char* func,
                  DebugLevel lvl)
{
    return {ModuleID, file, line_no, func, lvl};
}

void CountHit(const char* file, unsigned int line)
{
    DbgCollector::CollectMetric(QtCompat::FromNarrow(file), line);
}

} // namespace Zol
