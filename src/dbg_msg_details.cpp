#include "dbg_msg_details.h"

#include "thread_state.h"

#include <utility>

namespace Zol {

namespace {

QString EmptyText()
{
    return QString(QLatin1String("")); // empty, but not null
}

} // namespace

void* DebugMessageDetails::operator new(size_t size)
{
    ThreadState* const thread = ThreadState::Current();
    return AllocateRecord(thread ? &thread->spare : nullptr, size);
}

void DebugMessageDetails::operator delete(void* memory) noexcept
{
    const ThreadState* const thread = ThreadState::Current();
    if (thread && thread->is_collector)
        ReturnRecord(memory);
    else
        ::operator delete(memory);
}

DebugMessageDetails::DebugMessageDetails()
    : m_module(EmptyText())
    , m_file(EmptyText())
    , m_line_no(0)
    , m_func(EmptyText())
    , m_lvl(static_cast<DebugLevel>(0))
    , m_thread(EmptyText())
    , m_message(EmptyText())
{
}

DebugMessageDetails::DebugMessageDetails(QDateTime time, QString module, QString file,
                                         unsigned int line_no, QString func, DebugLevel lvl,
                                         QString thread, QString message)
    : m_time_stamp(std::move(time))
    , m_module(std::move(module))
    , m_file(std::move(file))
    , m_line_no(line_no)
    , m_func(std::move(func))
    , m_lvl(lvl)
    , m_thread(std::move(thread))
    , m_message(std::move(message))
{
}

} // namespace Zol
