/*
 * Tells helgrind that what a thread did before it released a QSemaphore comes before what another
 * does once it has acquired it. Qt 5 makes its semaphores of atomic words, of which helgrind sees
 * no such thing. To be loaded before Qt, whose functions it stands in front of.
 */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <stdbool.h>
#include <valgrind/helgrind.h>

/* The names of the functions as the compiler mangles them. */
void _ZN10QSemaphore7acquireEi(void* semaphore, int n);
bool _ZN10QSemaphore10tryAcquireEi(void* semaphore, int n);
bool _ZN10QSemaphore10tryAcquireEii(void* semaphore, int n, int timeout);
void _ZN10QSemaphore7releaseEi(void* semaphore, int n);

#define FUNCTION_OF_QT(type) ((type)dlsym(RTLD_NEXT, __func__))

void _ZN10QSemaphore7acquireEi(void* semaphore, int n)
{
    FUNCTION_OF_QT(void (*)(void*, int))(semaphore, n);
    ANNOTATE_HAPPENS_AFTER(semaphore);
}

bool _ZN10QSemaphore10tryAcquireEi(void* semaphore, int n)
{
    const bool acquired = FUNCTION_OF_QT(bool (*)(void*, int))(semaphore, n);
    if (acquired)
        ANNOTATE_HAPPENS_AFTER(semaphore);
    return acquired;
}

bool _ZN10QSemaphore10tryAcquireEii(void* semaphore, int n, int timeout)
{
    const bool acquired = FUNCTION_OF_QT(bool (*)(void*, int, int))(semaphore, n, timeout);
    if (acquired)
        ANNOTATE_HAPPENS_AFTER(semaphore);
    return acquired;
}

void _ZN10QSemaphore7releaseEi(void* semaphore, int n)
{
    ANNOTATE_HAPPENS_BEFORE(semaphore);
    FUNCTION_OF_QT(void (*)(void*, int))(semaphore, n);
}
