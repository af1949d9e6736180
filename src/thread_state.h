#ifndef ZOLDEBUG_THREAD_STATE_H
#define ZOLDEBUG_THREAD_STATE_H

#include "current_time.h"
#include "literal_text.h"
#include "spare_memory.h"

namespace Zol {

/**
 * What a thread keeps of its messages for the next ones. All in one place, as each look for what is
 * a thread's own costs a call.
 */
struct ThreadState
{
    /** That of this thread; null once it is gone, as destructors behind it may still log. */
    static ThreadState* Current();

    ThreadState();

    TimeOfThread time;
    TextsOfThread texts;
    SpareMemory spare;
    int last_size;     ///< of a message, in characters
    bool is_collector; ///< whether this is the collector's thread

private:
    Q_DISABLE_COPY(ThreadState)
};

} // namespace Zol

#endif
