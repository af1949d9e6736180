#ifndef ZOLDEBUG_TESTS_LIFECYCLE_HOST_H
#define ZOLDEBUG_TESTS_LIFECYCLE_HOST_H

#include "debug.h"
#include "wait.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QElapsedTimer>
#include <QtCore/QFileInfo>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <chrono>
#include <cstdlib>
#include <thread>

namespace LifecycleHost {

const int wrong_use = 99;

/** An argument of main(), which may be needed before Qt knows the locale. */
inline QString Argument(int argc, char** argv, int index)
{
    if (index >= argc)
        std::exit(wrong_use);
    return QString::fromUtf8(argv[index]);
}

/** Asks for a log file that takes everything. */
inline void WriteTo(const QString& path)
{
    Zol::DbgCollector::ParseDebugServerOptions(QStringList() << QLatin1String("file:") + path
                                                             << QLatin1String("*=0x7fffffff"));
}

inline void Delay(int microseconds)
{
    if (microseconds > 0)
        std::this_thread::sleep_for(std::chrono::microseconds(microseconds));
}

/** Waits until something is in the log file. */
inline void AwaitLog(const QString& path)
{
    QElapsedTimer timer;
    timer.start();
    while (QFileInfo(path).size() == 0 && timer.elapsed() < ZolTest::WaitBound())
        Delay(1000);
}

inline void LogNumbers(const Zol::DebugModule& module, int count)
{
    for (int i = 0; i < count; ++i)
        ZOL_INFO(module) << i;
}

/** Stops the collector and tells whether that was well below the time that a stop may wait. */
inline bool StopPromptly()
{
    QElapsedTimer timer;
    timer.start();
    Zol::DbgCollector::Stop();
    return timer.elapsed() < ZolTest::WaitBound() / 12; // five seconds, as a rule
}

} // namespace LifecycleHost

#endif
