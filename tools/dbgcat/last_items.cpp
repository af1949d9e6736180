#include "last_items.h"

#include <algorithm>

namespace DbgCat {

namespace {

const qint64 overhead = 64; // bytes, for keeping an item

} // namespace

const qint64 LastItems::most_bytes;

LastItems::LastItems(qint64 records)
    : m_wanted(records)
    , m_taken(0)
    , m_records(0)
    , m_bytes(0)
{
}

void LastItems::Add(const QByteArray& text, bool is_record)
{
    m_texts.push_back(QByteArray(text.constData(), static_cast<int>(text.size())));
    m_are_records.push_back(is_record);
    m_bytes += text.size() + overhead;
    if (is_record) {
        ++m_taken;
        ++m_records;
    }
    while (!m_texts.empty() && (m_records > m_wanted || m_bytes > most_bytes))
        DropOldest();
}

qint64 LastItems::Missing() const
{
    return std::min(m_taken, m_wanted) - m_records;
}

void LastItems::DropOldest()
{
    m_bytes -= m_texts.front().size() + overhead;
    if (m_are_records.front())
        --m_records;
    m_texts.pop_front();
    m_are_records.pop_front();
}

} // namespace DbgCat
