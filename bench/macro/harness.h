#ifndef ZOLDEBUG_BENCH_HARNESS_H
#define ZOLDEBUG_BENCH_HARNESS_H

/*
 * What the programs that log through one library each have in common: the command line, the text of
 * a record, the measuring, and the line of JSON that reports it.
 */

#include <fcntl.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <condition_variable>
#include <fstream>
#include <functional>
#include <limits>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace Bench {

/** The text of a record is text_begin, its number, and text_end. */
const char text_begin[] = "request ";
const char text_end[] = " waits for the pump";

/** What records name as their source. */
const char module_name[] = "pump";

inline uint64_t Clock(clockid_t clock)
{
    timespec now;
    clock_gettime(clock, &now);
    return static_cast<uint64_t>(now.tv_sec) * 1000000000U + static_cast<uint64_t>(now.tv_nsec);
}

/** Monotonic time in nanoseconds. */
inline uint64_t Now()
{
    return Clock(CLOCK_MONOTONIC);
}

/** What one call of Now() takes, in nanoseconds. */
inline uint64_t ClockCost()
{
    std::vector<uint64_t> readings(20001);
    for (uint64_t& reading : readings)
        reading = Now();
    for (size_t i = 0; i + 1 < readings.size(); ++i)
        readings[i] = readings[i + 1] - readings[i];
    readings.pop_back();
    std::sort(readings.begin(), readings.end());
    return readings[readings.size() / 2];
}

/** A memory size of the process, such as "VmHWM:", in KiB. */
inline uint64_t MemoryKib(const std::string& name)
{
    std::ifstream status("/proc/self/status");
    std::string word;
    while (status >> word) {
        uint64_t value = 0;
        if (word == name && status >> value)
            return value;
    }
    return 0;
}

inline void Fail(const std::string& reason)
{
    fprintf(stderr, "%s\n", reason.c_str());
    // Other threads still log, so nothing is destroyed.
    _exit(1);
}

/** How many records, known by their text, the file holds. */
inline uint64_t CountRecords(const std::string& path)
{
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    struct stat status;
    if (file < 0 || fstat(file, &status) != 0 || status.st_size == 0) {
        if (file >= 0)
            close(file);
        return 0;
    }
    const size_t size = static_cast<size_t>(status.st_size);
    void* const memory = mmap(0, size, PROT_READ, MAP_SHARED, file, 0);
    close(file);
    if (memory == MAP_FAILED)
        return 0;
    const size_t length = sizeof(text_end) - 1;
    const char* at = static_cast<const char*>(memory);
    const char* const end = at + size;
    uint64_t count = 0;
    for (;;) {
        const void* const found = memmem(at, static_cast<size_t>(end - at), text_end, length);
        if (!found)
            break;
        at = static_cast<const char*>(found) + length;
        ++count;
    }
    munmap(memory, size);
    return count;
}

inline uint64_t FileSize(const std::string& path)
{
    struct stat status;
    return stat(path.c_str(), &status) == 0 ? static_cast<uint64_t>(status.st_size) : 0;
}

/** One run of a program: emits records on one or more threads and reports what that cost. */
class Run
{
public:
    /**
     * Reads the command line.
     *
     * @param name    the program
     * @param about   the library, and how it writes
     * @param writer  whether another thread than the emitting one writes
     */
    Run(const char* name, const char* about, bool writer, int argc, char** argv)
        : m_name(name)
        , m_about(about)
        , m_has_writer(writer)
        , m_records(200000)
        , m_threads(1)
        , m_record_bytes(220)
        , m_folder("/dev/shm")
        , m_ready(0)
        , m_go(false)
        , m_emit_cpu(0)
        , m_emitted(0)
    {
        for (int i = 1; i < argc; i += 2) {
            const std::string option = argv[i];
            if (i + 1 == argc)
                Usage();
            else if (option == "--records")
                m_records = Number(argv[i + 1]);
            else if (option == "--threads")
                m_threads = Number(argv[i + 1]);
            else if (option == "--record-bytes")
                m_record_bytes = Number(argv[i + 1]);
            else if (option == "--folder")
                m_folder = argv[i + 1];
            else
                Usage();
        }
        m_records -= m_records % m_threads;
        if (m_records == 0)
            Usage();
        m_path = m_folder + "/" + m_name + "-" + std::to_string(getpid()) + ".log";
        unlink(m_path.c_str());
    }

