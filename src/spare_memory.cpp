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

QString NewText(SpareMemory* spare)
{
    SpareText item = {QLatin1String("")};
    if (spare && Texts().Take(spare->texts, item))
        QtCompat::EmptyKeepingMemory(item.text);
    return std::move(item.text);
}

void SpareText::Fetch() const
{
    const size_t header = 3 * sizeof(void*); // or less; it stands before the characters
    const size_t size = header + static_cast<size_t>(text.size()) * sizeof(QChar);
    const size_t most = 3 * cache_line; // the beginning will do for a long text
    Zol::Fetch(reinterpret_cast<const char*>(text.constData()) - header, qMin(size, most));
}

void PrepareRecord(SpareMemory& spare)
{
    if (spare.next_record.IsNull() && !Records().Take(spare.records, spare.next_record))
        spare.next_record = SpareRecord(::operator new(sizeof(DebugMessageDetails)));
}

void* AllocateRecord(SpareMemory* spare, size_t size)
{
    if (!spare || size != sizeof(DebugMessageDetails))
        return ::operator new(size);
    PrepareRecord(*spare);
    return spare->next_record.Release();
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
    if (!record.IsNull())
        Records().Add(record);
}

void HandOverSpareMemory()
{
    Texts().HandOver();
    Records().HandOver();
}

} // namespace Zol
