/* The floor: one write(2) for each record of the same length, and nothing else. */

#include "harness.h"

int main(int argc, char** argv)
{
    Bench::Run run("bench_write", "write(2) alone", false, argc, argv);
    const int file = run.OpenLog();
    std::string line = Bench::text_end;
    line.resize(std::max<size_t>(line.size() + 1, run.RecordBytes()), '.');
    line.back() = '\n';
    return run.Measure(
        [&line, file](unsigned int) {
            if (write(file, line.data(), line.size()) < 0)
                Bench::Fail("bench_write: cannot write");
        },
        [file] { close(file); });
}
