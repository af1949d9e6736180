#ifndef ZOLDEBUG_TESTS_MODULE_MASKS_H
#define ZOLDEBUG_TESTS_MODULE_MASKS_H

#include "dbg_module.h"
#include "wait.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QList>
#include <QtCore/QString>
#include <QtTest/QtTest>

namespace ZolTest {

/** The mask of a module as the levels that it lets pass tell it. */
inline int MaskOf(const Zol::DebugModule& module)
{
    int mask = 0;
    for (int bit = 0; bit < 31; ++bit) {
        if (!module.LvlDisabled(static_cast<Zol::DebugLevel>(1 << bit)))
            mask |= 1 << bit;
    }
    return mask;
}

/**
 * Waits until the running collector has handled every configuration and registration that this
 * thread handed over so far; false if that takes longer than WaitBound(). For one thread only.
 */
inline bool Settle()
{
    // A module without a name is silenced when its registration is handled, which is after all of
    // them, and changes the mask of no module with a name. It lives on, lest the next one at its
    // address be silenced in its place.
    static QList<Zol::DebugModule*>& barriers = *new QList<Zol::DebugModule*>;
    barriers.append(new Zol::DebugModule(QString()));
    const Zol::DebugModule& barrier = *barriers.last();
    QElapsedTimer timer;
    timer.start();
    while (!barrier.LvlDisabled(Zol::DBG_FATAL)) {
        if (timer.elapsed() > WaitBound())
            return false;
        QTest::qSleep(1);
    }
    return true;
}

/** The mask of a module after Settle(), -1 if that failed. */
inline int SettledMask(const Zol::DebugModule& module)
{
    return Settle() ? MaskOf(module) : -1;
}

} // namespace ZolTest

#endif
