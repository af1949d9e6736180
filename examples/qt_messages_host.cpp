/* A host whose own messages are Qt's, and that has them logged: PATH of the log. */

#include <zoldebug/debug.h>
#include <zoldebug/qt_messages.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QDebug>
#include <QtCore/QLoggingCategory>
#include <QtCore/QStringList>

Q_LOGGING_CATEGORY(motor, "device.motor")

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    if (argc != 2)
        return 2;
    Zol::DbgCollector::ParseDebugServerOptions(
        QStringList() << QLatin1String("file:") + QString::fromLocal8Bit(argv[1])
                      << QLatin1String("*=+DBG_WARN") << QLatin1String("device.motor=+DBG_INFO")
                      << QLatin1String("DBG=0"));
    const Zol::CollectorScope logging;
    const Zol::QtMessages messages; // ends before the collector stops

    qWarning() << "no configuration, using defaults";
    qCInfo(motor) << "turning at" << 1500 << "rpm";
    qDebug() << "not wanted by any output";
    return 0;
}
