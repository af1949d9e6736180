#ifndef DBGCAT_LOG_READER_H
#define DBGCAT_LOG_READER_H

#include "log_item.h"

#include <vector>

namespace DbgCat {

/** What a reader met that is no whole record, marker or metric. */
struct Damage
{
    Damage()
        : rubbish_lines(0)
        , rubbish_bytes(0)
        , null_bytes(0)
        , torn_records(0)
        , cut_records(0)
        , cut_bytes(0)
        , first_at(-1)
    {
    }

    bool Any() const { return first_at >= 0; }

    qint64 rubbish_lines;
    qint64 rubbish_bytes;
    qint64 null_bytes; ///< between the items, as a file system leaves them after a loss of power
    qint64 torn_records;
    qint64 cut_records;
    qint64 cut_bytes; ///< left out at the ends of the records that were cut
    qint64 first_at;  ///< byte of the log at which the first of it was met; -1 if there was none
};

/**
 * Takes a log apart: bytes in, items out, in bounded memory whatever the bytes are.
 *
 * Bodies and functions are escaped, so that a "<" in them can only be the end of the record or the
 * place where it was torn. Module, file and thread names are not; what they imitate of a record's
 * form is told from the form itself as far as it can be.
 */
class LogReader
{
public:
    static const int longest_record = 1 << 20; ///< bytes; of a longer one only so much is kept
    static const int longest_piece = 1 << 16;  ///< bytes of a line of rubbish in one item

    /** A reader whose buffer has @p buffer_size bytes as long as no record is longer. */
    explicit LogReader(int buffer_size = 1 << 18);

    /** Where to put bytes next; at least one fits. Invalidates the last item. */
    char* Room(int* size);

    /** Says that @p size bytes were put there. */
    void Added(int size);

    /** Says that nothing follows, so that what is incomplete stays so. */
    void End();
    bool HasEnded() const { return m_ended; }

    /** Begins anew with another log, after the items of the last are all taken. */
    void Begin();

    /** Takes the next item; false if bytes are missing to tell what it is, or nothing follows. */
    bool Next(LogItem& item);

    /** What was met since the last Begin(). */
    const Damage& GetDamage() const { return m_damage; }

private:
    Q_DISABLE_COPY(LogReader)

    enum State
    {
        AtItem,    ///< behind an item or a line
        InRubbish, ///< within a line of rubbish
        InCutBody  ///< within a record of which all that is wanted was delivered
    };

    enum Result
    {
        Found,
        Nothing, ///< something was passed over
        NeedsMore
    };

    Result NextItem(LogItem& item);
    Result NextRecord(LogItem& item);
    Result NextDoubtfulRecord(LogItem& item);
    Result NextMetric(LogItem& item);
    Result NextRestart(LogItem& item);
    Result NextRubbish(LogItem& item);
    Result PassRubbish(LogItem& item, const char* to, bool ends_line);
    Result PassBadRecord(LogItem& item, const char* to);
    Result PassTornRecord(LogItem& item, const char* header_end, const char* to);
    Result PassCutRecord(LogItem& item, const char* header_end);
    Result PassCutBody();
    Result PassNulls();

    const char* At() const { return m_buffer.data() + m_begin; }
    const char* BufferEnd() const { return m_buffer.data() + m_end; }
    int Size() const { return m_end - m_begin; }
    bool TakeLineEnd(const char* at, const char** behind) const;
    void Consume(const char* to);
    void NoteDamage();

    int m_buffer_size;
    std::vector<char> m_buffer;
    int m_begin;
    int m_end;
    qint64 m_consumed; // bytes of the log before m_begin
    State m_state;
    bool m_ended;
    Damage m_damage;
};

} // namespace DbgCat

#endif
