// Logs from destructors that run when main has returned: MODE PATH.

#include "lifecycle_host.h"

#include <unistd.h>

using namespace LifecycleHost;

namespace {

// The first of these objects is destroyed last.
Zol::DebugModule module(QLatin1String("host"));

/** Stops the collector behind main, if it is told to. */
class LateStop
{
public:
    LateStop()
        : m_wanted(false)
    {
    }

    ~LateStop()
    {
        if (m_wanted && !StopPromptly())
            _exit(4);
    }

    void Want() { m_wanted = true; }

private:
    bool m_wanted;
};

LateStop late_stop;

/** Logs when it is destroyed. */
class LastWords
{
public:
    explicit LastWords(const char* text)
        : m_text(text)
    {
    }
    ~LastWords() { ZOL_ERROR(module) << m_text; }

private:
    const char* m_text;
};

LastWords last_words("static destructor");

void LogAtThreadEnd(const char* text)
{
    static thread_local LastWords words(text);
    static_cast<void>(words);
}

} // namespace

int main(int argc, char** argv)
{
    const QString mode = Argument(argc, argv, 1);
    QCoreApplication app(argc, argv);
    WriteTo(Argument(argc, argv, 2));
    static Zol::DebugModule local_module(QLatin1String("host"));
    if (mode != QLatin1String("never started"))
        Zol::DbgCollector::Start();
    ZOL_ERROR(local_module) << "main";
    LogAtThreadEnd("thread_local of main");
    std::thread([] {
        LogAtThreadEnd("thread_local of a thread");
        ZOL_ERROR(module) << "thread";
    }).join();
    if (mode == QLatin1String("stop in main"))
        Zol::DbgCollector::Stop();
    else if (mode == QLatin1String("stop in destructor"))
        late_stop.Want();
    return 0;
}
