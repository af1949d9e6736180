// Logs on two threads until its standard input ends: ADDRESS PID_FILE. Each message is the number
// of its thread and its own, in which those do not count that were disabled; the standard output
// tells how many there were on each thread.

#include "debug.h"
#include "pause_signals.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QStringList>

#include <atomic>
#include <chrono>
#include <thread>

#include <stdio.h>
#include <unistd.h>

namespace {

Zol::DebugModule module(QLatin1String("host"));
std::atomic<bool> goes_on(true);

void Log(int thread, int* count)
{
    while (goes_on) {
        const QString padding(*count % 400, QLatin1Char('.'));
        ZOL_INFO(module) << thread << ' ' << (*count)++ << ' ' << padding;
        std::this_thread::sleep_for(std::chrono::microseconds(500));
    }
}

bool WritePid(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(QByteArray::number(getpid())) > 0;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    const PauseSignals pause_signals;
    if (!WritePid(application.arguments().value(2)))
        return 2;
    Zol::DbgCollector::ParseDebugServerOptions(QStringList() << application.arguments().value(1)
                                                             << QLatin1String("*=0x7fffffff"));
    Zol::DbgCollector::Start();
    puts("ready");
    fflush(stdout);

    int counts[2] = {0, 0};
    std::thread first(Log, 0, &counts[0]);
    std::thread second(Log, 1, &counts[1]);
    while (getchar() != EOF)
        continue;
    goes_on = false;
    first.join();
    second.join();
    Zol::DbgCollector::Stop();
    printf("%d %d\n", counts[0], counts[1]);
    return 0;
}
