#ifndef ZOLDEBUG_SPARE_MEMORY_H
#define ZOLDEBUG_SPARE_MEMORY_H

#include "dbg_msg_details.h"
#include "return_pool.h"

#include <QtCore/QString>

#include <new>

namespace Zol {

/** A text that was written, for the memory that it has. */
struct SpareText
{
    void Fetch() const;

    QString text;
};

/** The memory of a record that was written, where Qt's queue allocates each: before Qt 6. */
class SpareRecord
{
public:
    explicit SpareRecord(void* memory = nullptr)
        : m_memory(memory)
    {
    }
    SpareRecord(SpareRecord&& other)
        : m_memory(other.Release())
    {
    }
    ~SpareRecord() { ::operator delete(m_memory); }

    SpareRecord& operator=(SpareRecord&& other)
    {
        std::swap(m_memory, other.m_memory);
        return *this;
    }

    void* Release()
    {
        void* const memory = m_memory;
        m_memory = nullptr;
        return memory;
    }

    bool IsNull() const { return !m_memory; }
    void Fetch() const { Zol::Fetch(m_memory, sizeof(DebugMessageDetails)); }

private:
    Q_DISABLE_COPY(SpareRecord)

    void* m_memory;
};

/** What a thread that logs has of it. */
struct SpareMemory
{
    ReturnPool<SpareText>::Stash texts;
    ReturnPool<SpareRecord>::Stash records;
    SpareRecord next_record;
};

/** Makes what the other functions use. */
void PrepareSpareMemory();

/** An empty text, not a null one, perhaps with memory. Never waits. @p spare may be null. */
QString NewText(SpareMemory* spare);

/** Has memory at hand for the next record, so that it takes no time while the queue is locked. */
void PrepareRecord(SpareMemory& spare);

/** Memory for a record. Never waits. @p spare may be null. */
void* AllocateRecord(SpareMemory* spare, size_t size);

/** Takes the memory of a text that nobody needs any more. For the collector's thread. */
void ReturnText(QString& text);

/** Takes the memory of a record that nobody needs any more. For the collector's thread. */
void ReturnRecord(void* memory);

/** Hands what was returned over to those who log. For the collector's thread. */
void HandOverSpareMemory();

} // namespace Zol

#endif
