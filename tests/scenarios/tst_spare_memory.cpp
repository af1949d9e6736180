#include "collector_tools.h"

#include <QtTest/QtTest>

#include <atomic>
#include <new>
#include <stdlib.h>

using namespace Zol;
using ZolTest::ProbeOf;

namespace {

std::atomic<int> allocated_records(0);

void* Allocate(size_t size)
{
    if (size == sizeof(DebugMessageDetails))
        ++allocated_records;
    return malloc(size);
}

} // namespace

// These take precedence over the C++ library's, in the shared libraries too.

Q_DECL_EXPORT void* operator new(size_t size)
{
    if (void* const memory = Allocate(size))
        return memory;
    throw std::bad_alloc();
}

Q_DECL_EXPORT void* operator new(size_t size, const std::nothrow_t&) noexcept
{
    return Allocate(size);
}

Q_DECL_EXPORT void operator delete(void* memory) noexcept
{
    free(memory);
}

Q_DECL_EXPORT void operator delete(void* memory, const std::nothrow_t&) noexcept
{
    free(memory);
}

Q_DECL_EXPORT void operator delete(void* memory, size_t) noexcept
{
    free(memory);
}

namespace {

const int some = 50; // less than what is handed back at once

QByteArray LongText(int number)
{
    return QByteArray::number(number) + QByteArray(100, '.');
}

/** Logs some records and waits until they are written. */
bool LogSome()
{
    static int number = 0;
    for (int i = 0; i < some; ++i)
        ZolTest::Log(LongText(++number));
    return ProbeOf("a").WaitFor(LongText(number));
}

/** Room for how many characters the first message of a new thread has. */
int RoomOfFirstMessage()
{
    int room = 0;
    std::thread([&room] {
        DbgClient client(QLatin1String("host"), __FILE__, __LINE__, Q_FUNC_INFO, DBG_INFO);
        room = static_cast<int>(client.Dbg().string()->capacity());
    }).join();
    return room;
}

} // namespace

class TestSpareMemory : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void textsGoBackToThoseWhoLog();
    void recordsGoBackToThoseWhoLog();
};

void TestSpareMemory::init()
{
    ZolTest::ConfigureProbe("a");
    DbgCollector::Start();
}

void TestSpareMemory::cleanup()
{
    DbgCollector::Stop();
}

void TestSpareMemory::textsGoBackToThoseWhoLog()
{
    QVERIFY(LogSome());
    QVERIFY(ZolTest::Await([] { return RoomOfFirstMessage() >= 100; }));
}

void TestSpareMemory::recordsGoBackToThoseWhoLog()
{
    QVERIFY(ZolTest::Await([] {
        const int before = allocated_records;
        return LogSome() && allocated_records - before < some / 2;
    }));
}

QTEST_GUILESS_MAIN(TestSpareMemory)

#include "tst_spare_memory.moc"
