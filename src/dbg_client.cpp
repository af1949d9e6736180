#include "dbg_client.h"

#include "dbg_collector.h"
#include "emitter_state.h"
#include "qt_compat.h"
#include "thread_name.h"

#include <QtCore/QIODevice>

#include <utility>

namespace Zol {

namespace {

const int most_expected = 128; // characters

/** An empty text, with room for a message as long as the last one, as it is often as long. */
QString MessageText(EmitterState* thread)
{
    QString text = NewText(thread ? &thread->spare : nullptr);
    if (thread && text.capacity() == 0 && thread->last_size > 0)
        text.reserve(thread->last_size);
    return text;
}

TimeOfThread* LastTime(EmitterState* thread)
{
    return thread ? &thread->time : nullptr;
}

TextsOfThread* KnownTexts(EmitterState* thread)
{
    return thread ? &thread->texts : nullptr;
}

} // namespace

DbgClient::DbgClient(const QString& module, const char* file, unsigned int line_no,
                     const char* func, DebugLevel lvl)
    : DbgClient(EmitterState::Current(), module, file, line_no, func, lvl)
{
}

DbgClient::DbgClient(EmitterState* thread, const QString& module, const char* file,
                     unsigned int line_no, const char* func, DebugLevel lvl)
    : m_time_stamp(CurrentTime(LastTime(thread)))
    , m_module(TextOfName(module, KnownTexts(thread)))
    , m_file(file)
    , m_line_no(line_no)
    , m_func(func)
    , m_lvl(lvl)
    , m_thread_name(TextOfName(CurrentThreadName(), KnownTexts(thread)))
    , m_message(MessageText(thread))
    , m_output(&m_message, QIODevice::ReadWrite)
{
}

DbgClient::~DbgClient()
{
    EmitterState* const thread = EmitterState::Current();
    if (thread) {
        thread->last_size = qMin(static_cast<int>(m_message.size()), most_expected);
        PrepareRecord(thread->spare);
    }
    // CollectMsg(), but what is at its end need not be copied.
    DbgCollector::Collect(DebugMessageDetails(DebugMessageDetails::TakesOver(), m_time_stamp,
                                              m_module, TextOfLiteral(m_file, KnownTexts(thread)),
                                              m_line_no, TextOfLiteral(m_func, KnownTexts(thread)),
                                              m_lvl, m_thread_name, m_message));
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
