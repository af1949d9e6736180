// Logs text beyond ASCII before and after main has returned: PATH.

#include "lifecycle_host.h"
#include "log_record.h"

#include <QtCore/QFile>

#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
#include <QtCore/QTextCodec>
#endif

using namespace LifecycleHost;

namespace {

Zol::DebugModule module(QLatin1String("host"));

class LateStop
{
public:
    ~LateStop()
    {
        ZOL_INFO(module) << QString::fromLatin1("\xe4 late");
        Zol::DbgCollector::Stop();
    }
};

LateStop late_stop;

void AwaitText(const QString& path, const QByteArray& text)
{
    QElapsedTimer timer;
    timer.start();
    while (!ZolTest::ReadFile(QFile::encodeName(path)).contains(text) &&
           timer.elapsed() < ZolTest::WaitBound())
        Delay(1000);
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("ISO-8859-1"));
#endif
    const QString path = Argument(argc, argv, 1);
    WriteTo(path);
    Zol::DbgCollector::Start();
    ZOL_INFO(module) << QString::fromLatin1("\xe4 early");
    AwaitText(path, " early");
    return 3;
}
