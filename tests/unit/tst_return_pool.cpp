#include "return_pool.h"

#include <QtTest/QtTest>

#include <algorithm>
#include <atomic>
#include <thread>
#include <vector>

namespace {

std::atomic<int> living(0);

/** A number, of which it is known how many there are. */
class Item
{
public:
    explicit Item(int the_number = 0)
        : number(the_number)
    {
        ++living;
    }
    Item(Item&& other)
        : number(other.number)
    {
        ++living;
    }
    ~Item() { --living; }
    Item& operator=(Item&& other)
    {
        number = other.number;
        return *this;
    }

    void Fetch() const {}

    int number;

private:
    Q_DISABLE_COPY(Item)
};

typedef Zol::ReturnPool<Item> Pool;

void Add(Pool& pool, int number)
{
    Item item(number);
    pool.Add(item);
}

std::vector<int> TakeAll(Pool& pool, Pool::Stash& stash)
{
    std::vector<int> numbers;
    for (Item item; pool.Take(stash, item);)
        numbers.push_back(item.number);
    std::sort(numbers.begin(), numbers.end());
    return numbers;
}

std::vector<int> NumbersUpTo(int last)
{
    std::vector<int> numbers;
    for (int i = 1; i <= last; ++i)
        numbers.push_back(i);
    return numbers;
}

} // namespace

class TestReturnPool : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void givesWhatWasHandedOver();
    void givesNothingBefore();
    void isFullAtAHundred();
    void keepsNoItemAlive();
    void givesEachItemOnce();
};

void TestReturnPool::givesWhatWasHandedOver()
{
    Pool pool;
    Pool::Stash stash;
    for (int i = 1; i <= 40; ++i)
        Add(pool, i);
    pool.HandOver();
    QVERIFY(TakeAll(pool, stash) == NumbersUpTo(40));
    Add(pool, 1);
    pool.HandOver();
    QVERIFY(TakeAll(pool, stash) == NumbersUpTo(1));
}

void TestReturnPool::givesNothingBefore()
{
    Pool pool;
    Pool::Stash stash;
    Item item(7);
    QVERIFY(!pool.Take(stash, item));
    Add(pool, 1);
    QVERIFY(!pool.Take(stash, item));
    QCOMPARE(item.number, 7);
}

void TestReturnPool::isFullAtAHundred()
{
    Pool pool;
    Pool::Stash stash;
    for (int i = 1; i <= 100; ++i)
        Add(pool, i);
    Item one_more(101);
    pool.Add(one_more);
    QCOMPARE(one_more.number, 101);
    pool.HandOver();
    Add(pool, 102); // there is room again, but not among those who take
    pool.HandOver();
    QVERIFY(TakeAll(pool, stash) == NumbersUpTo(100));
    pool.HandOver();
    QVERIFY(TakeAll(pool, stash) == std::vector<int>(1, 102));
}

void TestReturnPool::keepsNoItemAlive()
{
    {
        Pool pool;
        Pool::Stash stash;
        for (int i = 1; i <= 50; ++i)
            Add(pool, i);
        pool.HandOver();
        Item item;
        QVERIFY(pool.Take(stash, item));
    }
    QCOMPARE(living.load(), 0);
}

void TestReturnPool::givesEachItemOnce()
{
    const int count = 20000;
    Pool pool;
    std::atomic<bool> all_added(false);
    std::vector<int> taken[2];
    std::vector<std::thread> takers;
    for (std::vector<int>& numbers : taken)
        takers.emplace_back([&pool, &all_added, &numbers] {
            Pool::Stash stash;
            bool is_last = false;
            while (!is_last) {
                is_last = all_added;
                for (const int number : TakeAll(pool, stash))
                    numbers.push_back(number);
            }
        });
    int added = 0;
    while (added < count) {
        Item item(added + 1);
        pool.Add(item);
        added += item.number == 0 ? 1 : 0;
        pool.HandOver();
    }
    all_added = true;
    for (std::thread& taker : takers)
        taker.join();

    Pool::Stash stash;
    std::vector<int> all = TakeAll(pool, stash); // what both left to the other
    for (const std::vector<int>& numbers : taken)
        all.insert(all.end(), numbers.begin(), numbers.end());
    pool.HandOver();
    for (const int number : TakeAll(pool, stash))
        all.push_back(number);
    std::sort(all.begin(), all.end());
    QVERIFY(all == NumbersUpTo(count));
}

QTEST_APPLESS_MAIN(TestReturnPool)

#include "tst_return_pool.moc"
