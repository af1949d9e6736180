/*
 * The floor of what queues: a thread hands finished lines over, and another does one write(2) for
 * each of them, and nothing else.
 */

#include "harness.h"
#include "queued_writer.h"

#include <string>

int main(int argc, char** argv)
{
    Bench::Run run("bench_write_queued", "write(2) behind a queue", true, argc, argv);
    const int file = run.OpenLog();
    std::string line = Bench::text_end;
    line.resize(std::max<size_t>(line.size() + 1, run.RecordBytes()), '.');
    line.back() = '\n';
    Bench::QueuedWriter<std::string> writer([] {},
                                            [file](const std::string& one) {
                                                if (write(file, one.data(), one.size()) < 0)
                                                    Bench::Fail("bench_write_queued: cannot write");
                                            });
    return run.Measure([&line, &writer](unsigned int) { writer.Add(line); },
                       [&writer] { writer.Finish(); });
}
