#ifndef DBGCAT_TEXT_TABLE_H
#define DBGCAT_TEXT_TABLE_H

#include <QtCore/QByteArray>

#include <vector>

namespace DbgCat {

/** Columns for a terminal: numbers to the right of their columns, texts last. */
class TextTable
{
public:
    explicit TextTable(const std::vector<QByteArray>& head);

    /** Adds a row, whose last field is a text. */
    void Add(const std::vector<QByteArray>& row);

    void Append(QByteArray& out) const;

private:
    std::vector<std::vector<QByteArray>> m_rows;
};

/** "37 %", with a digit behind the point where it is less than ten. */
QByteArray Percent(qint64 part, qint64 all);

/** A name in one line, without what commands a terminal. */
QByteArray Shown(const QByteArray& name);

/** Nanoseconds as "10.127 ms". */
QByteArray Milliseconds(qint64 nanoseconds);

/** A length of time as "2 h 5 min", "4 min", "12.3 s" or "5 d 3 h". */
QByteArray LengthText(qint64 milliseconds);

} // namespace DbgCat

#endif
