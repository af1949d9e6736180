// Starts the collector before there is a QCoreApplication and never stops it:
// PATH MESSAGE-COUNT MICROSECONDS-BEFORE-THE-END.

#include "lifecycle_host.h"

using namespace LifecycleHost;

namespace {

Zol::DebugModule module(QLatin1String("host"));

} // namespace

int main(int argc, char** argv)
{
    WriteTo(Argument(argc, argv, 1));
    Zol::DbgCollector::Start();
    QCoreApplication app(argc, argv);
    LogNumbers(module, Argument(argc, argv, 2).toInt());
    Delay(Argument(argc, argv, 3).toInt());
    return 5;
}
