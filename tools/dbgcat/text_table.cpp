#include "text_table.h"

#include "log_text.h"

#include <algorithm>

namespace DbgCat {

TextTable::TextTable(const std::vector<QByteArray>& head)
{
    Add(head);
}

void TextTable::Add(const std::vector<QByteArray>& row)
{
    m_rows.push_back(row);
}

void TextTable::Append(QByteArray& out) const
{
    std::vector<int> widths(m_rows.front().size());
    for (const std::vector<QByteArray>& row : m_rows) {
        for (size_t column = 0; column < row.size(); ++column)
            widths[column] = std::max(widths[column], static_cast<int>(row[column].size()));
    }
    for (const std::vector<QByteArray>& row : m_rows) {
        for (size_t column = 0; column + 1 < row.size(); ++column)
            out += row[column].rightJustified(widths[column]) + "  ";
        out += row.back() + '\n';
    }
}

QByteArray Percent(qint64 part, qint64 all)
{
    const double percent =
        all > 0 ? 100.0 * static_cast<double>(part) / static_cast<double>(all) : 0.0;
    return QByteArray::number(percent, 'f', percent < 10.0 && part > 0 ? 1 : 0) + " %";
}

QByteArray Shown(const QByteArray& name)
{
    QByteArray line;
    AppendInOneLine(line, ByteSpan(name));
    QByteArray shown;
    AppendVisible(shown, ByteSpan(line));
    return shown;
}

QByteArray Milliseconds(qint64 nanoseconds)
{
    return QByteArray::number(static_cast<double>(nanoseconds) / 1e6, 'f', 3) + " ms";
}

QByteArray LengthText(qint64 milliseconds)
{
    const qint64 minute = 60000;
    const qint64 hour = 60 * minute;
    const qint64 day = 24 * hour;
    if (milliseconds < minute)
        return QByteArray::number(static_cast<double>(milliseconds) / 1000.0, 'g', 3) + " s";
    if (milliseconds < hour)
        return QByteArray::number(milliseconds / minute) + " min";
    if (milliseconds < day)
        return QByteArray::number(milliseconds / hour) + " h " +
               QByteArray::number(milliseconds % hour / minute) + " min";
    return QByteArray::number(milliseconds / day) + " d " +
           QByteArray::number(milliseconds % day / hour) + " h";
}

} // namespace DbgCat
