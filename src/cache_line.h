#ifndef ZOLDEBUG_CACHE_LINE_H
#define ZOLDEBUG_CACHE_LINE_H

#include <stddef.h>

namespace Zol {

const size_t cache_line = 64; // bytes, of most processors

/** Keeps apart what different threads write; they would take turns with a line of the cache. */
struct CacheLineGap
{
    char unused[cache_line];
};

/** Has the processor fetch @p size bytes from @p begin on, which will be written soon. */
inline void FetchForWriting(const void* begin, size_t size)
{
    const char* const bytes = static_cast<const char*>(begin);
    for (size_t i = 0; i < size; i += cache_line)
        __builtin_prefetch(bytes + i, 1);
}

} // namespace Zol

#endif
