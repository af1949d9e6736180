/* Qt's own logging: written by the emitting thread through a message handler, flushed. */

#include "harness.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QLoggingCategory>
#include <QtCore/QMutex>
#include <QtCore/QMutexLocker>
#include <QtCore/QString>

namespace {

Q_LOGGING_CATEGORY(pump, Bench::module_name)

FILE* file = 0;

void Write(QtMsgType type, const QMessageLogContext& context, const QString& text)
{
    static QMutex mutex;
    const QByteArray line = qFormatLogMessage(type, context, text).toLocal8Bit();
    const QMutexLocker lock(&mutex);
    fprintf(file, "%s\n", line.constData());
    fflush(file);
}

void Emit(unsigned int number)
{
    qCInfo(pump).nospace() << Bench::text_begin << number << Bench::text_end;
}

} // namespace

int main(int argc, char** argv)
{
    Bench::Run run("bench_qcinfo", "qCInfo, direct, flushed", false, argc, argv);
    int no_arguments = 1;
    QCoreApplication application(no_arguments, argv);
    file = fopen(run.Path().c_str(), "we");
    if (!file)
        Bench::Fail("bench_qcinfo: cannot write " + run.Path());
    qSetMessagePattern(
        QLatin1String("<dbg><h><d t=\"%{time yyyy/MM/dd (MMM) (ddd) hh:mm:ss.zzz}\" "
                      "m=\"%{category}\" f=\"%{file}\" l=\"%{line}\" fnc=\"%{function}\" "
                      "lvl=\"%{type}\" thrd=\"%{threadid}\"/></h><b>%{message}</b></dbg>"));
    qInstallMessageHandler(Write);

    return run.Measure(Emit, [] { fclose(file); });
}
