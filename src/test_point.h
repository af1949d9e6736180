#ifndef ZOLDEBUG_TEST_POINT_H
#define ZOLDEBUG_TEST_POINT_H

/*
 * Places at which a test can hold a thread, to make a race go the way that it seldom goes.
 * They exist only in the library that the tests of races are linked with.
 */

#ifdef ZOLDEBUG_TEST_POINTS

#include "zoldebug_export.h"

namespace Zol {

/** The function that is called, on whatever thread gets there, with the name of each point. */
ZOLDEBUG_EXPORT extern void (*test_point_handler)(const char* name);

} // namespace Zol

#define ZOLDEBUG_TEST_POINT(name)                                                                  \
    do {                                                                                           \
        if (::Zol::test_point_handler)                                                             \
            ::Zol::test_point_handler(name);                                                       \
    } while (false)

#else

#define ZOLDEBUG_TEST_POINT(name) static_cast<void>(0)

#endif

#endif
