#include "dbg_collector.h"
#include "probe.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QStringList>

/**
 * Carries out its arguments, then starts and stops the collector: "list" with an option list whose
 * elements are separated by "|", or "remove" with an address.
 */
int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    // Naming the probe has its protocol linked in.
    ZolTest::Probe::Get(QLatin1String("a"));
    const QStringList arguments = application.arguments().mid(1);
    for (int i = 0; i + 1 < arguments.size(); i += 2) {
        const QString& argument = arguments.at(i + 1);
        if (arguments.at(i) == QLatin1String("list"))
            Zol::DbgCollector::ParseDebugServerOptions(argument.split(QLatin1Char('|')));
        else
            Zol::DbgCollector::RemoveDebugInterface(argument);
    }
    Zol::DbgCollector::Start();
    Zol::DbgCollector::Stop();
    return 0;
}
