// Fills what a log may take and makes room again: SCENARIO [ROUNDS].

#include "log_record.h"
#include "probe.h"
#include "robustness.h"
#include "temp_dir.h"

#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace LifecycleHost;
using namespace Robustness;
using ZolTest::Probe;

namespace {

const int records_a_round = 20;
const int most_room = 4000; // bytes; less than the records of a round

/** An output behind the file: what it has, the file was given before. */
Probe& Witness()
{
    return Probe::Get(QLatin1String("witness"));
}

/** Logs one text and waits until the outputs had it. */
bool LogAndWait(const Zol::DebugModule& module, const QByteArray& text)
{
    ZOL_INFO(module) << text.constData();
    return Witness().WaitFor("<b>" + text + "</b>");
}

/** A medium that can be made full. */
class Medium
{
public:
    virtual ~Medium() {}

    virtual QString LogPath() const = 0;

    /** Leaves room for @p bytes, more or less, and no more. */
    virtual void LimitRoom(int bytes) = 0;

    virtual void MakeRoom() = 0;
};

/** A quota: the log may not grow beyond a size. */
class LimitedFile : public Medium
{
public:
    LimitedFile()
    {
        signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &m_before);
    }

    ~LimitedFile() { MakeRoom(); }

    QString LogPath() const override { return m_dir.Path("log"); }

    void LimitRoom(int bytes) override
    {
        struct rlimit limit = m_before;
        limit.rlim_cur = static_cast<rlim_t>(QFileInfo(LogPath()).size() + bytes);
        setrlimit(RLIMIT_FSIZE, &limit);
    }

    void MakeRoom() override { setrlimit(RLIMIT_FSIZE, &m_before); }

private:
    ZolTest::TempDir m_dir;
    struct rlimit m_before;
};

/** Gives this process a tmpfs of its own; empty if that is not permitted. */
QByteArray MountFolder(const ZolTest::TempDir& dir, const char* options, unsigned long flags)
{
    const QByteArray path = QFile::encodeName(dir.Path("mount"));
    const bool is_mounted = unshare(CLONE_NEWNS) == 0 &&
                            mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                            mkdir(path.constData(), 0700) == 0 &&
                            mount("none", path.constData(), "tmpfs", flags, options) == 0;
    return is_mounted ? path : QByteArray();
}

/** A small disk, which another file fills. */
class SmallDisk : public Medium
{
public:
    SmallDisk()
        : m_path(MountFolder(m_dir, "size=4m", 0))
        , m_filling(QFile::decodeName(m_path + "/filling"))
    {
        m_filling.open(QIODevice::WriteOnly | QIODevice::Unbuffered);
    }

    ~SmallDisk()
    {
        m_filling.close();
        umount2(m_path.constData(), MNT_DETACH);
    }

    bool IsMounted() const { return !m_path.isEmpty(); }
    QString LogPath() const override { return QFile::decodeName(m_path + "/log"); }

    void LimitRoom(int bytes) override
    {
        const QByteArray block(1 << 20, 'x');
        while (m_filling.write(block) > 0)
            continue;
        // What is left besides is the rest of the log's last page.
        if (bytes > most_room / 2)
            m_filling.resize(m_filling.size() - sysconf(_SC_PAGESIZE));
    }

    void MakeRoom() override
    {
        m_filling.resize(0);
        m_filling.seek(0);
    }

private:
    ZolTest::TempDir m_dir;
    QByteArray m_path;
    QFile m_filling;
};

struct Figures
{
    int cut;
    int whole_behind;
};

/** Fills the medium while the host logs, makes room, and logs one more record. */
bool FillAndMakeRoom(Medium& medium, const Zol::DebugModule& module, int round, int room)
{
    medium.LimitRoom(room);
    const QByteArray name = QByteArray::number(round);
    for (int i = 0; i < records_a_round; ++i)
        ZOL_INFO(module) << "while full " << round;
    const bool is_written = LogAndWait(module, "full " + name);
    medium.MakeRoom();
    return LogAndWait(module, "behind " + name) && is_written;
}