    ~Run() { unlink(m_path.c_str()); }

    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;

    /** The file to log to. */
    const std::string& Path() const { return m_path; }

    /** Makes that file, for a program that writes without a library. */
    int OpenLog() const
    {
        const int file =
            open(m_path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_TRUNC | O_CLOEXEC, 0644);
        if (file < 0)
            Fail(m_name + ": cannot write " + m_path);
        return file;
    }

    /** Bytes of a record with its line end, for a program that does not compose any. */
    unsigned int RecordBytes() const { return m_record_bytes; }

    /** All records that will be emitted; no queue may be shorter. */
    unsigned int Capacity() const { return m_records + warm_up; }

    /** Called at the start of each further emitting thread. */
    std::function<void()> on_thread;

    /**
     * Measures and prints the report.
     *
     * @param emit    emits the record of a number
     * @param finish  returns when everything is written
     */
    template <class Emit, class Finish>
    int Measure(Emit emit, Finish finish)
    {
        for (unsigned int i = 0; i < warm_up; ++i)
            emit(i);
        AwaitWarmUp();

        const uint64_t clock_cost = ClockCost();
        const unsigned int share = m_records / m_threads;
        std::vector<std::vector<uint32_t>> times(m_threads, std::vector<uint32_t>(share, 1));
        std::vector<std::thread> threads;
        for (unsigned int i = 1; i < m_threads; ++i)
            threads.emplace_back([this, &emit, &times, i] {
                if (on_thread)
                    on_thread();
                emit(0); // what a thread's first record costs is not what is asked for
                AwaitGo();
                Emission(emit, times[i]);
            });
        AwaitThreads();

        const uint64_t bytes_before = FileSize(m_path);
        const uint64_t memory_before = MemoryKib("VmRSS:");
        rusage usage_before;
        getrusage(RUSAGE_SELF, &usage_before);
        const uint64_t cpu_before = Clock(CLOCK_PROCESS_CPUTIME_ID);
        const uint64_t start = Now();
        Go();
        Emission(emit, times[0]);
        for (std::thread& thread : threads)
            thread.join();
        const uint64_t memory_emitted = MemoryKib("VmRSS:");
        finish();
        const uint64_t end = Now();
        const uint64_t cpu = Clock(CLOCK_PROCESS_CPUTIME_ID) - cpu_before;
        rusage usage;
        getrusage(RUSAGE_SELF, &usage);
        const uint64_t memory_peak = MemoryKib("VmHWM:"); // looking at the file adds to it

        // The warm-up of each thread is in the file too.
        const uint64_t expected = uint64_t(m_records) + warm_up + m_threads - 1;
        const uint64_t written = CountRecords(m_path);
        if (written != expected)
            Fail(m_name + ": " + std::to_string(written) + " of " + std::to_string(expected) +
                 " records were written");

        std::vector<uint32_t> all;
        all.reserve(m_records);
        for (const std::vector<uint32_t>& some : times)
            all.insert(all.end(), some.begin(), some.end());
        for (uint32_t& time : all)
            time = time > clock_cost ? static_cast<uint32_t>(time - clock_cost) : 0;
        std::sort(all.begin(), all.end());

        const double n = m_records;
        const double clocks = n * static_cast<double>(clock_cost);
        const double emit_cpu = static_cast<double>(m_emit_cpu);
        const double all_cpu = static_cast<double>(cpu);
        printf("{\"program\": \"%s\", \"about\": \"%s\", \"records\": %u, \"threads\": %u, ",
               m_name.c_str(), m_about.c_str(), m_records, m_threads);
        printf("\"record_bytes\": %.1f, \"clock_ns\": %llu, ",
               static_cast<double>(FileSize(m_path) - bytes_before) / n,
               static_cast<unsigned long long>(clock_cost));
        for (const double percent : {50.0, 90.0, 99.0, 99.9})
            printf("\"emit_p%g_ns\": %u, ", percent, Percentile(all, percent));
        printf("\"emit_max_ns\": %u, \"emitted_per_s\": %.0f, \"records_per_s\": %.0f, ",
               all.back(), n * 1e9 / static_cast<double>(m_emitted - start),
               n * 1e9 / static_cast<double>(end - start));
        printf("\"cpu_ns\": %.1f, \"emit_cpu_ns\": %.1f, ", (all_cpu - clocks) / n,
               (emit_cpu - clocks) / n);
        if (m_has_writer)
            printf("\"writer_cpu_ns\": %.1f, ", (all_cpu - emit_cpu) / n);
        else
            printf("\"writer_cpu_ns\": null, ");
        printf("\"user_ns\": %.1f, \"system_ns\": %.1f, ",
               Microseconds(usage.ru_utime, usage_before.ru_utime) * 1e3 / n,
               Microseconds(usage.ru_stime, usage_before.ru_stime) * 1e3 / n);
        printf("\"rss_start_kib\": %llu, \"rss_emitted_kib\": %llu, \"rss_peak_kib\": %llu}\n",
               static_cast<unsigned long long>(memory_before),
               static_cast<unsigned long long>(memory_emitted),
               static_cast<unsigned long long>(memory_peak));
        fflush(stdout);
        return 0;
    }

private:
    enum
    {
        warm_up = 1000
    };

