/* Boost.Log: queued, written by the thread of its asynchronous sink, flushed. */

#include "harness.h"

#include <boost/current_function.hpp>
#include <boost/date_time/posix_time/posix_time_types.hpp>
#include <boost/log/attributes/current_thread_id.hpp>
#include <boost/log/core.hpp>
#include <boost/log/expressions.hpp>
#include <boost/log/sinks/async_frontend.hpp>
#include <boost/log/sinks/text_ostream_backend.hpp>
#include <boost/log/sources/record_ostream.hpp>
#include <boost/log/sources/severity_channel_logger.hpp>
#include <boost/log/support/date_time.hpp>
#include <boost/log/trivial.hpp>
#include <boost/log/utility/manipulators/add_value.hpp>
#include <boost/log/utility/setup/common_attributes.hpp>
#include <boost/make_shared.hpp>

#include <fstream>

namespace expr = boost::log::expressions;
namespace sinks = boost::log::sinks;
namespace trivial = boost::log::trivial;

namespace {

typedef boost::log::sources::severity_channel_logger_mt<trivial::severity_level> Logger;
typedef sinks::asynchronous_sink<sinks::text_ostream_backend> Sink;

Logger* pump = 0;

void Emit(unsigned int number)
{
    const char* const file = __FILE__;
    const char* const function = BOOST_CURRENT_FUNCTION;
    BOOST_LOG_SEV(*pump, trivial::info)
        << boost::log::add_value("File", file) << boost::log::add_value("Line", __LINE__)
        << boost::log::add_value("Function", function) << Bench::text_begin << number
        << Bench::text_end;
}

} // namespace

int main(int argc, char** argv)
{
    Bench::Run run("bench_boostlog", "Boost.Log, queued, flushed", true, argc, argv);
    const boost::shared_ptr<sinks::text_ostream_backend> backend =
        boost::make_shared<sinks::text_ostream_backend>();
    backend->add_stream(boost::make_shared<std::ofstream>(run.Path()));
    backend->auto_flush(true);
    const boost::shared_ptr<Sink> sink = boost::make_shared<Sink>(backend);
    sink->set_formatter(expr::stream
                        << "<dbg><h><d t=\""
                        << expr::format_date_time<boost::posix_time::ptime>(
                               "TimeStamp", "%Y/%m/%d (%b) (%a) %H:%M:%S.%f")
                        << "\" m=\"" << expr::attr<std::string>("Channel") << "\" f=\""
                        << expr::attr<std::string>("File") << "\" l=\"" << expr::attr<int>("Line")
                        << "\" fnc=\"" << expr::attr<std::string>("Function") << "\" lvl=\""
                        << expr::attr<trivial::severity_level>("Severity") << "\" thrd=\""
                        << expr::attr<boost::log::attributes::current_thread_id::value_type>(
                               "ThreadID")
                        << "\"/></h><b>" << expr::smessage << "</b></dbg>");
    boost::log::add_common_attributes();
    boost::log::core::get()->add_sink(sink);

    Logger logger(boost::log::keywords::channel = Bench::module_name);
    pump = &logger;
    return run.Measure(Emit, [&sink] {
        boost::log::core::get()->remove_sink(sink);
        sink->stop();
        sink->flush();
    });
}
