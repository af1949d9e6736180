#ifndef ZOLDEBUG_TESTS_ROBUSTNESS_H
#define ZOLDEBUG_TESTS_ROBUSTNESS_H

#include "dbg_server_interface.h"
#include "lifecycle_host.h"

#include <QtCore/QByteArray>
#include <QtCore/QIODevice>
#include <QtCore/QList>
#include <QtCore/QString>

#include <functional>
#include <random>

namespace Robustness {

/** What a program returns whose figures are good, are bad, or cannot be had here. */
enum Result
{
    good = 0,
    bad = 1,
    skipped = 77
};

/** How much to do: an argument of main(), or @p standard without it. */
int Count(int argc, char** argv, int index, int standard);

/** Prints the figures, a line that begins with the program's name, and returns the result. */
Result Report(const char* program, bool is_good, const char* format, ...)
    __attribute__((format(printf, 3, 4)));

/** Says why there are no figures. */
Result Skip(const char* program, const char* reason);

/** Random numbers, different in each run. */
class Random
{
public:
    Random();

    /** A number from 0 up to, without, @p bound. */
    int Below(int bound);

private:
    std::minstd_rand m_engine;
};

/** Polls for @p condition; false if it takes longer than WaitBound(). */
bool Await(const std::function<bool()>& condition);

/** Waits until the file holds @p text. */
bool AwaitText(const QString& path, const QByteArray& text);

/** The bytes of a file. */
QByteArray BytesOf(const QString& path);

/** Logs the texts "begin" up to, without, "end". */
void LogRange(const Zol::DebugModule& module, int begin, int end);

/** How many of the numbers from @p begin to @p end, without the end, a module's texts lack. */
int Missing(const QByteArray& log, const char* module, int begin, int end);

/** How many lines are neither a record nor any other line that an output writes. */
int BrokenLines(const QByteArray& log);

/** Lets outputs be written whose devices are functions. */
class FunctionDevice : public QIODevice
{
public:
    typedef std::function<void(const char*, qint64)> Write;

    explicit FunctionDevice(const Write& write);

    bool isSequential() const override { return true; }

protected:
    qint64 readData(char*, qint64) override { return -1; }
    qint64 writeData(const char* data, qint64 size) override;

private:
    Write m_write;
};

} // namespace Robustness

#endif
