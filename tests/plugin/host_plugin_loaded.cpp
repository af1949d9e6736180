#include "debug.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QLibrary>
#include <QtCore/QStringList>

#include <iostream>

/** Logs to a file and to the output of a plugin that it loads while it runs. */
int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = application.arguments();
    Zol::DebugModule host_module(QLatin1String("host module"));
    const Zol::CollectorScope collector;
    QLibrary library(arguments.at(1));
    if (!library.load()) {
        std::cerr << library.errorString().toLocal8Bit().constData() << '\n';
        return 1;
    }
    Zol::DbgCollector::ParseDebugServerOptions(
        QStringList() << QLatin1String("plugin:server:option") << QLatin1String("*=2"));
    Zol::DbgCollector::RemoveDebugInterface(QLatin1String("plugin:server"));
    return 0;
}
