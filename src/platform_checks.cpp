// What the library takes for granted of the machine, the compiler and Qt: a port on which it does
// not hold fails here, and not in a log.

#include "dbg_utils.h"

#include <QtCore/QChar>

#include <time.h>

#include <atomic>
#include <climits>
#include <type_traits>

namespace Zol {

static_assert(CHAR_BIT == 8, "logs are made of octets");
static_assert(sizeof(int) == 4, "masks, lines and recorded durations have 32 bits");
static_assert(sizeof(long long) == 8, "sums of nanoseconds need 64 bits");
static_assert(static_cast<int>(0x80000000U) < 0, "long durations wrap in two's complement");
static_assert(sizeof(QChar) == 2, "text is kept, and files are ordered, in UTF-16");

static_assert(sizeof(DebugLevel) == 4, "a mask is a 32-bit word");
static_assert(sizeof(std::atomic<DebugLevel>) == sizeof(DebugLevel), "a mask is a plain word");
// On old ARM they are lock-free with the help of the kernel, which the compiler does not promise.
static_assert(ATOMIC_INT_LOCK_FREE != 0, "reading a mask takes no lock");
static_assert(ATOMIC_BOOL_LOCK_FREE != 0, "asking whether something is to be done takes no lock");
static_assert(ATOMIC_POINTER_LOCK_FREE != 0, "asking who does it takes no lock");

typedef decltype(timespec::tv_sec) Seconds;
typedef decltype(timespec::tv_nsec) Nanoseconds;
static_assert(std::is_integral<Seconds>::value && std::is_signed<Seconds>::value,
              "differences of seconds may be negative");
static_assert(sizeof(Seconds) >= 4, "the seconds since the start of the machine fit");
static_assert(std::is_signed<Nanoseconds>::value, "differences of nanoseconds may be negative");
static_assert(sizeof(Nanoseconds) >= 4, "a second's nanoseconds fit");

} // namespace Zol
