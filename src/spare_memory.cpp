#include "spare_memory.h"

#include "qt_compat.h"

namespace Zol {

namespace {

const int largest_text = 500; // characters

// Never destroyed, as late static destructors may log.

ReturnPool<SpareText>& Texts()
{
    static ReturnPool<SpareText>& texts = *new ReturnPool<SpareText>;
    return texts;
}

ReturnPool<SpareRecord>& Records()
{
    static ReturnPool<SpareRecord>& records = *new ReturnPool<SpareRecord>;
    return records;
}

bool IsWorthKeeping(const QString& text)
{
    return text.isDetached() && text.capacity() > 0 && text.capacity() <= largest_text;
}

} // namespace

void PrepareSpareMemory()
{
    Texts();
    Records();
}

void SpareText::Fetch() const
{
    const size_t most = 3 * cache_line; // what stands before the characters, and some of them
    const size_t header = 3 * sizeof(void*);
    const size_t size = header + static_cast<size_t>(text.size()) * sizeof(QChar);
    FetchForWriting(reinterpret_cast<const char*>(text.constData()) - header, qMin(size, most));
}

QString NewText(SpareMemory* spare)
{
    SpareText item = {QLatin1String("")};
    if (spare && Texts().Take(spare->texts, item))
        QtCompat::EmptyKeepingMemory(item.text);
    return std::move(item.text);
}

void* AllocateRecord(SpareMemory* spare, size_t size)
{
    SpareRecord record;
    if (spare && size == sizeof(DebugMessageDetails) && Records().Take(spare->records, record))
        return record.Release();
    return ::operator new(size);
}

void ReturnText(QString& text)
{
    if (!IsWorthKeeping(text))
        return;
    SpareText item;
    item.text.swap(text);
    Texts().Add(item);
}

void ReturnRecord(void* memory)
{
    SpareRecord record(memory);
    Records().Add(record);
}

void HandOverSpareMemory()
{
    Texts().HandOver();
    Records().HandOver();
}

} // namespace Zol
