#ifndef DBGCAT_METRIC_SUMMARY_H
#define DBGCAT_METRIC_SUMMARY_H

#include "log_summary.h"

#include <vector>

namespace DbgCat {

/** The newest table of the places that the host counts. */
class MetricSummary : public LogSummary
{
public:
    struct Place
    {
        QByteArray file;
        QByteArray line;
        quint64 count;
    };

    MetricSummary();

    void Take(const LogItem& item, LogTime time) override;
    bool IsEmpty() const override { return m_places.empty(); }
    void AppendText(QByteArray& out) const override;

    /** When the table was written; no_time if that is not known. */
    LogTime Time() const { return m_time; }

    /** The places, the most frequent first. */
    std::vector<Place> Sorted() const;

private:
    LogTime m_time;
    std::vector<Place> m_places;
    qint64 m_bytes;
    qint64 m_left_out;
};

} // namespace DbgCat

#endif
