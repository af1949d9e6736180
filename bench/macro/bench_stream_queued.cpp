/*
 * The floor of what streams a text in Qt, takes the time, and queues both for a thread that runs
 * when nothing else wants to: that thread only narrows the text, puts a finished header before it,
 * and does one write(2).
 */

#include "harness.h"
#include "queued_writer.h"

#include <QtCore/QDateTime>
#include <QtCore/QString>
#include <QtCore/QTextStream>

#include <sched.h>

#include <string>

namespace {

struct Record
{
    qint64 time;
    QString text;
};

Record StreamedRecord(unsigned int number)
{
    Record record = {QDateTime::currentMSecsSinceEpoch(), QString()};
    QTextStream stream(&record.text, QIODevice::ReadWrite);
    stream << Bench::text_begin << number << Bench::text_end;
    return record;
}

void SetPolicy(pthread_t thread, int policy)
{
    const sched_param parameters = {};
    pthread_setschedparam(thread, policy, &parameters);
}

} // namespace

int main(int argc, char** argv)
{
    Bench::Run run("bench_stream_queued", "QTextStream, write(2) behind a queue", true, argc, argv);
    const int file = run.OpenLog();
    const std::string header(
        run.RecordBytes() - std::min<size_t>(run.RecordBytes(), strlen(Bench::text_end) + 20), '.');
    std::string line = header;
    Bench::QueuedWriter<Record> writer([] { SetPolicy(pthread_self(), SCHED_IDLE); },
                                       [file, &header, &line](const Record& record) {
                                           const size_t size =
                                               static_cast<size_t>(record.text.size());
                                           line.resize(header.size() + size + 1);
                                           for (size_t i = 0; i < size; ++i)
                                               line[header.size() + i] =
                                                   record.text.at(static_cast<int>(i)).toLatin1();
                                           line.back() = '\n';
                                           if (write(file, line.data(), line.size()) < 0)
                                               Bench::Fail("bench_stream_queued: cannot write");
                                       });
    return run.Measure([&writer](unsigned int number) { writer.Add(StreamedRecord(number)); },
                       [&writer] {
                           SetPolicy(writer.Thread(), SCHED_OTHER);
                           writer.Finish();
                       });
}
