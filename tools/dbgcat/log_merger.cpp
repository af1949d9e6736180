#include "log_merger.h"

#include <algorithm>

namespace DbgCat {

LogMerger::LogMerger(const std::vector<QByteArray>& names, LogSource::Settings settings)
{
    if (names.size() > 1)
        settings.buffer_size /= 4;
    for (const QByteArray& name : names) {
        Head head;
        head.source.reset(new LogSource(name, settings));
        head.waits = false;
        head.idle = false;
        m_heads.push_back(std::move(head));
    }
}

LogSource* LogMerger::Next()
{
    Head* first = 0;
    for (Head& head : m_heads) {
        if (!head.waits && !head.idle) {
            head.waits = head.source->Next();
            head.idle = !head.waits;
        }
        if (head.waits && (!first || head.source->Time() < first->source->Time()))
            first = &head;
    }
    if (!first)
        return 0;
    first->waits = false;
    return first->source.get();
}

void LogMerger::LookAgain()
{
    for (Head& head : m_heads)
        head.idle = false;
}

bool LogMerger::IsFinished() const
{
    return std::all_of(m_heads.begin(), m_heads.end(),
                       [](const Head& head) { return head.source->IsFinished(); });
}

bool LogMerger::HasFailed() const
{
    return std::any_of(m_heads.begin(), m_heads.end(),
                       [](const Head& head) { return head.source->HasFailed(); });
}

void LogMerger::ReportDamage()
{
    for (Head& head : m_heads)
        head.source->ReportDamage();
}

QByteArray LogMerger::DamageText() const
{
    QByteArray text;
    for (const Head& head : m_heads) {
        const QByteArray damage = head.source->DamageText();
        if (!damage.isEmpty())
            text += head.source->Name() + " has " + damage + '\n';
    }
    return text;
}

} // namespace DbgCat
