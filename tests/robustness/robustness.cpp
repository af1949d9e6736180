#include "robustness.h"

#include "log_record.h"
#include "wait.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QFile>
#include <QtCore/QSet>

#include <chrono>
#include <thread>

#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>

namespace Robustness {

int Count(int argc, char** argv, int index, int standard)
{
    if (index >= argc)
        return standard;
    const int count = atoi(argv[index]);
    if (count <= 0)
        exit(LifecycleHost::wrong_use);
    return count;
}

Result Report(const char* program, bool is_good, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    printf("%s: ", program);
    vprintf(format, arguments);
    printf("%s\n", is_good ? "" : " FAILED");
    va_end(arguments);
    fflush(stdout);
    return is_good ? good : bad;
}

Result Skip(const char* program, const char* reason)
{
    printf("%s: skipped, %s\n", program, reason);
    fflush(stdout);
    return skipped;
}

Random::Random()
    : m_engine(std::random_device()())
{
}

int Random::Below(int bound)
{
    return std::uniform_int_distribution<int>(0, bound - 1)(m_engine);
}

bool Await(const std::function<bool()>& condition)
{
    QElapsedTimer timer;
    timer.start();
    while (!condition()) {
        if (timer.elapsed() > ZolTest::WaitBound())
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

bool AwaitText(const QString& path, const QByteArray& text)
{
    return Await([&path, &text] { return BytesOf(path).contains(text); });
}

QByteArray BytesOf(const QString& path)
{
    return ZolTest::ReadFile(QFile::encodeName(path));
}

void LogRange(const Zol::DebugModule& module, int begin, int end)
{
    for (int i = begin; i < end; ++i)
        ZOL_INFO(module) << i;
}

int Missing(const QByteArray& log, const char* module, int begin, int end)
{
    QSet<int> numbers;
    const QList<QByteArray> texts = ZolTest::MessagesOf(log, module);
    for (const QByteArray& text : texts)
        numbers.insert(text.toInt());
    int missing = 0;
    for (int i = begin; i < end; ++i)
        missing += numbers.contains(i) ? 0 : 1;
    return missing;
}

int BrokenLines(const QByteArray& log)
{
    int broken = log.isEmpty() || log.endsWith('\n') ? 0 : 1;
    const QList<QByteArray> lines = log.left(static_cast<int>(log.lastIndexOf('\n'))).split('\n');
    for (const QByteArray& line : lines) {
        const bool is_whole = line.isEmpty() || line == "<DEBUG_SERVER_RESTART/>" ||
                              line.startsWith("<metric ") || ZolTest::ParseRecord(line).valid;
        broken += is_whole ? 0 : 1;
    }
    return broken;
}

FunctionDevice::FunctionDevice(const Write& write)
    : m_write(write)
{
    open(QIODevice::WriteOnly | QIODevice::Unbuffered);
}

qint64 FunctionDevice::writeData(const char* data, qint64 size)
{
    m_write(data, size);
    return size;
}

} // namespace Robustness
