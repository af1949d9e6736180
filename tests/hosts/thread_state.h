#ifndef ZOLDEBUG_TESTS_THREAD_STATE_H
#define ZOLDEBUG_TESTS_THREAD_STATE_H

#include "lifecycle_host.h"
#include "log_record.h"

#include <QtCore/QByteArray>
#include <QtCore/QDir>

#include <functional>

#include <unistd.h>

namespace LifecycleHost {

/** Whether a thread of this process waits for something. */
inline bool Sleeps(const QByteArray& thread_id)
{
    const QByteArray stat = ZolTest::ReadFile("/proc/self/task/" + thread_id + "/stat");
    return stat.mid(static_cast<int>(stat.lastIndexOf(')')) + 2, 1) == "S";
}

inline bool MainThreadSleeps()
{
    return Sleeps(QByteArray::number(static_cast<int>(getpid())));
}

/** Whether every thread but the main one waits. */
inline bool OtherThreadsSleep()
{
    const QByteArray main_thread = QByteArray::number(static_cast<int>(getpid()));
    const QStringList threads =
        QDir(QLatin1String("/proc/self/task")).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString& thread : threads) {
        if (thread.toLatin1() != main_thread && !Sleeps(thread.toLatin1()))
            return false;
    }
    return true;
}

/** Waits until @p condition has held for a while. */
inline void AwaitLasting(const std::function<bool()>& condition)
{
    QElapsedTimer timer;
    timer.start();
    for (int times = 0; times < 30 && timer.elapsed() < ZolTest::WaitBound(); Delay(1000))
        times = condition() ? times + 1 : 0;
}

} // namespace LifecycleHost

#endif
