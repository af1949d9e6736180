// Uses the library a lot when it is stopped and prints by how many kB its memory grew: MODE.

#include "lifecycle_host.h"
#include "log_record.h"

#include <QtCore/QByteArray>
#include <QtCore/QList>

#include <cstdio>

using namespace LifecycleHost;

namespace {

/** The resident memory of this process in kB. */
int ResidentMemory()
{
    const QList<QByteArray> lines = ZolTest::ReadFile("/proc/self/status").split('\n');
    for (const QByteArray& line : lines) {
        if (line.startsWith("VmRSS:"))
            return line.mid(6, static_cast<int>(line.indexOf("kB")) - 6).trimmed().toInt();
    }
    std::exit(wrong_use);
}

void UseLibrary(int count)
{
    const QString id = QLatin1String("host");
    for (int i = 0; i < count; ++i) {
        const Zol::DebugModule module(id);
        Zol::DBG_OBJ(id, __FILE__, __LINE__, Q_FUNC_INFO, Zol::DBG_INFO).Dbg() << i;
    }
}

} // namespace

int main(int argc, char** argv)
{
    const QString mode = Argument(argc, argv, 1);
    QCoreApplication app(argc, argv);
    if (mode == QLatin1String("started")) {
        WriteTo(QLatin1String("/dev/null"));
        Zol::DbgCollector::Start();
    } else if (mode != QLatin1String("never started")) {
        return wrong_use;
    }
    UseLibrary(1000);
    Zol::DbgCollector::Stop();
    UseLibrary(1000);
    const int before = ResidentMemory();
    UseLibrary(100000);
    std::printf("%d\n", ResidentMemory() - before);
    return 0;
}
