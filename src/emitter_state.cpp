#include "emitter_state.h"

#include <pthread.h>

#include <new>

namespace Zol {

namespace {

thread_local EmitterState* current = nullptr;

/** Called at the end of a thread, and again if its other destructors have logged since. */
void Destroy(void* state)
{
    current = nullptr; // what frees memory may log
    delete static_cast<EmitterState*>(state);
}

/**
 * A key rather than a destructor of the thread's own object: messages that come after all those are
 * destroyed would leave theirs behind.
 */
struct Key
{
    Key()
        : is_valid(pthread_key_create(&key, Destroy) == 0)
    {
    }

    pthread_key_t key;
    const bool is_valid;
};

EmitterState* MakeCurrent()
{
    static const Key& key = *new Key;
    if (!key.is_valid)
        return nullptr;
    EmitterState* const state = new (std::nothrow) EmitterState;
    if (pthread_setspecific(key.key, state) == 0)
        current = state;
    else
        delete state;
    return current;
}

} // namespace

EmitterState* EmitterState::Current()
{
    return current ? current : MakeCurrent();
}

EmitterState* EmitterState::Existing()
{
    return current;
}

EmitterState::EmitterState()
    : last_size(0)
    , is_collector(false)
{
}

} // namespace Zol
