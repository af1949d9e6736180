#include "metric_table.h"

#include "line_counts.h"
#include "qt_compat.h"

#include <QtCore/QHash>
#include <QtCore/QMap>
#include <QtCore/QMutex>
#include <QtCore/QMutexLocker>
#include <QtCore/QStringList>

#include <algorithm>
#include <vector>

namespace Zol {

namespace {

const char* const metric_format = "<metric f=\"%1\" l=\"%2\" c=\"%3\"/>\n";

} // namespace

MetricTable::MetricKey::MetricKey(const QString& file, unsigned int line)
    : m_file(file)
    , m_line_no(line)
{
}

bool operator<(const MetricTable::MetricKey& a, const MetricTable::MetricKey& b)
{
    if (a.m_file != b.m_file)
        return a.m_file < b.m_file;
    return a.m_line_no < b.m_line_no;
}

/** The counters of all files, as a hit finds them and in the order of a dump. */
class MetricTable::Impl
{
public:
    Impl() {}
    ~Impl() { qDeleteAll(m_files); }

    void Count(const QString& file, unsigned int line)
    {
        QMutexLocker lock(&m_mutex);
        LineCounts* counts = m_files_by_hash.value(file);
        if (!counts)
            counts = AddFile(QtCompat::Owned(file));
        ++(*counts)[line];
    }

    QStringList Files()
    {
        QMutexLocker lock(&m_mutex);
        return m_files.keys();
    }

    /** The lines of a file, in their order. */
    std::vector<LineCounts::Hits> HitsOf(const QString& file)
    {
        std::vector<LineCounts::Hits> hits;
        {
            QMutexLocker lock(&m_mutex);
            hits = m_files.value(file)->All();
        }
        std::sort(hits.begin(), hits.end());
        return hits;
    }

private:
    Q_DISABLE_COPY(Impl)

    LineCounts* AddFile(const QString& file)
    {
        LineCounts* const counts = new LineCounts;
        m_files.insert(file, counts);
        m_files_by_hash.insert(file, counts);
        return counts;
    }

    QMap<QString, LineCounts*> m_files;
    QHash<QString, LineCounts*> m_files_by_hash;
    QMutex m_mutex; // hosts count while the collector dumps
};

MetricTable::MetricTable()
    : m_impl(new Impl)
{
}

MetricTable::~MetricTable() {}

void MetricTable::Update(const QString& file, unsigned int line)
{
    m_impl->Count(file, line);
}

void MetricTable::Dump(QString& out)
{
    const QStringList files = m_impl->Files();
    for (const QString& file : files) {
        const std::vector<LineCounts::Hits> hits = m_impl->HitsOf(file);
        for (const LineCounts::Hits& hit : hits)
            out += QString(QLatin1String(metric_format)).arg(file).arg(hit.first).arg(hit.second);
    }
}

} // namespace Zol
