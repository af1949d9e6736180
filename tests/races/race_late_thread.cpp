// A host starts, logs and stops before the collector's thread begins to wait for a start. The
// collector was started, so what was logged has to be written.

#include "race.h"

#include <QtCore/QCoreApplication>

namespace {

QSemaphore stop_posted;

void Hold(const char* name)
{
    if (Is(name, "before start wait"))
        stop_posted.acquire();
    else if (Is(name, "stop posted"))
        stop_posted.release();
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    Zol::test_point_handler = Hold;
    LogToFile();
    const Zol::DebugModule module(QLatin1String("host"));
    Zol::DbgCollector::Start();
    ZOL_ERROR(module) << "logged in between";
    Zol::DbgCollector::Stop();

    const QByteArray log = Log();
    Require(log.contains("<b>logged in between</b>"), "the host's record is missing");
    Require(log.contains("<b>Stopping !</b>"), "the record of the stop is missing");
    RemoveLog();
    return 0;
}
