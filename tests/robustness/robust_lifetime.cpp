// Builds and destroys modules on many threads, before and after the start, while configuration,
// removal and pauses fly: [MODULES].

#include "lifecycle_host.h"
#include "module_place.h"
#include "robustness.h"
#include "temp_dir.h"

#include <atomic>
#include <memory>
#include <vector>

using namespace LifecycleHost;
using namespace Robustness;

namespace {

const char* const program = "robust_lifetime";
const char* const ids[] = {"a", "b", "c", "d"};
const int id_count = 4;
const int thread_count = 8;

/** What the threads count. */
struct Figures
{
    std::atomic<int> built;
    std::atomic<int> touched_when_dead;
    std::atomic<int> storms; // configuration, removal and pause events
};

/** Builds one module, in one of three places, and destroys it. */
void UseModule(int number, ZolTest::ModulePlace& place, Figures& figures)
{
    const char* const id = ids[number % id_count];
    if (number % 3 == 0) {
        const std::unique_ptr<Zol::DebugModule> module(new Zol::DebugModule(QLatin1String(id)));
        ZOL_ERROR(*module) << "on the heap";
    } else if (number % 3 == 1) {
        const Zol::DebugModule module((QLatin1String(id)));
        std::this_thread::yield();
    } else {
        place.Destroy(place.Build(id));
        std::this_thread::yield();
        figures.touched_when_dead += place.Untouched() ? 0 : 1;
    }
    ++figures.built;
}

void UseModules(int count, Figures& figures)
{
    ZolTest::ModulePlace place;
    for (int i = 0; i < count; ++i)
        UseModule(i, place, figures);
}

/** One event of each kind that reaches all modules or outputs. */
void Storm(const QString& path, int number)
{
    const QString output = QLatin1String("file:") + path;
    Zol::DbgCollector::CollectCfgMsg(output, QLatin1String(ids[number % id_count]), Zol::DBG_ERROR);
    Zol::DbgUtils::SignalLoggingPause();
    Zol::DbgUtils::SignalLogFreeStatus(number % 2 == 0);
    Zol::DbgCollector::CollectCfgMsg(output, QLatin1String("*"), Zol::DBG_FATAL);
    Zol::DbgUtils::SignalLoggingResume();
    Zol::DbgCollector::RemoveDebugInterface(output);
}

/** Uses modules on all threads while a storm goes on, which grows with their number. */
void UseModulesInAStorm(int count, const QString& path, Figures& figures)
{
    const int built_before = figures.built;
    std::vector<std::thread> threads;
    for (int i = 0; i < thread_count; ++i)
        threads.emplace_back([count, &figures] { UseModules(count / thread_count, figures); });
    for (int i = 0; i < count / 100; ++i) {
        while (figures.built - built_before < i * 99)
            std::this_thread::yield();
        Storm(path, i);
        ++figures.storms;
    }
    for (std::thread& thread : threads)
        thread.join();
}

int WrongMasks(const std::vector<std::unique_ptr<Zol::DebugModule>>& modules)
{
    int wrong = 0;
    for (const std::unique_ptr<Zol::DebugModule>& module : modules)
        wrong += module->LvlDisabled(Zol::DBG_JITTER) || !module->LvlDisabled(Zol::DBG_INFO);
    return wrong;
}

} // namespace

int main(int argc, char** argv)
{
    const int count = Count(argc, argv, 1, 100000);
    const ZolTest::TempDir dir;
    Figures figures;
    figures.built = 0;
    figures.touched_when_dead = 0;
    figures.storms = 0;
    std::vector<std::unique_ptr<Zol::DebugModule>> survivors; // modules that live through it all
    for (const char* id : ids)
        survivors.emplace_back(new Zol::DebugModule(QLatin1String(id)));

    UseModulesInAStorm(count / 2, dir.Path("log"), figures);
    QCoreApplication app(argc, argv);
    Zol::DbgCollector::Start();
    UseModulesInAStorm(count / 2, dir.Path("log"), figures);
    Zol::DbgUtils::SignalLogFreeStatus(true);
    Zol::DbgCollector::CollectCfgMsg(QLatin1String("file:") + dir.Path("log"), QLatin1String("*"),
                                     Zol::DBG_JITTER);
    Zol::DbgCollector::Stop();
    // On a busy machine the events may take longer than a stop waits.
    Await([&survivors] { return WrongMasks(survivors) == 0; });
    const int wrong_masks = WrongMasks(survivors);
    return Report(program, figures.touched_when_dead == 0 && wrong_masks == 0,
                  "tried %d modules on %d threads through %d storms, touched when dead %d, "
                  "wrong masks at the end %d of %d",
                  figures.built.load(), thread_count, figures.storms.load(),
                  figures.touched_when_dead.load(), wrong_masks, id_count);
}
