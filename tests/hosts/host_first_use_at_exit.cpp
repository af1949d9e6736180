// Calls the library for the first time when main has returned: MODE.

#include "lifecycle_host.h"

using namespace LifecycleHost;

namespace {

class LateUser
{
public:
    ~LateUser()
    {
        if (m_mode == "message") {
            Zol::DBG_OBJ(QLatin1String("host"), __FILE__, __LINE__, Q_FUNC_INFO, Zol::DBG_INFO)
                    .Dbg()
                << "late";
        } else if (m_mode == "module") {
            Zol::DebugModule module(QLatin1String("host"));
            ZOL_INFO(module) << "late";
        } else if (m_mode == "metric") {
            Zol::DbgCollector::CollectMetric(QLatin1String("file.cpp"), 1);
        } else if (m_mode == "start") {
            Zol::DbgCollector::Start();
        } else if (m_mode == "stop") {
            Zol::DbgCollector::Stop();
        } else if (m_mode == "start and stop") {
            Zol::DbgCollector::Start();
            Zol::DbgCollector::Stop();
        }
    }

    void SetMode(const QByteArray& mode) { m_mode = mode; }

private:
    QByteArray m_mode;
};

LateUser late_user;

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    late_user.SetMode(Argument(argc, argv, 1).toLatin1());
    return 7;
}
