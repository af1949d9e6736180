// Configures outputs when one QCoreApplication is gone and the next is not there yet, and prints
// the masks that modules have after the stop: FOLDER/ MODULE-COUNT.

#include "thread_state.h"

#include <cstdio>
#include <memory>
#include <vector>

using namespace LifecycleHost;

namespace {

typedef std::unique_ptr<Zol::DebugModule> ModulePointer;

QString folder;

QString Address(const char* name)
{
    return QLatin1String("file:") + folder + QLatin1String(name);
}

void Configure(const char* output, const char* module, int mask)
{
    Zol::DbgCollector::CollectCfgMsg(Address(output), QLatin1String(module),
                                     static_cast<Zol::DebugLevel>(mask));
}

int MaskOf(const Zol::DebugModule& module)
{
    int mask = 0;
    for (int bit = 1; bit <= Zol::DBG_FATAL; bit *= 2) {
        if (!module.LvlDisabled(static_cast<Zol::DebugLevel>(bit)))
            mask |= bit;
    }
    return mask;
}

} // namespace

int main(int argc, char** argv)
{
    folder = Argument(argc, argv, 1);
    const int count = Argument(argc, argv, 2).toInt();
    const Zol::DebugModule a(QLatin1String("a"));
    const Zol::DebugModule b(QLatin1String("b"));
    std::vector<ModulePointer> modules;

    std::unique_ptr<QCoreApplication> app(new QCoreApplication(argc, argv));
    Configure("first", "*", 1);
    Configure("third", "*", 32);
    Zol::DbgCollector::Start();
    AwaitLog(folder + QLatin1String("third"));
    AwaitLasting(OtherThreadsSleep);
    app.reset();

    // Each step tells what came before it: "*" overwrites, and an output that is made again is new.
    Configure("second", "a", 32);
    Configure("second", "*", 8);
    Configure("second", "a", 2);
    for (int i = 0; i < count; ++i)
        modules.push_back(ModulePointer(new Zol::DebugModule(QLatin1String("between"))));
    Zol::DbgCollector::RemoveDebugInterface(Address("third"));
    Configure("third", "*", 16);
    Configure("first", "*", 4);
    AwaitLasting(OtherThreadsSleep); // without an application Qt drops what it delivers

    app.reset(new QCoreApplication(argc, argv));
    Configure("fourth", "*", 0);
    if (!StopPromptly())
        return 4;
    std::printf("a %d\nb %d\n", MaskOf(a), MaskOf(b));
    for (const ModulePointer& module : modules)
        std::printf("between %d\n", MaskOf(*module));
    return 0;
}
