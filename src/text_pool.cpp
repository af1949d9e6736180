#include "text_pool.h"

#include "qt_compat.h"

#include <QtCore/QMutexLocker>

#include <atomic>
#include <utility>
#include <vector>

namespace Zol {

namespace {

const size_t most_texts = 100; // as many as the collector writes in one go
const int largest_text = 500;  // characters

struct Pool
{
    Pool()
        : is_empty(true)
    {
    }

    std::atomic<bool> is_empty; // to be asked without the mutex
    QMutex mutex;
    std::vector<QString> texts;
    std::vector<QString> added; // for the one thread that adds
};

Pool& ThePool()
{
    static Pool& pool = *new Pool;
    return pool;
}

QString TakeLast(std::vector<QString>& texts)
{
    QString text = std::move(texts.back());
    texts.pop_back();
    return text;
}

bool IsWorthKeeping(const QString& text)
{
    return text.isDetached() && text.capacity() > 0 && text.capacity() <= largest_text;
}

} // namespace

QString TextPool::Take()
{
    QString text = QLatin1String("");
    Pool& pool = ThePool();
    if (pool.is_empty.load(std::memory_order_relaxed) || !pool.mutex.tryLock())
        return text;
    if (!pool.texts.empty())
        text = TakeLast(pool.texts);
    if (pool.texts.empty())
        pool.is_empty.store(true, std::memory_order_relaxed);
    pool.mutex.unlock();
    return text;
}

void TextPool::Add(QString& text)
{
    Pool& pool = ThePool();
    if (!IsWorthKeeping(text) || pool.added.size() == most_texts)
        return;
    QtCompat::EmptyKeepingMemory(text);
    pool.added.push_back(QString());
    qSwap(pool.added.back(), text);
}

void TextPool::HandOver()
{
    Pool& pool = ThePool();
    if (pool.added.empty())
        return;
    QMutexLocker lock(&pool.mutex);
    while (!pool.added.empty() && pool.texts.size() < most_texts)
        pool.texts.push_back(TakeLast(pool.added));
    if (!pool.texts.empty())
        pool.is_empty.store(false, std::memory_order_relaxed);
}

} // namespace Zol
