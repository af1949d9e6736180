// Takes the input for records, with a form feed between them, and formats them. A record is
//   LINE LEVEL MILLISECONDS
//   module
//   file
//   function
//   thread
//   message, to the end
// where a time stamp that is no number is none.

#include "dbg_msg_details.h"
#include "dbg_utils.h"
#include "fuzz_input.h"
#include "record_model.h"
#include "record_text.h"

#include <QtCore/QDateTime>
#include <QtCore/QStringList>

using Zol::DbgUtils;
using Zol::DebugLevel;

namespace {

QString TakeLine(QString& text)
{
    const int end = static_cast<int>(text.indexOf(QLatin1Char('\n')));
    const QString line = text.left(end);
    text = end == -1 ? QString() : text.mid(end + 1);
    return line;
}

QDateTime TimeOf(const QString& milliseconds)
{
    bool is_number = false;
    const qint64 number = milliseconds.toLongLong(&is_number);
    return is_number ? QDateTime::fromMSecsSinceEpoch(number) : QDateTime();
}

/** What the collector writes, which reuses the memory of the last record. */
QString WrittenRecord(const Zol::DebugMessageDetails& details)
{
    static QString& record = *new QString;
    Zol::FormatRecord(details, record);
    return QString(record.constData(), record.size()); // a plain copy would share the memory
}

void CheckRecord(QString text)
{
    const QStringList numbers = TakeLine(text).split(QLatin1Char(' '));
    const unsigned int line_no = numbers.value(0).toUInt();
    const DebugLevel level = static_cast<DebugLevel>(numbers.value(1).toInt());
    const QDateTime time = TimeOf(numbers.value(2));
    const QString module = TakeLine(text);
    const QString file = TakeLine(text);
    const QString func = TakeLine(text);
    const QString thread = TakeLine(text);

    const QString header = ZolTest::ModelHeader(time, module, file, line_no, func,
                                                DbgUtils::DbgLvlToQS(level), thread);
    const QString record = ZolTest::ModelRecord(header, text);
    Fuzz::Expect("an escaped text differs", DbgUtils::XMLiseString(text),
                 ZolTest::ModelEscape(text));
    Fuzz::Expect("a header differs",
                 DbgUtils::FormatDbgHeader(time, module, file, line_no, func, level, thread),
                 header);
    Fuzz::Expect("a record differs", DbgUtils::FormatDbgMessage(header, text), record);
    Fuzz::Expect("a record with a header of its own differs",
                 DbgUtils::FormatDbgMessage(module, file), ZolTest::ModelRecord(module, file));
    Fuzz::Expect("a written record differs",
                 WrittenRecord(Zol::DebugMessageDetails(time, module, file, line_no, func, level,
                                                        thread, text)),
                 record);
}

// The library remembers the last time stamp, so each input begins with the same one.
void ForgetTime()
{
    const QString none;
    DbgUtils::FormatDbgHeader(QDateTime(QDate(2012, 6, 29), QTime(14, 3, 7)), none, none, 0, none,
                              Zol::DBG_INFO, none);
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    ForgetTime();
    for (const QString& record : Fuzz::TextOf(data, size).split(QLatin1Char('\f')))
        CheckRecord(record);
    return 0;
}
