#include "host_process.h"

#include "wait.h"

#include <QtCore/QByteArray>
#include <QtCore/QElapsedTimer>
#include <QtCore/QProcessEnvironment>
#include <QtCore/QScopedPointer>

namespace ZolTest {

QProcess* StartHost(const QString& name, const QStringList& arguments,
                    const QStringList& environment)
{
    QProcessEnvironment settings = QProcessEnvironment::systemEnvironment();
    settings.insert(QLatin1String("LC_ALL"), QLatin1String("C.UTF-8"));
    settings.insert(QLatin1String("TZ"), QLatin1String("UTC"));
    for (const QString& setting : environment)
        settings.insert(setting.section(QLatin1Char('='), 0, 0),
                        setting.section(QLatin1Char('='), 1));

    QString program = QLatin1String(ZOLDEBUG_TEST_HOSTS) + QLatin1Char('/') + name;
    QStringList command = QString::fromLatin1(ZOLDEBUG_TEST_EMULATOR).split(QLatin1Char('|'));
    command.removeAll(QString());
    command << program << arguments;
    program = command.takeFirst();

    QProcess* const process = new PlainlyForkedProcess;
    process->setProcessEnvironment(settings);
    process->start(program, command);
    return process;
}

HostResult RunHost(const QString& name, const QStringList& arguments,
                   const QStringList& environment)
{
    QElapsedTimer timer;
    timer.start();
    const QScopedPointer<QProcess> started(StartHost(name, arguments, environment));
    QProcess& process = *started;
    const bool finished = process.waitForFinished(WaitBound());
    HostResult result;
    result.milliseconds = timer.elapsed();
    if (!finished) {
        process.kill();
        process.waitForFinished(WaitBound());
    }
    result.exited = finished && process.exitStatus() == QProcess::NormalExit;
    result.exit_code = process.exitCode();
    result.standard_output = process.readAllStandardOutput();
    result.standard_error = process.readAllStandardError();
    return result;
}

int Rounds(int usual)
{
    const int divisor = qgetenv("ZOLDEBUG_TEST_ROUND_DIVISOR").toInt();
    return divisor > 0 ? qMax(usual / divisor, 1) : usual;
}

} // namespace ZolTest
