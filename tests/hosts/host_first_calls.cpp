// Makes the very first call of the library on eight threads at once: MODE PATH.

#include "lifecycle_host.h"

#include <atomic>
#include <vector>

using namespace LifecycleHost;

namespace {

const int thread_count = 8;

void LogFrom(int thread)
{
    Zol::DBG_OBJ(QLatin1String("host"), __FILE__, __LINE__, Q_FUNC_INFO, Zol::DBG_INFO).Dbg()
        << thread;
}

void FirstCall(const QString& mode, const QString& path, int thread)
{
    if (mode == QLatin1String("start")) {
        WriteTo(path);
        Zol::DbgCollector::Start();
    } else if (mode == QLatin1String("start only")) {
        Zol::DbgCollector::Start();
        return;
    } else if (mode == QLatin1String("mixed")) {
        switch (thread % 4) {
        case 0:
            Zol::DebugModule(QLatin1String("short-lived"));
            break;
        case 1:
            WriteTo(path);
            break;
        case 2:
            Zol::DbgCollector::RemoveDebugInterface(QLatin1String("file:none"));
            break;
        default:
            Zol::DbgUtils::QSToDbgLvl(QLatin1String("DBG_INFO"));
            break;
        }
    }
    LogFrom(thread);
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const QString mode = Argument(argc, argv, 1);
    const QString path = Argument(argc, argv, 2);
    std::atomic<int> arrived(0);
    std::vector<std::thread> threads;
    for (int i = 0; i < thread_count; ++i) {
        threads.emplace_back([&arrived, &mode, &path, i] {
            ++arrived;
            while (arrived < thread_count) {
            }
            FirstCall(mode, path, i);
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    WriteTo(path);
    Zol::DbgCollector::Start();
    Zol::DbgCollector::Stop();
    return 0;
}
