#include "html_report.h"

#include "log_text.h"
#include "rate_chart.h"
#include "text_table.h"

#include <algorithm>

namespace DbgCat {

namespace {

const char* const head =
    "<!DOCTYPE html>\n"
    "<html lang=\"en\">\n"
    "<head>\n"
    "<meta charset=\"utf-8\">\n"
    "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
    "<meta http-equiv=\"Content-Security-Policy\" "
    "content=\"default-src 'none'; style-src 'unsafe-inline'\">\n"
    "<title>Log report</title>\n"
    "<style>\n"
    ":root { color-scheme: light dark; --line: #d4d4d8; --soft: #71717a; --bar: #3b82f6; }\n"
    "body { font: 15px/1.45 system-ui, sans-serif; max-width: 1060px; margin: 2em auto; "
    "padding: 0 1em; }\n"
    "h1 { font-size: 1.6em; margin: 0; } h2 { font-size: 1.15em; margin: 2em 0 .5em; }\n"
    "p { margin: .3em 0; overflow-wrap: anywhere; }\n"
    ".soft { color: var(--soft); } .note { border-left: 4px solid #eab308; padding-left: .7em; }\n"
    "svg { width: 100%; height: auto; }\n"
    "svg text { font-size: 12px; fill: var(--soft); }\n"
    ".grid { stroke: var(--line); stroke-width: 1; fill: none; }\n"
    ".gap { fill: var(--line); opacity: .45; }\n"
    ".pause { fill: #a855f7; opacity: .35; stroke: #a855f7; }\n"
    ".start { stroke: #16a34a; stroke-width: 2; stroke-dasharray: 5 3; fill: none; }\n"
    "ul.legend { list-style: none; display: flex; flex-wrap: wrap; gap: .2em 1.2em; padding: 0; "
    "margin: .3em 0; }\n"
    ".key { display: inline-block; width: .8em; height: .8em; border-radius: 2px; "
    "margin-right: .4em; }\n"
    ".wide { overflow-x: auto; }\n"
    "table { border-collapse: collapse; width: 100%; }\n"
    "th, td { text-align: left; padding: .15em .9em .15em 0; vertical-align: top; "
    "border-bottom: 1px solid var(--line); }\n"
    "th { color: var(--soft); font-weight: normal; }\n"
    "td { overflow-wrap: anywhere; } td.n, th.n { text-align: right; white-space: nowrap; "
    "font-variant-numeric: tabular-nums; }\n"
    "td.bar { width: 40%; } td.bar div { background: var(--bar); height: .8em; margin-top: .35em; "
    "border-radius: 2px; min-width: 1px; }\n"
    "</style>\n"
    "</head>\n"
    "<body>\n";

const size_t most_rows = 50;

/** A name as UTF-8 that a browser takes for text, without characters that turn its direction. */
QByteArray Html(const QByteArray& name)
{
    return Decode(ByteSpan(Shown(name))).toHtmlEscaped().toUtf8();
}

QByteArray Count(qint64 count)
{
    QByteArray text = QByteArray::number(count);
    for (int at = static_cast<int>(text.size()) - 3; at > 0; at -= 3)
        text.insert(at, ',');
    return text;
}

QByteArray NumberCell(const QByteArray& text)
{
    return "<td class=\"n\">" + text + "</td>";
}

QByteArray BarCell(qint64 part, qint64 all, const QByteArray& colour = QByteArray())
{
    const double percent =
        all > 0 ? 100.0 * static_cast<double>(part) / static_cast<double>(all) : 0.0;
    return "<td class=\"bar\"><div style=\"width:" + QByteArray::number(percent, 'f', 1) + '%' +
           (colour.isEmpty() ? QByteArray() : ";background:" + colour) + "\"></div></td>";
}

void AppendMore(QByteArray& out, qint64 rows)
{
    if (rows > 0)
        out += "<p class=\"soft\">and " + Count(rows) + " more</p>\n";
}

void AppendSummary(QByteArray& out, const RecordSummary& records)
{
    out += "<p>" + Count(records.Records()) + (records.Records() == 1 ? " record" : " records");
    if (records.First() != no_time)
        out += " from " + TimeText(records.First()) + " to " + TimeText(records.Last()) + " (" +
               LengthText(records.Last() - records.First()) + ")";
    out += "</p>\n";
    if (records.ClockSteps() > 0)
        out += "<p class=\"note\">The clock went back " + Count(records.ClockSteps()) +
               (records.ClockSteps() == 1 ? " time" : " times") + ".</p>\n";
}

void AppendLegend(QByteArray& out, const RecordSummary& records)
{
    out += "<ul class=\"legend\">\n";
    for (int i = 0; i <= level_count; ++i) {
        const qint64 count = records.Levels()[static_cast<size_t>(i)];
        if (count > 0)
            out +=
                "<li><span class=\"key\" style=\"background:" + QByteArray(RateChart::Colour(i)) +
                "\"></span>" + ShortLevelName(i) + ' ' + Count(count) + "</li>\n";
    }
    out += "</ul>\n<ul class=\"legend soft\">\n"
           "<li><span class=\"key\" style=\"background:#16a34a\"></span>start</li>\n"
           "<li><span class=\"key\" style=\"background:#a855f7\"></span>nothing written: a pause "
           "or a full disk</li>\n"
           "<li><span class=\"key\" style=\"background:var(--line)\"></span>long time without "
           "records, shortened</li>\n</ul>\n";
}

void AppendNames(QByteArray& out, const char* title, const char* column, const NameCounts& names,
                 qint64 all)
{
    const std::vector<NameCounts::Entry> sorted = names.Sorted();
    out += "<h2>" + QByteArray(title) + "</h2>\n<table>\n<tr><th>" + column +
           "</th><th class=\"n\">records</th><th class=\"n\">share</th><th></th></tr>\n";
    for (size_t i = 0; i < sorted.size() && i < most_rows; ++i)
        out += "<tr><td>" + Html(sorted[i].first) + "</td>" + NumberCell(Count(sorted[i].second)) +
               NumberCell(Percent(sorted[i].second, all)) +
               BarCell(sorted[i].second, sorted[0].second) + "</tr>\n";
    out += "</table>\n";
    AppendMore(out, static_cast<qint64>(sorted.size()) - static_cast<qint64>(most_rows));
}

QByteArray RestartText(const RecordSummary::Restart& restart)
{
    if (restart.starts)
        return "the collector started";
    if (restart.before == no_time || restart.after == no_time)
        return "an output began to write";
    return "writing went on after " +
           LengthText(std::max<qint64>(0, restart.after - restart.before));
}

void AppendRestarts(QByteArray& out, const RecordSummary& records)
{
    if (records.RestartCount() == 0)
        return;
    out += "<h2>Starts and pauses</h2>\n<table>\n<tr><th>next record</th><th>what</th></tr>\n";
    size_t row = 0;
    for (const RecordSummary::Restart& restart : records.Restarts()) {
        if (row++ == most_rows)
            break;
        out += "<tr><td>" +
               (restart.after == no_time ? QByteArray("none") : TimeText(restart.after)) +
               "</td><td>" + RestartText(restart) + "</td></tr>\n";
    }
    out += "</table>\n";
    AppendMore(out, records.RestartCount() - static_cast<qint64>(most_rows));
}

void AppendMetrics(QByteArray& out, const MetricSummary& metrics)
{
    if (metrics.IsEmpty())
        return;
    out += "<h2>Metrics</h2>\n";
    if (metrics.Time() != no_time)
        out += "<p class=\"soft\">table of " + TimeText(metrics.Time()) + "</p>\n";
    out += "<table>\n<tr><th>place</th><th class=\"n\">count</th><th></th></tr>\n";
    const std::vector<MetricSummary::Place> sorted = metrics.Sorted();
    for (size_t i = 0; i < sorted.size() && i < most_rows; ++i)
        out += "<tr><td>" + Html(sorted[i].file) + ':' + Html(sorted[i].line) + "</td>" +
               NumberCell(Count(static_cast<qint64>(sorted[i].count))) +
               BarCell(static_cast<qint64>(sorted[i].count), static_cast<qint64>(sorted[0].count)) +
               "</tr>\n";
    out += "</table>\n";
    AppendMore(out, static_cast<qint64>(sorted.size()) - static_cast<qint64>(most_rows));
}

void AppendModuleTimes(QByteArray& out, const TimingSummary& timing)
{
    if (timing.Modules().empty())
        return;
    qint64 longest = 0;
    for (const std::pair<const QByteArray, TimingSummary::Module>& module : timing.Modules())
        longest = std::max(longest, TimingSummary::Mean(module.second));
    out += "<h2>Time of calls</h2>\n<table>\n<tr><th>module</th><th class=\"n\">calls</th>"
           "<th class=\"n\">mean</th><th class=\"n\">min</th><th class=\"n\">max</th>"
           "<th></th></tr>\n";
    size_t row = 0;
    for (const std::pair<const QByteArray, TimingSummary::Module>& module : timing.Modules()) {
        if (row++ == most_rows)
            break;
        const qint64 mean = TimingSummary::Mean(module.second);
        out += "<tr><td>" + Html(module.first) + "</td>" + NumberCell(Count(module.second.count)) +
               NumberCell(Milliseconds(mean)) + NumberCell(Milliseconds(module.second.min)) +
               NumberCell(Milliseconds(module.second.max)) + BarCell(mean, longest) + "</tr>\n";
    }
    out += "</table>\n";
    AppendMore(out, static_cast<qint64>(timing.Modules().size()) - static_cast<qint64>(most_rows));
}

void AppendSlowCalls(QByteArray& out, const TimingSummary& timing)
{
    if (timing.SlowCalls().empty())
        return;
    out += "<h2>Slow calls</h2>\n<div class=\"wide\"><table>\n<tr><th class=\"n\">took</th>"
           "<th>ended</th><th>module</th><th>thread</th><th>function</th></tr>\n";
    for (const TimingSummary::SlowCall& call : timing.SlowCalls())
        out += "<tr>" + NumberCell(Milliseconds(call.duration)) + "<td>" + Html(call.time) +
               "</td><td>" + Html(call.module) + "</td><td>" + Html(call.thread) + "</td><td>" +
               Html(call.function) + "<br><span class=\"soft\">" + Html(call.file) + ':' +
               Html(call.line) + "</span></td></tr>\n";
    out += "</table></div>\n";
    AppendMore(out, timing.SlowCallCount() - static_cast<qint64>(timing.SlowCalls().size()));
}

} // namespace

HtmlReport::HtmlReport(const std::vector<QByteArray>& logs, const QByteArray& damage)
    : m_logs(logs)
    , m_damage(damage)
{
}

void HtmlReport::Append(const RecordSummary& records, const MetricSummary& metrics,
                        const TimingSummary& timing, QByteArray& out) const
{
    out += head;
    out += "<h1>Log report</h1>\n<p class=\"soft\">";
    for (size_t i = 0; i < m_logs.size(); ++i)
        out += (i > 0 ? ", " : "") + Html(m_logs[i] == "-" ? "standard input" : m_logs[i]);
    out += "</p>\n";
    AppendSummary(out, records);
    const QList<QByteArray> damage = m_damage.split('\n');
    for (const QByteArray& line : damage) {
        if (!line.isEmpty())
            out += "<p class=\"note\">" + Html(line) + ".</p>\n";
    }
    if (records.First() != no_time) {
        out += "<h2>Records over time</h2>\n";
        RateChart(records).Append(out);
        AppendLegend(out, records);
    }
    if (!records.IsEmpty()) {
        AppendNames(out, "Modules", "module", records.Modules(), records.Records());
        AppendNames(out, "Threads", "thread", records.Threads(), records.Records());
    }
    AppendRestarts(out, records);
    AppendMetrics(out, metrics);
    AppendModuleTimes(out, timing);
    AppendSlowCalls(out, timing);
    out += "</body>\n</html>\n";
}

} // namespace DbgCat