    void Usage()
    {
        Fail("Usage: " + m_name +
             " [--records N] [--threads N] [--record-bytes N] [--folder FOLDER]");
    }

    unsigned int Number(const char* text)
    {
        const unsigned long number = strtoul(text, 0, 10);
        if (number == 0 || number > 100000000)
            Usage();
        return static_cast<unsigned int>(number);
    }

    void AwaitWarmUp()
    {
        for (int i = 0; CountRecords(m_path) < warm_up; ++i) {
            if (i > 10000)
                Fail(m_name + ": the first records were not written");
            usleep(1000);
        }
    }

    // The reading that ends one record begins the next.
    template <class Emit>
    void Emission(Emit& emit, std::vector<uint32_t>& times)
    {
        const uint64_t cpu_before = Clock(CLOCK_THREAD_CPUTIME_ID);
        uint64_t last = Now();
        unsigned int number = 0;
        for (uint32_t& time : times) {
            emit(number++);
            const uint64_t now = Now();
            const uint64_t taken = now - last;
            const uint64_t most = std::numeric_limits<uint32_t>::max();
            time = static_cast<uint32_t>(std::min(taken, most));
            last = now;
        }
        const uint64_t cpu = Clock(CLOCK_THREAD_CPUTIME_ID) - cpu_before;
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_emit_cpu += cpu;
        m_emitted = std::max(m_emitted, last);
    }

    void AwaitGo()
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        ++m_ready;
        m_changed.notify_all();
        m_changed.wait(lock, [this] { return m_go; });
    }

    /** Waits until the further threads stand ready and their first records are written. */
    void AwaitThreads()
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait(lock, [this] { return m_ready + 1 == m_threads; });
        lock.unlock();
        for (int i = 0; CountRecords(m_path) < warm_up + m_threads - 1; ++i) {
            if (i > 10000)
                Fail(m_name + ": the first records of the threads were not written");
            usleep(1000);
        }
    }

    void Go()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_go = true;
        m_changed.notify_all();
    }

    static uint32_t Percentile(const std::vector<uint32_t>& sorted, double percent)
    {
        const double at = percent / 100 * static_cast<double>(sorted.size() - 1);
        return sorted[static_cast<size_t>(at + 0.5)];
    }

    static double Microseconds(const timeval& to, const timeval& from)
    {
        return static_cast<double>(to.tv_sec - from.tv_sec) * 1e6 +
               static_cast<double>(to.tv_usec - from.tv_usec);
    }

    const std::string m_name;
    const std::string m_about;
    const bool m_has_writer;
    unsigned int m_records;
    unsigned int m_threads;
    unsigned int m_record_bytes;
    std::string m_folder;
    std::string m_path;

    std::mutex m_mutex;
    std::condition_variable m_changed;
    unsigned int m_ready;
    bool m_go;
    uint64_t m_emit_cpu;
    uint64_t m_emitted; // when the last thread was done
};

} // namespace Bench

#endif
