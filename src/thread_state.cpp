#include "thread_state.h"

namespace Zol {

namespace {

thread_local ThreadState* current = nullptr;
thread_local bool is_gone = false;

struct Owner
{
    Owner() { current = new ThreadState; }
    ~Owner()
    {
        is_gone = true;
        delete current;
        current = nullptr;
    }
};

ThreadState* MakeCurrent()
{
    static thread_local Owner owner;
    return current;
}

} // namespace

ThreadState* ThreadState::Current()
{
    return current || is_gone ? current : MakeCurrent();
}

ThreadState::ThreadState()
    : last_size(0)
    , is_collector(false)
{
}

} // namespace Zol
