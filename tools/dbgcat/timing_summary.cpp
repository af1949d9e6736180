#include "timing_summary.h"

#include "log_text.h"
#include "text_table.h"

#include <algorithm>

namespace DbgCat {

namespace {

const char* const module_start = "Time spent in module ";
const char* const slow_call_start = "Leave: Time taken ";
const char* const slow_call_end = " ns";

const size_t most_modules = 10000;
const size_t most_slow_calls = 50;
const int longest_text = 1000;

QByteArray Shortened(const ByteSpan& text)
{
    return QByteArray(text.data, std::min(text.size, longest_text));
}

/** Takes the number behind @p label, which is the last such label in @p text, from its end. */
bool TakeLast(QByteArray& text, const char* label, qint64& number)
{
    const int at = static_cast<int>(text.lastIndexOf(label));
    if (at < 0)
        return false;
    bool is_number = false;
    number = text.mid(at + static_cast<int>(strlen(label))).toLongLong(&is_number);
    text.truncate(at);
    return is_number;
}

} // namespace

TimingSummary::TimingSummary()
    : m_slow_call_count(0)
{
}

void TimingSummary::Take(const LogItem& item, LogTime time)
{
    Q_UNUSED(time)
    if (item.kind != LogItem::Record || !item.level.Is("DBG_TIME_TRACE"))
        return;
    if (item.body.StartsWith(module_start))
        TakeModule(item);
    else if (item.body.StartsWith(slow_call_start))
        TakeSlowCall(item);
}

void TimingSummary::TakeModule(const LogItem& record)
{
    QByteArray text = record.body.Copy();
    Module added;
    qint64 sum = 0;
    if (!TakeLast(text, " Max time: ", added.max) || !TakeLast(text, " Min time: ", added.min) ||
        !TakeLast(text, " Accumulated time: ", sum) || !TakeLast(text, " Count: ", added.count) ||
        added.count <= 0 || added.count > std::numeric_limits<int>::max())
        return;
    added.sum = static_cast<double>(sum);
    const QByteArray name = Shortened(record.module);
    const std::map<QByteArray, Module>::iterator known = m_modules.find(name);
    if (known == m_modules.end()) {
        if (m_modules.size() < most_modules)
            m_modules[name] = added;
        return;
    }
    Module& module = known->second;
    module.count += added.count;
    module.sum += added.sum;
    module.min = std::min(module.min, added.min);
    module.max = std::max(module.max, added.max);
}

qint64 TimingSummary::Mean(const Module& module)
{
    return static_cast<qint64>(module.sum / static_cast<double>(module.count));
}

void TimingSummary::TakeSlowCall(const LogItem& record)
{
    QByteArray text = record.body.Copy();
    if (!text.endsWith(slow_call_end))
        return;
    text.chop(static_cast<int>(strlen(slow_call_end)));
    SlowCall call;
    bool is_number = false;
    call.duration = text.mid(static_cast<int>(strlen(slow_call_start))).toLongLong(&is_number);
    if (!is_number)
        return;
    ++m_slow_call_count;
    if (m_slow_calls.size() == most_slow_calls && call.duration <= m_slow_calls.back().duration)
        return;
    AppendTime(call.time, record.time, ' ');
    call.module = Shortened(record.module);
    call.thread = Shortened(record.thread);
    call.file = Shortened(record.file);
    call.line = Shortened(record.line);
    AppendUnescaped(call.function, ByteSpan(Shortened(record.function)));
    const std::vector<SlowCall>::iterator place = std::upper_bound(
        m_slow_calls.begin(), m_slow_calls.end(), call,
        [](const SlowCall& a, const SlowCall& b) { return a.duration > b.duration; });
    m_slow_calls.insert(place, call);
    if (m_slow_calls.size() > most_slow_calls)
        m_slow_calls.pop_back();
}

void TimingSummary::AppendText(QByteArray& out) const
{
    if (IsEmpty()) {
        out += "no times\n";
        return;
    }
    if (!m_modules.empty()) {
        TextTable table({"calls", "mean", "min", "max", "module"});
        for (const std::pair<const QByteArray, Module>& module : m_modules)
            table.Add({QByteArray::number(module.second.count), Milliseconds(Mean(module.second)),
                       Milliseconds(module.second.min), Milliseconds(module.second.max),
                       Shown(module.first)});
        table.Append(out);
    }
    if (m_slow_calls.empty())
        return;
    out += m_modules.empty() ? "" : "\n";
    TextTable table({"slow call", "time", "place"});
    for (const SlowCall& call : m_slow_calls)
        table.Add({Milliseconds(call.duration), Shown(call.time),
                   Shown(call.module) + " [" + Shown(call.thread) + "] " + Shown(call.file) + ':' +
                       Shown(call.line) + ' ' + Shown(call.function)});
    table.Append(out);
    if (m_slow_call_count > static_cast<qint64>(m_slow_calls.size()))
        out += "and " +
               QByteArray::number(m_slow_call_count - static_cast<qint64>(m_slow_calls.size())) +
               " faster ones\n";
}

} // namespace DbgCat
