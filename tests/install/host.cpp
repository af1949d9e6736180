// A host that knows the library only as it is installed, with an output of its own.
#include <zoldebug/concrete_debug_interface_factory.h>
#include <zoldebug/dbg_server_interface.h>
#include <zoldebug/debug.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QStringList>

#include <stdio.h>

namespace {

/** Writes records to standard output. */
class ConsoleOutput : public Zol::DbgServerInterface
{
public:
    ConsoleOutput(const QString& server, const QString& option)
        : DbgServerInterface(server, option)
    {
        QFile* const console = new QFile;
        console->open(stdout, QIODevice::WriteOnly);
        SetIODevice(console, true);
    }
};

Zol::ConcreteDebugInterfaceFactory<ConsoleOutput> console_factory(QLatin1String("console"));
Zol::DebugModule outside(QLatin1String("outside"));

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    Zol::DbgCollector::ParseDebugServerOptions(QStringList() << QLatin1String("console:stdout")
                                                             << QLatin1String("outside=+DBG_INFO"));
    Zol::CollectorScope logging;

    ZOL_TIME_SCOPE(outside);
    ZOL_INFO(outside) << "hello from " << argc << " argument";
    return 0;
}
