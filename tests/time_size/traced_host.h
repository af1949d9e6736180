#ifndef ZOLDEBUG_TESTS_TRACED_HOST_H
#define ZOLDEBUG_TESTS_TRACED_HOST_H

#include "dbg_module.h"

#include <stddef.h>

/** A host as one choice of time_t makes it. */
struct TracedHost
{
    size_t time_size;
    size_t guard_size;
    /** Traces a call of some milliseconds; whether what lies behind the guard is as it was. */
    bool (*call)(const Zol::DebugModule& module, int milliseconds);
};

TracedHost HostWith32BitTime();
TracedHost HostWith64BitTime();

#endif
