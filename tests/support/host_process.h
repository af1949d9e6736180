#ifndef ZOLDEBUG_TESTS_HOST_PROCESS_H
#define ZOLDEBUG_TESTS_HOST_PROCESS_H

#include <QtCore/QByteArray>
#include <QtCore/QProcess>
#include <QtCore/QString>
#include <QtCore/QStringList>

namespace ZolTest {

/**
 * A process for tests. Qt 5 starts the program of any other type than QProcess itself by a plain
 * fork, which is all that QEMU can do.
 */
class PlainlyForkedProcess : public QProcess
{
};

/** What became of a host program that a test ran. */
struct HostResult
{
    bool exited;   ///< false if it crashed, was killed or took longer than WaitBound()
    int exit_code; ///< meaningless unless it exited
    QByteArray standard_output;
    QByteArray standard_error;
    qint64 milliseconds; ///< how long it ran
};

/**
 * Starts a program of tests/hosts, in a UTF-8 locale with English names and in UTC. The process
 * belongs to the caller.
 *
 * @param name         the program's name
 * @param arguments    its arguments
 * @param environment  further "NAME=value" settings
 */
QProcess* StartHost(const QString& name, const QStringList& arguments = QStringList(),
                    const QStringList& environment = QStringList());

/** Runs a program of tests/hosts to its end. The arguments are those of StartHost(). */
HostResult RunHost(const QString& name, const QStringList& arguments = QStringList(),
                   const QStringList& environment = QStringList());

/**
 * How often to do what happens by chance alone, out of the @p usual times, but once at least.
 * ZOLDEBUG_TEST_ROUND_DIVISOR divides it where the tests are emulated.
 */
int Rounds(int usual);

} // namespace ZolTest

#endif
