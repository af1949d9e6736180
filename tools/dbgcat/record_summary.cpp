#include "record_summary.h"

#include "text_table.h"

#include <algorithm>

namespace DbgCat {

namespace {

const int most_names = 20;

void AppendNames(QByteArray& out, const char* title, const NameCounts& names, qint64 all)
{
    const std::vector<NameCounts::Entry> sorted = names.Sorted();
    TextTable table({"records", "share", title});
    for (size_t i = 0; i < sorted.size() && i < most_names; ++i)
        table.Add({QByteArray::number(sorted[i].second), Percent(sorted[i].second, all),
                   Shown(sorted[i].first)});
    out += '\n';
    table.Append(out);
    if (sorted.size() > most_names)
        out +=
            "and " + QByteArray::number(static_cast<int>(sorted.size()) - most_names) + " more\n";
}

void AppendLevels(QByteArray& out, const Timeline::Counts& levels, qint64 all)
{
    TextTable table({"records", "share", "level"});
    for (int i = 0; i <= level_count; ++i) {
        const qint64 count = levels[static_cast<size_t>(i)];
        if (count > 0)
            table.Add({QByteArray::number(count), Percent(count, all), ShortLevelName(i)});
    }
    out += '\n';
    table.Append(out);
}

void AppendRate(QByteArray& out, const Timeline& rate)
{
    const int most_rows = 24;
    const qint64 bar_width = 44;
    const Timeline coarse = rate.Coarsened(most_rows);
    qint64 most = 0;
    for (const std::pair<const qint64, Timeline::Counts>& period : coarse.Periods())
        most = std::max(most, Total(period.second));
    out += "\nrecords in each " + LengthText(coarse.PeriodLength()) + '\n';
    bool is_first = true;
    qint64 expected = 0;
    for (const std::pair<const qint64, Timeline::Counts>& period : coarse.Periods()) {
        if (!is_first && period.first != expected)
            out += "  none for " + LengthText((period.first - expected) * coarse.PeriodLength()) +
                   '\n';
        const qint64 count = Total(period.second);
        const int width = static_cast<int>((count * bar_width + most - 1) / most);
        out += TimeText(period.first * coarse.PeriodLength(), coarse.PeriodLength() < 1000) + ' ' +
               QByteArray(width, '#') + ' ' + QByteArray::number(count) + '\n';
        is_first = false;
        expected = period.first + 1;
    }
}

} // namespace

RecordSummary::RecordSummary()
    : m_records(0)
    , m_first(no_time)
    , m_last(no_time)
    , m_newest(no_time)
    , m_clock_steps(0)
    , m_levels()
    , m_restart_count(0)
{
}

void RecordSummary::Take(const LogItem& item, LogTime time)
{
    if (item.kind == LogItem::Restart)
        TakeRestart(time);
    if (item.kind != LogItem::Record)
        return;
    const int level = LevelIndex(item.level);
    ++m_records;
    ++m_levels[static_cast<size_t>(level)];
    m_modules.Add(item.module);
    m_threads.Add(item.thread);
    const LogTime own_time = ParseRecordTime(item.time);
    if (own_time == no_time)
        return;
    const LogTime ordinary_disorder = 1000; // threads log side by side
    if (m_newest != no_time && own_time < m_newest - ordinary_disorder)
        ++m_clock_steps;
    m_newest = own_time;
    m_first = m_first == no_time ? own_time : std::min(m_first, own_time);
    m_last = std::max(m_last, own_time);
    m_rate.Add(own_time, level);
    NoteStart(item, own_time);
}

void RecordSummary::TakeRestart(LogTime time)
{
    const size_t most = 1000;
    ++m_restart_count;
    if (m_restarts.size() < most)
        m_restarts.push_back({time, no_time, false});
}

/**
 * What comes behind the last restart tells a pause from a new process: a collector that starts
 * dumps its metrics at once, and else it does so every two minutes only.
 */
void RecordSummary::NoteStart(const LogItem& record, LogTime time)
{
    if (m_restarts.empty() || m_restart_count != static_cast<qint64>(m_restarts.size()))
        return;
    Restart& restart = m_restarts.back();
    if (restart.after == no_time)
        restart.after = time;
    const LogTime at_once = 1000;
    if (!restart.starts && time - restart.after <= at_once && record.module.Is("DBG") &&
        record.body.Is("Dumping metric table"))
        restart.starts = true;
}

void RecordSummary::AppendText(QByteArray& out) const
{
    out += QByteArray::number(m_records) + (m_records == 1 ? " record" : " records");
    if (m_first != no_time)
        out += " from " + TimeText(m_first) + " to " + TimeText(m_last);
    out += '\n';
    if (m_restart_count > 0)
        out += "an output began to write " + QByteArray::number(m_restart_count) +
               (m_restart_count == 1 ? " time\n" : " times\n");
    if (m_clock_steps > 0)
        out += "the clock went back " + QByteArray::number(m_clock_steps) +
               (m_clock_steps == 1 ? " time\n" : " times\n");
    if (m_records == 0)
        return;
    AppendLevels(out, m_levels, m_records);
    AppendNames(out, "module", m_modules, m_records);
    AppendNames(out, "thread", m_threads, m_records);
    if (m_first != no_time)
        AppendRate(out, m_rate);
}

} // namespace DbgCat
