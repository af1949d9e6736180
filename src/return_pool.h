#ifndef ZOLDEBUG_RETURN_POOL_H
#define ZOLDEBUG_RETURN_POOL_H

#include "cache_line.h"

#include <QtCore/QMutex>

#include <atomic>
#include <utility>
#include <vector>

namespace Zol {

/**
 * Things that the collector's thread needs no longer, on their way back to the threads that log.
 *
 * What one thread allocates and another one frees makes both wait for each other in the allocator,
 * far longer than it takes to allocate. Whoever logs takes some at once. Nobody waits.
 *
 * @tparam T  has Fetch(), which has the processor fetch what will be written of it
 */
template <class T>
class ReturnPool
{
public:
    /** What a thread took and has not used yet. */
    class Stash
    {
    public:
        Stash()
            : m_size(0)
        {
        }

    private:
        Q_DISABLE_COPY(Stash)
        friend class ReturnPool;

        static const size_t most_items = 8; // a thread that no longer logs keeps as many

        size_t m_size;
        T m_items[most_items];
    };

    ReturnPool()
        : m_is_empty(true)
    {
        m_items.reserve(most_items); // no memory is asked for where some is given back
        m_added.reserve(most_items);
    }

    /** Swaps @p item for one that came back; false if there is none. For the stash's thread. */
    bool Take(Stash& stash, T& item)
    {
        if (stash.m_size == 0)
            Fill(stash);
        if (stash.m_size == 0)
            return false;
        std::swap(item, stash.m_items[--stash.m_size]);
        if (stash.m_size > 0)
            stash.m_items[stash.m_size - 1].Fetch();
        return true;
    }

    /** Swaps @p item for an empty one, unless enough are on their way. For one thread. */
    void Add(T& item)
    {
        if (m_added.size() == most_items)
            return;
        m_added.push_back(T());
        std::swap(m_added.back(), item);
    }

    /** Hands over what was added, unless another thread takes something. For the same thread. */
    void HandOver()
    {
        if (m_added.empty() || !m_mutex.tryLock())
            return;
        while (!m_added.empty() && m_items.size() < most_items) {
            m_items.push_back(std::move(m_added.back()));
            m_added.pop_back();
        }
        m_is_empty.store(m_items.empty(), std::memory_order_relaxed);
        m_mutex.unlock();
    }

private:
    Q_DISABLE_COPY(ReturnPool)

    static const size_t most_items = 100; // as many as the collector writes in one go

    void Fill(Stash& stash)
    {
        if (m_is_empty.load(std::memory_order_relaxed) || !m_mutex.tryLock())
            return;
        for (; stash.m_size < Stash::most_items && !m_items.empty(); ++stash.m_size) {
            std::swap(stash.m_items[stash.m_size], m_items.back());
            m_items.pop_back();
        }
        m_is_empty.store(m_items.empty(), std::memory_order_relaxed);
        m_mutex.unlock();
    }

    CacheLineGap m_gap_before;
    std::atomic<bool> m_is_empty; // to be asked without the mutex
    QMutex m_mutex;
    std::vector<T> m_items;
    CacheLineGap m_gap_between;
    std::vector<T> m_added; // for the thread that adds
};

template <class T>
const size_t ReturnPool<T>::most_items;

} // namespace Zol

#endif
