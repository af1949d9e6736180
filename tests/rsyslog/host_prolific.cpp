// Logs many records, as fast as it can: PATH NAME COUNT. Every hundredth has two lines, and one is
// long.

#include "debug.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QStringList>

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    if (argc != 4)
        return 99;
    const Zol::DebugModule module(QString::fromLocal8Bit(argv[2]));
    Zol::DbgCollector::ParseDebugServerOptions(
        QStringList() << QLatin1String("file:") + QString::fromLocal8Bit(argv[1])
                      << QLatin1String("*=+DBG_INFO") << QLatin1String("DBG=0"));
    const Zol::CollectorScope logging;

    const int count = QByteArray(argv[3]).toInt();
    for (int i = 1; i <= count; ++i)
        ZOL_INFO(module) << "record " << i << (i % 100 ? " of '" : " of\n'") << count << "' <&>";
    ZOL_INFO(module) << QString(20000, QLatin1Char('x'));
    return 0;
}
