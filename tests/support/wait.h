#ifndef ZOLDEBUG_TESTS_WAIT_H
#define ZOLDEBUG_TESTS_WAIT_H

namespace ZolTest {

/**
 * How long a test waits for something that has to come, in milliseconds.
 *
 * The collector's thread runs at idle priority, so on a busy machine this is long; a test that
 * passes never waits for it. ZOLDEBUG_TEST_WAIT_FACTOR multiplies it where the tests are emulated.
 */
int WaitBound();

} // namespace ZolTest

#endif
