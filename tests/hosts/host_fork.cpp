// Has children that use the library, too: MODE PATH END-OF-CHILDREN.

#include "lifecycle_host.h"

#include <atomic>
#include <vector>

#include <signal.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace LifecycleHost;

namespace {

const int child_failed = 10;
bool children_exit_at_once = false;
int child_bound = 0;

void LogRange(const Zol::DebugModule& module, int begin, int end)
{
    for (int i = begin; i < end; ++i)
        ZOL_INFO(module) << i;
}

/** Does what a child does whose parent already had a collector. */
int BeChild(const Zol::DebugModule& module)
{
    ZOL_FATAL(module) << "child";
    QElapsedTimer timer;
    timer.start();
    Zol::DbgCollector::Stop();
    const int result = timer.elapsed() < child_bound ? 0 : 4;
    if (children_exit_at_once)
        _exit(result);
    return result;
}

/** A child that begins from the start, as if it had no parent. */
int BeWholeHost(int argc, char** argv, const Zol::DebugModule& module, const QString& path)
{
    QCoreApplication app(argc, argv);
    WriteTo(path);
    Zol::DbgCollector::Start();
    return BeChild(module);
}

/** Whether a child ended by itself, in time and with success. */
bool Ends(pid_t child)
{
    QElapsedTimer timer;
    timer.start();
    int status = 0;
    while (waitpid(child, &status, WNOHANG) == 0) {
        if (timer.elapsed() > child_bound) {
            kill(child, SIGKILL);
            waitpid(child, &status, 0);
            return false;
        }
        Delay(500);
    }
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

/** A host like any other, with the numbers up to 100. */
int RunHost(int argc, char** argv, const Zol::DebugModule& module, const QString& path)
{
    QCoreApplication app(argc, argv);
    WriteTo(path);
    Zol::DbgCollector::Start();
    LogRange(module, 0, 100);
    Zol::DbgCollector::Stop();
    return 0;
}

/** Forks while the collector writes. */
int ForkStarted(int argc, char** argv, const QString& path)
{
    QCoreApplication app(argc, argv);
    const Zol::DebugModule module(QLatin1String("host"));
    WriteTo(path);
    Zol::DbgCollector::Start();
    for (int i = 0; i < 10; ++i) {
        LogRange(module, 300 * i, 300 * (i + 1));
        if (i % 2 == 0)
            AwaitLog(path);
        const pid_t child = fork();
        if (child == 0) {
            WriteTo(path + QLatin1String(".child"));
            Zol::DbgCollector::Start();
            return BeChild(module);
        }
        if (!Ends(child))
            return child_failed;
    }
    Zol::DbgCollector::Stop();
    return 0;
}

/** Forks before anything but a static module was there. */
int ForkWithStaticModule(int argc, char** argv, const QString& path)
{
    static Zol::DebugModule module(QLatin1String("host"));
    const pid_t child = fork();
    if (child == 0)
        return BeWholeHost(argc, argv, module, path + QLatin1String(".child"));
    return Ends(child) ? RunHost(argc, argv, module, path) : child_failed;
}

int ForkStopped(int argc, char** argv, const QString& path)
{
    const Zol::DebugModule module(QLatin1String("host"));
    const int result = RunHost(argc, argv, module, path);
    const pid_t child = fork();
    if (child == 0)
        return BeChild(module);
    return Ends(child) ? result : child_failed;
}

/** Forks before the first use, as a daemon does. */
int ForkUnused(int argc, char** argv, const QString& path)
{
    const pid_t child = fork();
    if (child != 0)
        return Ends(child) ? 0 : child_failed;
    const Zol::DebugModule module(QLatin1String("host"));
    return RunHost(argc, argv, module, path);
}

/** Forks again and again while other threads log. */
int ForkOften(int argc, char** argv, const QString& path)
{
    const int thread_count = 4;
    const int fork_count = 100;
    const int batch = 30;
    QCoreApplication app(argc, argv);
    const Zol::DebugModule module(QLatin1String("host"));
    WriteTo(path);
    Zol::DbgCollector::Start();

    std::atomic<int> batches(0);
    std::vector<std::thread> threads;
    for (int thread = 0; thread < thread_count; ++thread) {
        threads.emplace_back([&batches, &module, thread] {
            for (int i = 0; i < fork_count * batch; ++i) {
                while (i / batch >= batches)
                    std::this_thread::yield();
                ZOL_INFO(module) << thread << ':' << i;
            }
        });
    }
    bool right = true;
    for (int i = 0; i < fork_count; ++i) {
        ++batches;
        const pid_t child = right ? fork() : -1;
        if (child == 0)
            std::exit(BeChild(module));
        right = right && Ends(child);
    }
    for (std::thread& thread : threads)
        thread.join();
    Zol::DbgCollector::Stop();
    return right ? 0 : child_failed;
}

} // namespace

int main(int argc, char** argv)
{
    const QString mode = Argument(argc, argv, 1);
    const QString path = Argument(argc, argv, 2);
    // In a child, this could wait for Qt's lock of the environment, held by a thread of the parent.
    child_bound = ZolTest::WaitBound() / 6;
    children_exit_at_once = Argument(argc, argv, 3) == QLatin1String("_exit");
    if (mode == QLatin1String("started"))
        return ForkStarted(argc, argv, path);
    if (mode == QLatin1String("static module"))
        return ForkWithStaticModule(argc, argv, path);
    if (mode == QLatin1String("stopped"))
        return ForkStopped(argc, argv, path);
    if (mode == QLatin1String("unused"))
        return ForkUnused(argc, argv, path);
    if (mode == QLatin1String("often"))
        return ForkOften(argc, argv, path);
    return wrong_use;
}
