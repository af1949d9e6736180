#include "traced_host.h"

#include "dbg_func_trace.h"

#include <algorithm>
#include <chrono>
#include <new>
#include <string.h>
#include <thread>
#include <time.h>

namespace {

const size_t margin_size = 32;
const char margin_byte = 0x5a;

bool Call(const Zol::DebugModule& module, int milliseconds)
{
    alignas(Zol::DbgFuncTrace) char place[sizeof(Zol::DbgFuncTrace) + margin_size];
    memset(place, margin_byte, sizeof place);
    Zol::DbgFuncTrace* const trace =
        new (place) Zol::DbgFuncTrace(module, "host.cpp", 1, "Call()", true);
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
    trace->~DbgFuncTrace();
    const char* const end = place + sizeof place;
    return std::count(end - margin_size, end, margin_byte) == margin_size;
}

} // namespace

TracedHost ZOLDEBUG_TEST_HOST()
{
    return {sizeof(time_t), sizeof(Zol::DbgFuncTrace), Call};
}
