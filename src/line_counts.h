#ifndef ZOLDEBUG_LINE_COUNTS_H
#define ZOLDEBUG_LINE_COUNTS_H

#include <stddef.h>
#include <stdint.h>

#include <utility>
#include <vector>

namespace Zol {

/**
 * Counters of the lines of one file: a hash table in one piece of memory, so that a hit touches as
 * little as possible however many places are counted.
 */
class LineCounts
{
public:
    typedef std::pair<unsigned int, unsigned long> Hits; ///< a line and its hits

    LineCounts()
        : m_used(0)
    {
    }

    /** The counter of a line, which begins at 0. Valid until the next call. */
    unsigned long& operator[](unsigned int line)
    {
        if (m_used * 8 >= m_cells.size() * 7)
            Grow();
        Cell& cell = m_cells[IndexOf(line)];
        if (!cell.is_used) {
            cell.is_used = true;
            cell.line = line;
            ++m_used;
        }
        return cell.count;
    }

    /** All lines in no order. */
    std::vector<Hits> All() const
    {
        std::vector<Hits> all;
        all.reserve(m_used);
        for (const Cell& cell : m_cells) {
            if (cell.is_used)
                all.push_back(Hits(cell.line, cell.count));
        }
        return all;
    }

private:
    struct Cell
    {
        unsigned int line;
        bool is_used; // a count may wrap to 0
        unsigned long count;
    };

    /** Where the line is, or the free cell where it will be. */
    size_t IndexOf(unsigned int line) const
    {
        const size_t mask = m_cells.size() - 1;
        size_t index = (line * UINT32_C(2654435769) >> 7) & mask;
        while (m_cells[index].is_used && m_cells[index].line != line)
            index = (index + 1) & mask;
        return index;
    }

    void Grow()
    {
        const size_t least = 4;
        std::vector<Cell> old(m_cells.empty() ? least : m_cells.size() * 2);
        old.swap(m_cells);
        for (const Cell& cell : old) {
            if (cell.is_used)
                m_cells[IndexOf(cell.line)] = cell;
        }
    }

    std::vector<Cell> m_cells; // a power of two
    size_t m_used;
};

} // namespace Zol

#endif
