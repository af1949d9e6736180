#ifndef ZOLDEBUG_EMITTER_STATE_H
#define ZOLDEBUG_EMITTER_STATE_H

#include "current_time.h"
#include "literal_text.h"
#include "spare_memory.h"

namespace Zol {

/**
 * What a thread keeps of its messages for the next ones. All in one place, as each look for what is
 * a thread's own costs a call.
 */
struct EmitterState
{
    /** That of this thread, made if there is none; null without the memory for it. */
    static EmitterState* Current();

    /** That of this thread; null if there is none. */
    static EmitterState* Existing();

    EmitterState();

    TimeOfThread time;
    TextsOfThread texts;
    SpareMemory spare;
    int last_size;     ///< of a message, in characters
    bool is_collector; ///< whether this is the collector's thread

private:
    Q_DISABLE_COPY(EmitterState)
};

} // namespace Zol

#endif
