#include "metric_summary.h"

#include "text_table.h"

#include <algorithm>

namespace DbgCat {

namespace {

const qint64 most_bytes = 16 << 20; // many times what the places of a host take

} // namespace

MetricSummary::MetricSummary()
    : m_time(no_time)
    , m_bytes(0)
    , m_left_out(0)
{
}

void MetricSummary::Take(const LogItem& item, LogTime time)
{
    if (item.kind == LogItem::Record && item.module.Is("DBG") &&
        item.body.Is("Dumping metric table")) {
        m_places.clear();
        m_bytes = 0;
        m_left_out = 0;
        m_time = time;
    }
    if (item.kind != LogItem::Metric)
        return;
    const qint64 overhead = 150;
    m_bytes += item.file.size + overhead;
    if (m_bytes > most_bytes)
        ++m_left_out;
    else
        m_places.push_back({item.file.Copy(), item.line.Copy(), item.count.View().toULongLong()});
}

void MetricSummary::AppendText(QByteArray& out) const
{
    if (m_time != no_time)
        out += "metric table of " + TimeText(m_time) + '\n';
    if (m_places.empty()) {
        out += "no metrics\n";
        return;
    }
    TextTable table({"count", "place"});
    const std::vector<Place> sorted = Sorted();
    for (const Place& place : sorted)
        table.Add({QByteArray::number(place.count), Shown(place.file) + ':' + place.line});
    table.Append(out);
    if (m_left_out > 0)
        out += "and " + QByteArray::number(m_left_out) + " more, which were left out\n";
}

std::vector<MetricSummary::Place> MetricSummary::Sorted() const
{
    std::vector<Place> sorted = m_places;
    std::stable_sort(sorted.begin(), sorted.end(),
                     [](const Place& a, const Place& b) { return a.count > b.count; });
    return sorted;
}

} // namespace DbgCat
