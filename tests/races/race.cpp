#include "race.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QElapsedTimer>
#include <QtCore/QFile>
#include <QtCore/QStringList>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

namespace {

QString LogPath()
{
    static const QString path =
        QDir::tempPath() +
        QString::fromLatin1("/zoldebug-race-%1.log").arg(QCoreApplication::applicationPid());
    return path;
}

/** Longer where the tests are emulated. */
int WaitBound()
{
    const int factor = qgetenv("ZOLDEBUG_TEST_WAIT_FACTOR").toInt();
    return 20000 * qMax(1, factor);
}

} // namespace

void LogToFile()
{
    const QString output = QLatin1String("file:") + LogPath() + QLatin1String(":t");
    Zol::DbgCollector::ParseDebugServerOptions(QStringList() << output << QLatin1String("*=0x3f"));
}

QByteArray Log()
{
    QFile file(LogPath());
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool AwaitLog(const char* text)
{
    QElapsedTimer timer;
    timer.start();
    while (!Log().contains(text)) {
        if (timer.elapsed() > WaitBound())
            return false;
        usleep(1000);
    }
    return true;
}

void RemoveLog()
{
    QFile::remove(LogPath());
}

void Require(bool condition, const char* message)
{
    if (condition)
        return;
    fprintf(stderr, "FAILED: %s\n", message);
    _Exit(1);
}

bool Is(const char* name, const char* expected)
{
    return strcmp(name, expected) == 0;
}