Figures FiguresOf(const QByteArray& log, int rounds)
{
    const QList<QByteArray> texts = ZolTest::MessagesOf(log, "host");
    Figures figures = {BrokenLines(log), 0};
    for (int i = 0; i < rounds; ++i)
        figures.whole_behind += texts.count("behind " + QByteArray::number(i)) == 1;
    return figures;
}

Result Try(const char* program, Medium& medium, int rounds)
{
    Random random;
    WriteTo(medium.LogPath());
    Zol::DbgCollector::CollectCfgMsg(QLatin1String("probe:witness"), QLatin1String("*"),
                                     Zol::DBG_INFO);
    const Zol::DebugModule module(QLatin1String("host"));
    Zol::DbgCollector::Start();
    bool is_written = LogAndWait(module, "begin");
    for (int i = 0; i < rounds && is_written; ++i)
        is_written = FillAndMakeRoom(medium, module, i, random.Below(most_room));
    const bool is_prompt = StopPromptly();
    const Figures figures = FiguresOf(BytesOf(medium.LogPath()), rounds);
    return Report(
        program, is_written && is_prompt && figures.whole_behind == rounds && figures.cut <= rounds,
        "tried %d times full, cut lines %d, next record whole and on its own line %d of "
        "%d",
        rounds, figures.cut, figures.whole_behind, rounds);
}

Result TryQuota(const char* program, int rounds)
{
    LimitedFile medium;
    return Try(program, medium, rounds);
}

Result TrySmallDisk(const char* program, int rounds)
{
    SmallDisk medium;
    return medium.IsMounted() ? Try(program, medium, rounds)
                              : Skip(program, "this user may not mount");
}

// A mount that is read-only when the output is made, and writable at a resumption.
Result TryReadOnly(const char* program, int records)
{
    const ZolTest::TempDir dir;
    const QByteArray folder = MountFolder(dir, "size=4m", MS_RDONLY);
    if (folder.isEmpty())
        return Skip(program, "this user may not mount");
    const QString path = QFile::decodeName(folder + "/log");
    const QString good_path = dir.Path("good");
    const Zol::DebugModule module(QLatin1String("host"));
    WriteTo(path);
    WriteTo(good_path);
    Zol::DbgCollector::Start();
    LogRange(module, 0, records);
    const bool is_written = AwaitText(good_path, "<b>" + QByteArray::number(records - 1) + "</b>");
    mount("none", folder.constData(), nullptr, MS_REMOUNT, "size=4m");
    Zol::DbgUtils::SignalLoggingPause();
    Zol::DbgUtils::SignalLoggingResume();
    // While the pause lasts, messages are not even made.
    const bool has_resumed = AwaitText(path, "<DEBUG_SERVER_RESTART/>") &&
                             Await([&module] { return !module.LvlDisabled(Zol::DBG_INFO); });
    LogRange(module, records, 2 * records);
    const bool is_prompt = StopPromptly();
    const int lost = Missing(BytesOf(path), "host", records, 2 * records) +
                     Missing(BytesOf(good_path), "host", 0, 2 * records);
    const int broken = BrokenLines(BytesOf(path));
    umount2(folder.constData(), MNT_DETACH);
    return Report(program, is_written && has_resumed && is_prompt && lost + broken == 0,
                  "tried %d records while read-only and %d behind, survived, lost behind %d, "
                  "broken lines %d",
                  records, records, lost, broken);
}

} // namespace

int main(int argc, char** argv)
{
    const QByteArray name(argc > 1 ? argv[1] : "");
    const int count = Count(argc, argv, 2, 200);
    QCoreApplication app(argc, argv);
    const QByteArray program = "robust_full_disk." + name;
    if (name == "quota")
        return TryQuota(program.constData(), count);
    if (name == "small_disk")
        return TrySmallDisk(program.constData(), count);
    if (name == "read_only")
        return TryReadOnly(program.constData(), count);
    return wrong_use;
}
