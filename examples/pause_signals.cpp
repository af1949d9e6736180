#include "pause_signals.h"

#include <zoldebug/debug.h>

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <string.h>
#include <unistd.h>

namespace {

int pipe_ends[2] = {-1, -1};

const char end_of_thread = 0;
const int signals[] = {SIGHUP, SIGUSR1, SIGUSR2};

void WriteToPipe(char byte)
{
    while (write(pipe_ends[1], &byte, 1) == -1 && errno == EINTR)
        continue;
}

// A signal comes at any moment, in which the thread that it interrupts may hold any lock. So the
// handler does no more than wake another thread.
void PassOn(int signal)
{
    const int saved_errno = errno;
    WriteToPipe(static_cast<char>(signal));
    errno = saved_errno;
}

sigset_t SignalSet()
{
    sigset_t set;
    sigemptyset(&set);
    for (const int signal : signals)
        sigaddset(&set, signal);
    return set;
}

void SetHandler(void (*handler)(int))
{
    struct sigaction action;
    memset(&action, 0, sizeof action);
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    // One handler must not interrupt another, or of two signals that wait the later is first.
    action.sa_mask = SignalSet();
    for (const int signal : signals)
        sigaction(signal, &action, 0);
}

} // namespace

PauseSignals::PauseSignals()
{
    if (pipe2(pipe_ends, O_CLOEXEC) != 0)
        return;
    SetHandler(PassOn);
    // Two threads could take two signals in either order, and the pause would come last.
    const sigset_t set = SignalSet();
    pthread_sigmask(SIG_BLOCK, &set, 0);
    start();
}

PauseSignals::~PauseSignals()
{
    if (!isRunning())
        return;
    SetHandler(SIG_IGN);
    WriteToPipe(end_of_thread);
    wait();
    // A handler may still be on its way, so the pipe stays.
}

void PauseSignals::run()
{
    const sigset_t set = SignalSet();
    pthread_sigmask(SIG_UNBLOCK, &set, 0);
    char byte = end_of_thread;
    for (;;) {
        const ssize_t size = read(pipe_ends[0], &byte, 1);
        if (size == -1 && errno == EINTR)
            continue;
        if (size != 1 || byte == end_of_thread)
            return;
        if (byte != SIGUSR2)
            Zol::DbgUtils::SignalLoggingPause();
        if (byte != SIGUSR1)
            Zol::DbgUtils::SignalLoggingResume();
    }
}
