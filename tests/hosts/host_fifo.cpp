// Logs to a pipe whose reader goes away, and to a file: MODE PIPE PATH.

#include "lifecycle_host.h"

#include <QtCore/QFile>

#include <fcntl.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace LifecycleHost;

namespace {

/** Reads until @p text came. */
void AwaitText(int pipe, const QByteArray& text)
{
    QElapsedTimer timer;
    timer.start();
    QByteArray all;
    while (!all.contains(text) && timer.elapsed() < ZolTest::WaitBound()) {
        char part[4096];
        const ssize_t size = read(pipe, part, sizeof part);
        if (size > 0)
            all.append(part, static_cast<int>(size));
        else
            Delay(1000);
    }
}

/** Waits until the writer has filled the pipe. */
void AwaitFull(int pipe)
{
    QElapsedTimer timer;
    timer.start();
    int before = 0;
    int times = 0;
    while (times < 50 && timer.elapsed() < ZolTest::WaitBound()) {
        int now = 0;
        ioctl(pipe, FIONREAD, &now);
        times = now > 50000 && now == before ? times + 1 : 0;
        before = now;
        Delay(1000);
    }
}

bool SignalIsAsItWas()
{
    struct sigaction action;
    return sigaction(SIGPIPE, nullptr, &action) == 0 && action.sa_handler == SIG_DFL;
}

} // namespace

int main(int argc, char** argv)
{
    signal(SIGPIPE, SIG_DFL);
    const QString mode = Argument(argc, argv, 1);
    const QString pipe_path = Argument(argc, argv, 2);
    const QByteArray pipe_name = QFile::encodeName(pipe_path);
    if (mkfifo(pipe_name.constData(), 0600) != 0)
        return wrong_use;
    const int pipe = open(pipe_name.constData(), O_RDONLY | O_NONBLOCK);
    QCoreApplication app(argc, argv);
    const Zol::DebugModule module(QLatin1String("host"));
    WriteTo(pipe_path);
    WriteTo(Argument(argc, argv, 3));
    Zol::DbgCollector::Start();
    if (mode == QLatin1String("idle")) {
        ZOL_INFO(module) << "first";
        AwaitText(pipe, "<b>first</b>");
        close(pipe);
        LogNumbers(module, 1000);
    } else if (mode == QLatin1String("full")) {
        LogNumbers(module, 1000);
        AwaitFull(pipe);
        close(pipe);
    } else {
        return wrong_use;
    }
    if (!StopPromptly())
        return 4;
    return SignalIsAsItWas() ? 3 : 5;
}
