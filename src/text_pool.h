#ifndef ZOLDEBUG_TEXT_POOL_H
#define ZOLDEBUG_TEXT_POOL_H

#include <QtCore/QString>

namespace Zol {

/**
 * Texts that were written, for the memory that they have.
 *
 * What one thread allocates and another one frees makes both wait for each other in the allocator,
 * far longer than it takes to allocate. So the collector's thread frees few texts, and hands the
 * others back to those who log.
 */
class TextPool
{
public:
    /** An empty text, not a null one, perhaps with memory. Never waits. Any thread. */
    static QString Take();

    /** Takes the memory of a text that nobody needs any more. For one thread. */
    static void Add(QString& text);

    /** Hands over what was added. For the same thread. */
    static void HandOver();
};

} // namespace Zol

#endif
