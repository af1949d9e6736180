#ifndef BENCH_QUEUED_WRITER_H
#define BENCH_QUEUED_WRITER_H

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace Bench {

/** Writes items on a thread of its own, in the order in which they come. */
template <class Item>
class QueuedWriter
{
public:
    /**
     * @param begin  what the thread does first
     * @param write  what it does with each item
     */
    QueuedWriter(std::function<void()> begin, std::function<void(const Item&)> write)
        : m_begin(std::move(begin))
        , m_write(std::move(write))
        , m_thread([this] { WriteAll(); })
    {
    }

    void Add(Item item)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_items.push_back(std::move(item));
        if (m_items.size() == 1)
            m_changed.notify_one();
    }

    /** The thread, while it runs. */
    std::thread::native_handle_type Thread() { return m_thread.native_handle(); }

    /** Returns when all is written. */
    void Finish()
    {
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_ends = true;
            m_changed.notify_one();
        }
        m_thread.join();
    }

private:
    void WriteAll()
    {
        m_begin();
        for (std::vector<Item> items = Take(); !items.empty(); items = Take()) {
            for (const Item& item : items)
                m_write(item);
        }
    }

    /** What is to be written next; nothing at the end. */
    std::vector<Item> Take()
    {
        std::vector<Item> items;
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait(lock, [this] { return m_ends || !m_items.empty(); });
        items.swap(m_items);
        return items;
    }

    const std::function<void()> m_begin;
    const std::function<void(const Item&)> m_write;
    bool m_ends = false;
    std::vector<Item> m_items;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::thread m_thread; // last, as it uses the others
};

} // namespace Bench

#endif
