/* log4cplus: queued, written by the thread of its asynchronous appender, flushed. */

#include "harness.h"

#include <log4cplus/asyncappender.h>
#include <log4cplus/fileappender.h>
#include <log4cplus/initializer.h>
#include <log4cplus/layout.h>
#include <log4cplus/logger.h>
#include <log4cplus/loggingmacros.h>

#include <memory>

namespace {

const log4cplus::Logger* pump = 0;

void Emit(unsigned int number)
{
    LOG4CPLUS_INFO(*pump, Bench::text_begin << number << Bench::text_end);
}

} // namespace

int main(int argc, char** argv)
{
    Bench::Run run("bench_log4cplus", "log4cplus, queued, flushed", true, argc, argv);
    const log4cplus::Initializer initializer;
    log4cplus::SharedAppenderPtr file(
        new log4cplus::FileAppender(run.Path(), std::ios_base::trunc, true));
    file->setLayout(std::unique_ptr<log4cplus::Layout>(new log4cplus::PatternLayout(
        "<dbg><h><d t=\"%D{%Y/%m/%d (%b) (%a) %H:%M:%S.%q}\" m=\"%c\" f=\"%F\" l=\"%L\" "
        "fnc=\"%M\" lvl=\"%p\" thrd=\"%t\"/></h><b>%m</b></dbg>%n")));
    log4cplus::SharedAppenderPtr queue(new log4cplus::AsyncAppender(file, run.Capacity() + 1000));

    log4cplus::Logger logger = log4cplus::Logger::getInstance(Bench::module_name);
    logger.setAdditivity(false);
    logger.setLogLevel(log4cplus::INFO_LOG_LEVEL);
    logger.addAppender(queue);
    pump = &logger;

    return run.Measure(Emit, [&queue] { queue->close(); });
}
