/*
 * The floor of what queues: a thread hands finished lines over, and another does one write(2) for
 * each of them, and nothing else.
 */

#include "harness.h"

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace {

/** Writes lines on a thread of its own. */
class QueuedWriter
{
public:
    explicit QueuedWriter(int file)
        : m_file(file)
        , m_thread([this] { WriteAll(); })
    {
    }

    void Add(const std::string& line)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_lines.push_back(line);
        if (m_lines.size() == 1)
            m_changed.notify_one();
    }

    void Finish()
    {
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_ends = true;
            m_changed.notify_one();
        }
        m_thread.join();
    }

private:
    void WriteAll()
    {
        for (std::vector<std::string> lines = Take(); !lines.empty(); lines = Take()) {
            for (const std::string& line : lines) {
                if (write(m_file, line.data(), line.size()) < 0)
                    Bench::Fail("bench_write_queued: cannot write");
            }
        }
    }

    /** What is to be written next; nothing at the end. */
    std::vector<std::string> Take()
    {
        std::vector<std::string> lines;
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait(lock, [this] { return m_ends || !m_lines.empty(); });
        lines.swap(m_lines);
        return lines;
    }

    const int m_file;
    bool m_ends = false;
    std::vector<std::string> m_lines;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::thread m_thread; // last, as it uses the others
};

} // namespace

int main(int argc, char** argv)
{
    Bench::Run run("bench_write_queued", "write(2) behind a queue", true, argc, argv);
    const int file =
        open(run.Path().c_str(), O_WRONLY | O_CREAT | O_APPEND | O_TRUNC | O_CLOEXEC, 0644);
    if (file < 0)
        Bench::Fail("bench_write_queued: cannot write " + run.Path());

    std::string line = Bench::text_end;
    line.resize(std::max<size_t>(line.size() + 1, run.RecordBytes()), '.');
    line.back() = '\n';
    QueuedWriter writer(file);
    return run.Measure([&line, &writer](unsigned int) { writer.Add(line); },
                       [&writer] { writer.Finish(); });
}
