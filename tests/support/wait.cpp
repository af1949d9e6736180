#include "wait.h"

#include <QtCore/QByteArray>

namespace ZolTest {

int WaitBound()
{
    const int factor = qgetenv("ZOLDEBUG_TEST_WAIT_FACTOR").toInt();
    return 60000 * (factor > 0 ? factor : 1);
}

} // namespace ZolTest
