// Loads a component with a static module, lets it log, and closes it before the collector comes to
// it: COMPONENT [TIMES].

#include "component.h"
#include "log_record.h"
#include "probe.h"
#include "robustness.h"
#include "wait.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QSemaphore>
#include <QtCore/QStringList>

#include <dlfcn.h>

using namespace Robustness;
using ZolTest::Probe;

namespace {

const char* const program = "robust_component";
const int texts_each_time = 3;

QSemaphore held;
QSemaphore may_go_on;

/** Holds the collector's thread while it writes a record of the module "hold". */
void HoldThread(const QByteArray& bytes)
{
    if (!bytes.contains("m=\"hold\""))
        return;
    held.release();
    may_go_on.tryAcquire(1, ZolTest::WaitBound());
}

bool IsLoaded(const char* path)
{
    void* const library = dlopen(path, RTLD_NOW | RTLD_NOLOAD);
    if (library)
        dlclose(library);
    return library != nullptr;
}

/** Loads, uses and closes the component; false if it is not gone then. */
bool UseComponent(const char* path)
{
    void* const library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    if (!library)
        return false;
    const UseLibrary use = reinterpret_cast<UseLibrary>(dlsym(library, "UseZolDebug"));
    use();
    dlclose(library);
    return !IsLoaded(path);
}

/** The same while the collector is held, so that it finds all that was handed over afterwards. */
bool UseBehindTheCollector(const char* path, const Zol::DebugModule& hold)
{
    ZOL_ERROR(hold) << "now";
    const bool is_held = held.tryAcquire(1, ZolTest::WaitBound());
    const bool is_gone = UseComponent(path);
    may_go_on.release();
    return is_held && is_gone;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 2)
        return LifecycleHost::wrong_use;
    const int times = Count(argc, argv, 2, 200);
    QCoreApplication app(argc, argv);
    Probe& probe = Probe::Get(QLatin1String("w"));
    probe.SetOnWrite(HoldThread);
    const Zol::DebugModule hold(QLatin1String("hold"));
    Zol::DbgCollector::ParseDebugServerOptions(QStringList() << QLatin1String("probe:w"));
    int gone = UseComponent(argv[1]) ? 1 : 0; // before the start
    Zol::DbgCollector::Start();
    while (gone > 0 && gone < times && UseBehindTheCollector(argv[1], hold))
        ++gone;
    Zol::DbgCollector::Stop();
    const int written = static_cast<int>(probe.Messages("part").count("text"));
    const int expected = times * texts_each_time;
    return Report(
        program, gone == times && written == expected,
        "tried %d components, closed before they were handled %d, records written %d of %d", times,
        gone, written, expected);
}
