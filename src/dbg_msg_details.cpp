#include "dbg_msg_details.h"

#include "emitter_state.h"

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
    EmitterState* const thread = EmitterState::Current();
    return AllocateRecord(thread ? &thread->spare : nullptr, size);
}

void* DebugMessageDetails::operator new(size_t size, const std::nothrow_t& nothrow) noexcept
{
    return ::operator new(size, nothrow);
}

void DebugMessageDetails::operator delete(void* memory) noexcept
{
    const EmitterState* const thread = EmitterState::Existing();
    if (thread && thread->is_collector)
        ReturnRecord(memory);
    else
        ::operator delete(memory);
}

void DebugMessageDetails::operator delete(void* memory, const std::nothrow_t&) noexcept
{
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
