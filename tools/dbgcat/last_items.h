#ifndef DBGCAT_LAST_ITEMS_H
#define DBGCAT_LAST_ITEMS_H

#include <QtCore/QByteArray>

#include <deque>

namespace DbgCat {

/** The last records of a log as they are to be written, with what stands between them. */
class LastItems
{
public:
    static const qint64 most_bytes = 24 << 20;

    explicit LastItems(qint64 records);

    /** Keeps one more item, and drops the oldest that is not among the last any more. */
    void Add(const QByteArray& text, bool is_record);

    /** How many of the last records had to be dropped as they would take too much memory. */
    qint64 Missing() const;

    const std::deque<QByteArray>& Texts() const { return m_texts; }

private:
    void DropOldest();

    const qint64 m_wanted;
    qint64 m_taken;
    qint64 m_records;
    qint64 m_bytes;
    std::deque<QByteArray> m_texts;
    std::deque<bool> m_are_records;
};

} // namespace DbgCat

#endif
