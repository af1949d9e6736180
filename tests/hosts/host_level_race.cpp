// The first conversions and the first formatting of the process, on eight threads at once.

#include "dbg_utils.h"

#include <QtCore/QDateTime>
#include <QtCore/QString>
#include <QtCore/QThread>

#include <atomic>
#include <memory>
#include <vector>

namespace {

const int thread_count = 8;
std::atomic<int> ready(0);

const char* const names[] = {"DBG_TRACE", "DBG_INFO",  "DBG_WARN", "DBG_ERROR",
                             "DBG_FATAL", "DBG_DEVEL", "DBG_LOAD", "DBG_CONT_LOG"};
const int values[] = {1, 2, 4, 8, 32, 134217728, 512, 16384};

class Converter : public QThread
{
public:
    explicit Converter(int index)
        : m_index(index)
        , m_right(false)
    {
    }

    bool Right() const { return m_right; }

protected:
    void run() override
    {
        ++ready;
        while (ready.load() < thread_count) {
        }
        // The conversion first, so that nothing before it lines the threads up.
        bool right = true;
        for (int i = 0; i < thread_count; ++i) {
            const int which = (m_index + i) % thread_count;
            const QString name = QString::fromLatin1(names[which]);
            right = Zol::DbgUtils::QSToDbgLvl(name) == values[which] && right;
        }
        const QString header = Zol::DbgUtils::FormatDbgHeader(
            QDateTime(), QString::fromLatin1("M"), QString::fromLatin1("f"), 1,
            QString::fromLatin1("g<'&'>"), Zol::DBG_CONF, QString::fromLatin1("T"));
        right = header == QString::fromLatin1("<h><d t=\"\" m=\"M\" f=\"f\" l=\"1\" "
                                              "fnc=\"g&lt;&apos;&amp;&apos;&gt;\" "
                                              "lvl=\"DBG_CONF\" thrd=\"T\"/></h>") &&
                right;
        m_right = right;
    }

private:
    const int m_index;
    bool m_right;
};

} // namespace

int main()
{
    std::vector<std::unique_ptr<Converter>> converters;
    for (int i = 0; i < thread_count; ++i)
        converters.push_back(std::unique_ptr<Converter>(new Converter(i)));
    for (const std::unique_ptr<Converter>& converter : converters)
        converter->start();
    bool right = true;
    for (const std::unique_ptr<Converter>& converter : converters) {
        converter->wait();
        right = converter->Right() && right;
    }
    return right ? 0 : 1;
}
