/* This library: queued, written by its collector, flushed. */

#include "debug.h"
#include "harness.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QStringList>
#include <QtCore/QThread>

namespace {

const Zol::DebugModule* pump = 0;

void Emit(unsigned int number)
{
    ZOL_INFO(*pump) << Bench::text_begin << number << Bench::text_end;
}

} // namespace

int main(int argc, char** argv)
{
    Bench::Run run("bench_zoldebug", "ZolDebug, queued, flushed", true, argc, argv);
    int no_arguments = 1;
    QCoreApplication application(no_arguments, argv);
    QThread::currentThread()->setObjectName(QLatin1String("main"));

    const Zol::DebugModule module(QLatin1String(Bench::module_name));
    pump = &module;
    Zol::DbgCollector::ParseDebugServerOptions(
        QStringList() << QLatin1String("file:") + QString::fromStdString(run.Path())
                      << QLatin1String("*=63") << QLatin1String("DBG=0"));
    Zol::DbgCollector::Start();

    run.on_thread = [] { QThread::currentThread()->setObjectName(QLatin1String("work")); };
    return run.Measure(Emit, [] { Zol::DbgCollector::Stop(); });
}
