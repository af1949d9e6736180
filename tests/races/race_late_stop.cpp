// Stop() without a start, and a start after it, both before the collector's thread begins to
// wait for a start: nothing may be written.

#include "race.h"

#include <QtCore/QCoreApplication>

namespace {

QSemaphore stop_posted;

void Hold(const char* name)
{
    if (Is(name, "before start wait"))
        stop_posted.acquire();
    else if (Is(name, "stop posted")) {
        Zol::DbgCollector::Start();
        stop_posted.release();
    }
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    Zol::test_point_handler = Hold;
    LogToFile();
    const Zol::DebugModule module(QLatin1String("host"));
    ZOL_ERROR(module) << "never written";
    Zol::DbgCollector::Stop();

    Require(Log().isEmpty(), "something was written");
    RemoveLog();
    return 0;
}
