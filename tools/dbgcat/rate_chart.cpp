#include "rate_chart.h"

#include "text_table.h"

#include <algorithm>
#include <math.h>

namespace DbgCat {

namespace {

const int most_periods = 120;

const double width = 1000;
const double left = 60;
const double right = 990;
const double top = 14;
const double bottom = 250;
const double height = 290;

const char* const colours[] = {"#9aa5b1", "#3b82f6", "#eab308", "#f97316", "#dc2626", "#86198f",
                               "#14b8a6", "#0f766e", "#6366f1", "#84cc16", "#78716c", "#ec4899",
                               "#06b6d4", "#a16207", "#22c55e", "#a78bfa", "#525252"};

QByteArray Number(double number)
{
    return QByteArray::number(number, 'f', 1);
}

/** The next number of the form 1, 2 or 5 with zeros, so that few steps of it reach @p most. */
qint64 GridStep(qint64 most)
{
    const int steps = 4;
    qint64 step = 1;
    while (step * steps < most) {
        const bool is_two = step / static_cast<qint64>(pow(10, floor(log10(double(step))))) == 2;
        step = is_two ? step / 2 * 5 : step * 2;
    }
    return step;
}

QByteArray Text(double x, double y, const char* anchor, const QByteArray& text)
{
    return "<text x=\"" + Number(x) + "\" y=\"" + Number(y) + "\" text-anchor=\"" + anchor + "\">" +
           text + "</text>\n";
}

QByteArray Box(double x, double y, double box_width, double box_height, const QByteArray& rest)
{
    return "<rect x=\"" + Number(x) + "\" y=\"" + Number(y) + "\" width=\"" + Number(box_width) +
           "\" height=\"" + Number(box_height) + "\" " + rest;
}

} // namespace

RateChart::RateChart(const RecordSummary& records)
    : m_records(records)
    , m_rate(records.Rate().Coarsened(most_periods))
    , m_most(1)
{
    qint64 expected = 0;
    for (const std::pair<const qint64, Timeline::Counts>& period : m_rate.Periods()) {
        if (!m_slots.empty())
            AddSlots(expected, period.first - expected);
        m_slots.push_back({period.first, 1, &period.second});
        m_most = std::max(m_most, Total(period.second));
        expected = period.first + 1;
    }
    const double widest = 60;
    m_slot_width = std::min(widest, (right - left) / static_cast<double>(m_slots.size()));
}

const char* RateChart::Colour(int level_index)
{
    return colours[level_index];
}

/** A short time without records is as long as it was; a longer one is cut short. */
void RateChart::AddSlots(qint64 first, qint64 length)
{
    const qint64 longest = 3;
    if (length > longest) {
        m_slots.push_back({first, length, 0});
        return;
    }
    for (qint64 i = 0; i < length; ++i)
        m_slots.push_back({first + i, 1, 0});
}

double RateChart::Position(LogTime time) const
{
    double x = left;
    for (const Slot& slot : m_slots) {
        const LogTime start = slot.number * m_rate.PeriodLength();
        const LogTime end = start + slot.length * m_rate.PeriodLength();
        if (time < end) {
            const double share =
                static_cast<double>(time - start) / static_cast<double>(end - start);
            return x + std::max(0.0, share) * m_slot_width;
        }
        x += m_slot_width;
    }
    return x;
}

void RateChart::Append(QByteArray& out) const
{
    out += "<svg viewBox=\"0 0 " + Number(width) + ' ' + Number(height) +
           "\" role=\"img\" aria-label=\"Records over time by level\">\n";
    AppendGrid(out);
    AppendBars(out);
    AppendRestarts(out);
    AppendTimes(out);
    out += "</svg>\n";
}

void RateChart::AppendGrid(QByteArray& out) const
{
    const qint64 step = GridStep(m_most);
    for (qint64 value = 0; value <= m_most; value += step) {
        const double y = bottom - (bottom - top) * double(value) / double(m_most);
        out += "<path class=\"grid\" d=\"M" + Number(left) + ' ' + Number(y) + 'H' + Number(right) +
               "\"/>\n";
        out += Text(left - 6, y + 4, "end", QByteArray::number(value));
    }
}

void RateChart::AppendBars(QByteArray& out) const
{
    double x = left;
    const double gap = m_slot_width > 4 ? 1 : 0;
    for (const Slot& slot : m_slots) {
        const QByteArray start =
            TimeText(slot.number * m_rate.PeriodLength(), m_rate.PeriodLength() < 1000);
        if (!slot.counts && slot.length > 1) {
            out += Box(x, top, m_slot_width, bottom - top, "class=\"gap\"><title>") +
                   "no records for " + LengthText(slot.length * m_rate.PeriodLength()) + " from " +
                   start + "</title></rect>\n";
        }
        double y = bottom;
        for (int level = 0; slot.counts && level <= level_count; ++level) {
            const qint64 count = (*slot.counts)[static_cast<size_t>(level)];
            if (count == 0)
                continue;
            const double bar = (bottom - top) * double(count) / double(m_most);
            y -= bar;
            out += Box(x, y, m_slot_width - gap, bar,
                       "fill=\"" + QByteArray(colours[level]) + "\"><title>") +
                   start + ": " + QByteArray::number(count) + ' ' + ShortLevelName(level) +
                   "</title></rect>\n";
        }
        x += m_slot_width;
    }
}

void RateChart::AppendRestarts(QByteArray& out) const
{
    for (const RecordSummary::Restart& restart : m_records.Restarts()) {
        const LogTime known = restart.after != no_time ? restart.after : restart.before;
        if (known == no_time)
            continue;
        const double x = Position(known);
        const bool is_pause = !restart.starts && restart.before != no_time &&
                              restart.after != no_time && restart.after > restart.before;
        if (is_pause) {
            const double from = Position(restart.before);
            out +=
                Box(from, top, std::max(1.0, x - from), bottom - top, "class=\"pause\"><title>") +
                "nothing was written for " + LengthText(restart.after - restart.before) +
                " until " + TimeText(restart.after) + "</title></rect>\n";
        } else {
            out += "<path class=\"start\" d=\"M" + Number(x) + ' ' + Number(top) + 'V' +
                   Number(bottom) + "\"><title>start at " + TimeText(known) + "</title></path>\n";
        }
    }
}

void RateChart::AppendTimes(QByteArray& out) const
{
    const double least_distance = 160;
    double x = left;
    double free_from = 0;
    QByteArray last_date;
    for (const Slot& slot : m_slots) {
        const bool is_break = !slot.counts && slot.length > 1;
        if (x >= free_from && x <= right - 40 && !is_break) {
            const QByteArray time =
                TimeText(slot.number * m_rate.PeriodLength(), m_rate.PeriodLength() < 1000);
            const QByteArray date = time.left(10);
            out += "<path class=\"grid\" d=\"M" + Number(x) + ' ' + Number(bottom) + "v5\"/>\n";
            out += Text(x, bottom + 18, "start", time.mid(11));
            if (date != last_date)
                out += Text(x, bottom + 34, "start", date);
            last_date = date;
            free_from = x + least_distance;
        }
        x += m_slot_width;
    }
}

} // namespace DbgCat
