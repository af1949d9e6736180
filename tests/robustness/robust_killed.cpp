// Kills hosts with SIGKILL while they log, and lets another host go on with their log: [KILLS].

#include "concrete_debug_interface_factory.h"
#include "lifecycle_host.h"
#include "log_record.h"
#include "robustness.h"
#include "temp_dir.h"

#include <atomic>

#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace LifecycleHost;
using namespace Robustness;

namespace {

const char* const program = "robust_killed";
const int restart_records = 10;

/** How many records the file has taken; shared with the host, so that it outlives it. */
std::atomic<int>* handed_over = nullptr;

/** An output that comes behind the file and counts what the file has. */
class CountingOutput : public Zol::DbgServerInterface
{
public:
    CountingOutput(const QString& server, const QString& option)
        : DbgServerInterface(server, option)
    {
        SetIODevice(new FunctionDevice(Note), true);
    }

private:
    static void Note(const char* data, qint64 size)
    {
        if (QByteArray::fromRawData(data, static_cast<int>(size)).contains("m=\"host\""))
            ++*handed_over;
    }
};

Zol::ConcreteDebugInterfaceFactory<CountingOutput> factory(QLatin1String("z-count"));

void BeSilent()
{
    const int null = open("/dev/null", O_WRONLY);
    dup2(null, STDOUT_FILENO);
}

/** Logs until it is killed, now and then a record of many pages, which a kill may cut. */
void LogForEver(const QString& path)
{
    BeSilent();
    int argc = 0;
    QCoreApplication app(argc, nullptr);
    WriteTo(path);
    Zol::DbgCollector::CollectCfgMsg(QLatin1String("z-count:x"), QLatin1String("*"), Zol::DBG_INFO);
    const Zol::DebugModule module(QLatin1String("host"));
    const QString filling = QString(100000, QLatin1Char('x'));
    Zol::DbgCollector::Start();
    for (int i = 0;; ++i) {
        ZOL_INFO(module) << i << (i % 5 ? QString() : QLatin1Char(' ') + filling);
        if (i - *handed_over > 200) // not to fill the memory
            Delay(100);
    }
}

void LogAgain(const QString& path)
{
    BeSilent();
    int argc = 0;
    QCoreApplication app(argc, nullptr);
    WriteTo(path);
    const Zol::DebugModule module(QLatin1String("next host"));
    Zol::DbgCollector::Start();
    LogRange(module, 0, restart_records);
    Zol::DbgCollector::Stop();
}

pid_t BeginChild(void (*log)(const QString&), const QString& path)
{
    const pid_t child = fork();
    if (child == 0) {
        log(path);
        _exit(0);
    }
    return child;
}

/** Kills a host in its first moments, or while it logs; false if it ended by itself. */
bool RunAndKill(const QString& path, Random& random)
{
    const pid_t child = BeginChild(LogForEver, path);
    const bool is_logging = random.Below(4) == 0 || Await([] { return *handed_over > 0; });
    Delay(1 + random.Below(30000));
    kill(child, SIGKILL);
    int status = 0;
    waitpid(child, &status, 0);
    return is_logging && WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
}

bool RunToTheEnd(const QString& path)
{
    int status = 0;
    waitpid(BeginChild(LogAgain, path), &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

struct Figures
{
    int records;
    int lost;
    int torn;
    int broken;
    int failed;
};

/** How many whole records the killed host left; broken if they are not the first ones in order. */
int WholeRecords(const QByteArray& log, Figures& figures)
{
    const QList<QByteArray> texts = ZolTest::MessagesOf(log, "host");
    for (int i = 0; i < texts.size(); ++i)
        figures.broken += texts.at(i).split(' ').first() == QByteArray::number(i) ? 0 : 1;
    return static_cast<int>(texts.size());
}

void KillOne(Random& random, Figures& figures)
{
    const ZolTest::TempDir dir;
    const QString path = dir.Path("log");
    *handed_over = 0;
    figures.failed += RunAndKill(path, random) ? 0 : 1;
    const QByteArray log = BytesOf(path);
    const int records = WholeRecords(log, figures);
    figures.records += records;
    figures.lost += qMax(0, *handed_over - records);
    const QByteArray lines = log.left(static_cast<int>(log.lastIndexOf('\n')) + 1);
    figures.broken += BrokenLines(lines);
    const bool is_torn = lines.size() < log.size();
    figures.torn += is_torn ? 1 : 0;

    // What the next host appends is whole; its restart marker ends a torn line.
    figures.failed += RunToTheEnd(path) ? 0 : 1;
    const QByteArray appended = BytesOf(path).mid(static_cast<int>(log.size()));
    figures.lost += Missing(appended, "next host", 0, restart_records);
    figures.broken += appended.startsWith("<DEBUG_SERVER_RESTART/>\n") ? 0 : 1;
    figures.broken += BrokenLines(appended);
}

} // namespace

int main(int argc, char** argv)
{
    const int kills = Count(argc, argv, 1, 50);
    handed_over = static_cast<std::atomic<int>*>(mmap(nullptr, sizeof(std::atomic<int>),
                                                      PROT_READ | PROT_WRITE,
                                                      MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    Random random;
    Figures figures = {0, 0, 0, 0, 0};
    for (int i = 0; i < kills; ++i)
        KillOne(random, figures);
    return Report(program, figures.failed + figures.lost + figures.broken == 0,
                  "tried %d kills, whole records %d, lost after the hand-over %d, torn last lines "
                  "%d, broken lines %d",
                  kills, figures.records, figures.lost, figures.torn, figures.broken);
}
