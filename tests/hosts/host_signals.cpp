// Checks that signals are left to the threads of the host, but for those of a thread's own faults.

#include "concrete_debug_interface_factory.h"
#include "dbg_server_interface.h"
#include "lifecycle_host.h"

#include <signal.h>

using namespace LifecycleHost;

namespace {

// Made before main(), and so is the collector's thread.
const Zol::DebugModule module(QLatin1String("host"));

const int host_signals[] = {SIGHUP, SIGINT, SIGTERM, SIGUSR1, SIGUSR2, SIGCHLD, SIGALRM, SIGPIPE};
const int own_signals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP, SIGSYS, SIGPROF};

sigset_t PresentMask()
{
    sigset_t mask;
    pthread_sigmask(SIG_BLOCK, nullptr, &mask);
    return mask;
}

sigset_t collector_mask;

/** An output that looks at the thread that makes it. */
class MaskReader : public Zol::DbgServerInterface
{
public:
    MaskReader(const QString& server, const QString& option)
        : DbgServerInterface(server, option)
    {
        collector_mask = PresentMask();
    }
};

Zol::ConcreteDebugInterfaceFactory<MaskReader> factory(QLatin1String("mask_reader"));

template <size_t size>
int BlockedCount(const sigset_t& mask, const int (&signals)[size])
{
    int count = 0;
    for (const int signal : signals)
        count += sigismember(&mask, signal);
    return count;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    Zol::DbgCollector::ParseDebugServerOptions(QStringList() << QLatin1String("mask_reader:x")
                                                             << QLatin1String("*=0x7fffffff"));
    Zol::DbgCollector::Start();
    ZOL_INFO(module) << "look";
    Zol::DbgCollector::Stop();
    if (BlockedCount(PresentMask(), host_signals) != 0)
        return 1;
    if (BlockedCount(collector_mask, host_signals) != 8)
        return 2;
    return BlockedCount(collector_mask, own_signals) == 0 ? 0 : 3;
}
