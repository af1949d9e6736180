// Ends with a fatal message of Qt: PATH of the log.

#include "debug.h"

#include <zoldebug/qt_messages.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QStringList>

#include <sys/resource.h>

int main(int argc, char** argv)
{
    const rlimit no_core = {0, 0};
    setrlimit(RLIMIT_CORE, &no_core);

    QCoreApplication application(argc, argv);
    if (argc != 2)
        return 99;
    Zol::DbgCollector::ParseDebugServerOptions(
        QStringList() << QLatin1String("file:") + QString::fromLocal8Bit(argv[1]));
    const Zol::CollectorScope logging;
    const Zol::QtMessages messages;
    qFatal("the last words");
}
