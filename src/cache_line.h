#ifndef ZOLDEBUG_CACHE_LINE_H
#define ZOLDEBUG_CACHE_LINE_H

#include <stddef.h>
#include <stdint.h>

namespace Zol {

const size_t cache_line = 64; // bytes, of most processors

/** Keeps apart what different threads write; they would take turns with a line of the cache. */
struct CacheLineGap
{
    char unused[cache_line];
};

/** Has the processor fetch @p size bytes from @p begin on, which will be needed soon. */
inline void Fetch(const void* begin, size_t size)
{
    const char* const bytes = static_cast<const char*>(begin);
    const size_t before = reinterpret_cast<uintptr_t>(begin) % cache_line;
    for (size_t i = 0; i < before + size; i += cache_line)
        __builtin_prefetch(bytes + i, 1); // in any line, it does not matter where
}

} // namespace Zol

#endif
