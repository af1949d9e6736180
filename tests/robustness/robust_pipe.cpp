// Logs to a pipe whose reader goes away and comes back, in a host that wants SIGPIPE or does not:
// SCENARIO [RECORDS].

#include "log_record.h"
#include "robustness.h"
#include "temp_dir.h"

#include <QtCore/QFile>
#include <QtCore/QScopedPointer>

#include <atomic>

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace LifecycleHost;
using namespace Robustness;

namespace {

const int records_before = 1;
std::atomic<int> handled_signals(0);

void HandleSignal(int)
{
    ++handled_signals;
}

/** How a host treats SIGPIPE: as it is by default, or by ignoring or handling it. */
struct Wish
{
    const char* name;
    void (*handler)(int);
};

const Wish wishes[] = {{"default", SIG_DFL}, {"ignored", SIG_IGN}, {"handled", HandleSignal}};

/** The reader of the log. */
class Reader
{
public:
    explicit Reader(const QByteArray& path)
        : m_pipe(open(path.constData(), O_RDONLY | O_NONBLOCK))
    {
    }

    ~Reader() { close(m_pipe); }

    /** Reads until a record has this text. */
    bool AwaitRecord(const QByteArray& text)
    {
        return Await([this, &text] {
            char part[4096];
            const ssize_t size = read(m_pipe, part, sizeof part);
            if (size > 0)
                m_bytes.append(part, static_cast<int>(size));
            return m_bytes.contains("<b>" + text + "</b></dbg>\n");
        });
    }

    const QByteArray& Bytes() const { return m_bytes; }

private:
    Q_DISABLE_COPY(Reader)

    int m_pipe;
    QByteArray m_bytes;
};

/** Writes to a pipe of the host's own without a reader, in a child. */
bool OwnPipeBehavesAs(const Wish& wish)
{
    const pid_t child = fork();
    if (child == 0) {
        int ends[2];
        if (pipe(ends) != 0 || close(ends[0]) != 0)
            _exit(bad);
        const bool fails = write(ends[1], "x", 1) == -1;
        const int expected = wish.handler == HandleSignal ? 1 : 0;
        _exit(fails && handled_signals == expected ? good : bad);
    }
    int status = 0;
    waitpid(child, &status, 0);
    if (wish.handler == SIG_DFL)
        return WIFSIGNALED(status) && WTERMSIG(status) == SIGPIPE;
    return WIFEXITED(status) && WEXITSTATUS(status) == good;
}

bool WishIsAsItWas(const Wish& wish)
{
    struct sigaction action;
    return sigaction(SIGPIPE, nullptr, &action) == 0 && action.sa_handler == wish.handler;
}

Result Try(const char* program, const Wish& wish, int records)
{
    const ZolTest::TempDir dir;
    const QByteArray pipe_path = QFile::encodeName(dir.Path("a-pipe"));
    const QString file_path = dir.Path("log"); // behind the pipe in the order of the outputs
    signal(SIGPIPE, wish.handler);
    mkfifo(pipe_path.constData(), 0600);
    QScopedPointer<Reader> reader(new Reader(pipe_path));
    const Zol::DebugModule module(QLatin1String("host"));
    WriteTo(QFile::decodeName(pipe_path));
    WriteTo(file_path);
    Zol::DbgCollector::Start();
    LogRange(module, 0, records_before);
    bool is_read = reader->AwaitRecord("0");
    reader.reset();
    LogRange(module, records_before, records);
    is_read = AwaitText(file_path, "<b>" + QByteArray::number(records - 1) + "</b>") && is_read;
    reader.reset(new Reader(pipe_path));
    LogRange(module, records, records + 1);
    is_read = reader->AwaitRecord(QByteArray::number(records)) && is_read;
    const bool begins_a_line = reader->Bytes().startsWith("<dbg>");
    const bool is_prompt = StopPromptly();

    const int lost = Missing(BytesOf(file_path), "host", 0, records + 1);
    const int signals = handled_signals;
    return Report(
        program,
        is_read && is_prompt && begins_a_line && lost == 0 && signals == 0 && WishIsAsItWas(wish) &&
            OwnPipeBehavesAs(wish),
        "tried %d records without a reader, survived, SIGPIPE for the log %d, lost in the "
        "file %d, first record for the next reader %s; the host's own pipe as ever",
        records - records_before, signals, lost, begins_a_line ? "whole" : "cut");
}

} // namespace

int main(int argc, char** argv)
{
    const QByteArray name(argc > 1 ? argv[1] : "");
    const int records = Count(argc, argv, 2, 2000);
    QCoreApplication app(argc, argv);
    for (const Wish& wish : wishes) {
        if (name == wish.name)
            return Try(("robust_pipe." + name).constData(), wish, records);
    }
    return wrong_use;
}
