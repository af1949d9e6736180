// Logs text beyond ASCII, with modules and factories from before the locale is set: MODE PATH.

#include "concrete_debug_interface_factory.h"
#include "dbg_server_interface.h"
#include "lifecycle_host.h"

using namespace LifecycleHost;

namespace {

Zol::DebugModule module(QLatin1String("host"));

class NoOutput : public Zol::DbgServerInterface
{
public:
    NoOutput(const QString& server, const QString& option)
        : DbgServerInterface(server, option)
    {
    }
};

Zol::ConcreteDebugInterfaceFactory<NoOutput> factory(QLatin1String("none"));

} // namespace

int main(int argc, char** argv)
{
    const QString mode = Argument(argc, argv, 1);
    const QString path = Argument(argc, argv, 2);
    if (mode == QLatin1String("early")) {
        WriteTo(path);
        Zol::DbgCollector::Start();
    }
    QCoreApplication app(argc, argv);
    if (mode == QLatin1String("late")) {
        WriteTo(path);
        Zol::DbgCollector::Start();
    }
    ZOL_INFO(module) << QString::fromUtf8("Gr\xc3\xbc\xc3\x9f"
                                          "e, \xe6\x97\xa5\xe6\x9c\xac");
    Zol::DbgCollector::Stop();
    return 0;
}
