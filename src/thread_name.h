#ifndef ZOLDEBUG_THREAD_NAME_H
#define ZOLDEBUG_THREAD_NAME_H

#include <QtCore/QString>
#include <QtCore/QThread>

namespace Zol {

/** The name under which records of the current thread are logged. */
inline QString CurrentThreadName()
{
    const QThread* const cur_thread = QThread::currentThread();
    return cur_thread ? cur_thread->objectName() : QString(QLatin1String("unknown"));
}

} // namespace Zol

#endif
