// Stops a collector with a backlog while other processes keep all cores busy: [RECORDS [compare]].
// With "compare" also one whose thread has to stay idle, which takes the ten seconds of a stop.

#include "host_process.h"
#include "lifecycle_host.h"
#include "log_record.h"
#include "robustness.h"
#include "temp_dir.h"

#include <cstring>
#include <vector>

#include <dlfcn.h>
#include <pthread.h>
#include <sched.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace LifecycleHost;
using namespace Robustness;

namespace {

const char* const program = "robust_starvation";
bool stays_idle = false;

/** Whether this process may take a thread out of the idle class again. */
bool MayStopBeingIdle()
{
    bool may = false;
    std::thread thread([&may] {
        sched_param parameters = sched_param();
        pthread_setschedparam(pthread_self(), SCHED_IDLE, &parameters);
        may = pthread_setschedparam(pthread_self(), SCHED_OTHER, &parameters) == 0;
    });
    thread.join();
    return may;
}

/** Processes that want all cores, two for each. */
class BusyProcesses
{
public:
    BusyProcesses()
    {
        const unsigned int count = 2 * std::thread::hardware_concurrency();
        for (unsigned int i = 0; i < count; ++i) {
            const pid_t child = fork();
            if (child == 0)
                BeBusy();
            m_children.push_back(child);
        }
    }

    ~BusyProcesses()
    {
        for (const pid_t child : m_children) {
            kill(child, SIGKILL);
            waitpid(child, nullptr, 0);
        }
    }

    int Size() const { return static_cast<int>(m_children.size()); }

private:
    Q_DISABLE_COPY(BusyProcesses)

    static void BeBusy()
    {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        for (volatile unsigned int i = 0;;)
            i = i + 1;
    }

    std::vector<pid_t> m_children;
};

/** A host: "host" PATH RECORDS CLASS. Prints how many milliseconds its stop took. */
int BeHost(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    stays_idle = Argument(argc, argv, 4) == QLatin1String("idle");
    WriteTo(Argument(argc, argv, 2));
    const Zol::DebugModule module(QLatin1String("host"));
    Zol::DbgCollector::Start();
    LogRange(module, 0, Count(argc, argv, 3, 1));
    QElapsedTimer timer;
    timer.start();
    Zol::DbgCollector::Stop();
    std::printf("%d\n", static_cast<int>(timer.elapsed()));
    return 0;
}

struct Stop
{
    int written;
    int milliseconds;
};

Stop RunHostOf(const char* scheduling_class, int records)
{
    const ZolTest::TempDir dir;
    const QString path = dir.Path("log");
    const ZolTest::HostResult host =
        ZolTest::RunHost(QLatin1String(program), QStringList() << QLatin1String("host") << path
                                                               << QString::number(records)
                                                               << QLatin1String(scheduling_class));
    const Stop stop = {records - Missing(BytesOf(path), "host", 0, records),
                       host.standard_output.trimmed().split('\n').last().toInt()};
    return stop;
}

} // namespace

/** In front of the C library's, for a host that has to do without. */
extern "C" int pthread_setschedparam(pthread_t thread, int policy, const sched_param* parameters)
{
    typedef int (*Function)(pthread_t, int, const sched_param*);
    static const Function next =
        reinterpret_cast<Function>(dlsym(RTLD_NEXT, "pthread_setschedparam"));
    return stays_idle && policy == SCHED_OTHER ? EPERM : next(thread, policy, parameters);
}

int main(int argc, char** argv)
{
    if (argc > 1 && std::strcmp(argv[1], "host") == 0)
        return BeHost(argc, argv);
    const int records = Count(argc, argv, 1, 50000);
    if (!MayStopBeingIdle())
        return Skip(program, "this user may not take a thread out of the idle class");

    const BusyProcesses busy;
    const Stop hurried = RunHostOf("any", records);
    QByteArray comparison;
    if (argc > 2) {
        const Stop idle = RunHostOf("idle", records);
        comparison = ", kept idle " + QByteArray::number(idle.written) + " in " +
                     QByteArray::number(idle.milliseconds) + " ms";
    }
    return Report(program, hurried.written == records,
                  "%d busy processes on %u cores, records written by the stop %d of %d in %d ms%s",
                  busy.Size(), std::thread::hardware_concurrency(), hurried.written, records,
                  hurried.milliseconds, comparison.constData());
}
