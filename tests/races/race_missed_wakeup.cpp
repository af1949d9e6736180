// Start() comes and goes just before the collector's thread begins to wait for it.

#include "race.h"

#include <QtCore/QCoreApplication>

namespace {

QSemaphore started;

void Hold(const char* name)
{
    if (Is(name, "before start wait"))
        started.acquire();
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    Zol::test_point_handler = Hold;
    LogToFile();
    Zol::DbgCollector::Start();
    started.release();
    const Zol::DebugModule module(QLatin1String("host"));
    ZOL_ERROR(module) << "logged after the start";
    // A stop would wake the thread as well, so the record has to come before it.
    Require(AwaitLog("<b>logged after the start</b>"), "the host's record is missing");
    Zol::DbgCollector::Stop();
    RemoveLog();
    return 0;
}
