/*
 * spdlog: queued, written by a thread of its pool, flushed. With BENCH_IDLE_WRITER that thread runs
 * when nothing else wants to, as ours does.
 */

#include "harness.h"

#include <spdlog/async.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>

#include <sched.h>

namespace {

spdlog::logger* pump = 0;

void Emit(unsigned int number)
{
    // As its own macro does, but with the whole signature.
    pump->log(spdlog::source_loc(__FILE__, __LINE__, __PRETTY_FUNCTION__), spdlog::level::info,
              "{}{}{}", Bench::text_begin, number, Bench::text_end);
}

} // namespace

int main(int argc, char** argv)
{
#ifdef BENCH_IDLE_WRITER
    Bench::Run run("bench_spdlog_idle", "spdlog, idle writer, flushed", true, argc, argv);
    const auto begin = [] {
        const sched_param parameters = {};
        sched_setscheduler(0, SCHED_IDLE, &parameters);
    };
#else
    Bench::Run run("bench_spdlog", "spdlog, queued, flushed", true, argc, argv);
    const auto begin = [] {};
#endif
    spdlog::init_thread_pool(run.Capacity() + 1000, 1, begin);
    const std::shared_ptr<spdlog::logger> logger =
        spdlog::basic_logger_mt<spdlog::async_factory>(Bench::module_name, run.Path(), true);
    logger->set_pattern("<dbg><h><d t=\"%Y/%m/%d (%b) (%a) %H:%M:%S.%e\" m=\"%n\" f=\"%g\" "
                        "l=\"%#\" fnc=\"%!\" lvl=\"%l\" thrd=\"%t\"/></h><b>%v</b></dbg>");
    logger->flush_on(spdlog::level::trace);

    pump = logger.get();
    return run.Measure(Emit, [] { spdlog::shutdown(); });
}
