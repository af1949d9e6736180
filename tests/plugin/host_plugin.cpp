#include "debug.h"
#include "plugin.h"

#include <QtCore/QCoreApplication>

#include <iostream>

namespace {

Zol::DebugModule host_module(QLatin1String("host module"));

} // namespace

/** Logs to the output that a shared library of its own brought, and prints what arrived there. */
int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    if (!Zol::DbgCollector::ParseDebugServerOptions(
            QStringList() << QLatin1String("plugin:server:option") << QLatin1String("*=2")))
        return 1;
    {
        const Zol::CollectorScope collector;
        ZOL_INFO(host_module) << "from the host";
        Plugin::LogForPlugin();
        ZOL_WARN(host_module) << "suppressed by the output";
    }
    for (const QString& line : Plugin::Lines())
        std::cout << line.toLatin1().constData() << '\n';
    return 0;
}
