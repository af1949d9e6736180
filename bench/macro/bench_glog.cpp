/* glog: written by the emitting thread, flushed. */

#include "harness.h"

#include <glog/logging.h>

#include <ostream>

namespace {

// The first part of a record; glog itself knows of neither modules nor functions.
void WritePrefix(std::ostream& out, const google::LogMessageInfo& info, void*)
{
    const tm& time = info.time.tm();
    char text[64];
    const size_t length = strftime(text, sizeof(text), "%Y/%m/%d (%b) (%a) %H:%M:%S.", &time);
    snprintf(text + length, sizeof(text) - length, "%03d",
             static_cast<int>(info.time.usec() / 1000));
    out << "<dbg><h><d t=\"" << text << "\" m=\"" << Bench::module_name << "\" f=\""
        << info.filename << "\" l=\"" << info.line_number << "\" lvl=\"" << info.severity
        << "\" thrd=\"" << info.thread_id << "\"/></h>";
}

void Emit(unsigned int number)
{
    LOG(INFO) << "<f fnc=\"" << __PRETTY_FUNCTION__ << "\"/><b>" << Bench::text_begin << number
              << Bench::text_end << "</b></dbg>";
}

} // namespace

int main(int argc, char** argv)
{
    Bench::Run run("bench_glog", "glog, direct, flushed", false, argc, argv);
    google::InitGoogleLogging(argv[0], WritePrefix);
    FLAGS_timestamp_in_logfile_name = false;
    FLAGS_logbuflevel = -1;
    FLAGS_logbufsecs = 0;
    for (int severity = google::WARNING; severity < google::NUM_SEVERITIES; ++severity)
        google::SetLogDestination(severity, "");
    google::SetLogDestination(google::INFO, run.Path().c_str());
    google::SetLogSymlink(google::INFO, "");

    return run.Measure(Emit, [] { google::ShutdownGoogleLogging(); });
}
