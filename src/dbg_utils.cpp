#include "dbg_utils.h"

#include "dbg_collector.h"
#include "qt_compat.h"
#include "record_text.h"

#include <QtCore/QMap>
#include <QtCore/QMetaMethod>
#include <QtCore/QMetaObject>
#include <QtCore/QTextStream>

// A constant that is never destroyed: the collector's thread and late static destructors use it
// for as long as the process runs.
#define ZOLDEBUG_CONSTANT_STRING(name, literal)                                                    \
    const QString& name()                                                                          \
    {                                                                                              \
        static const QString& text = *new QString(QLatin1String(literal));                         \
        return text;                                                                               \
    }

namespace Zol {

namespace {

typedef QMap<QString, DebugLevel> LevelTable;

ZOLDEBUG_CONSTANT_STRING(NoLevelName, "")

const LevelTable& NewLevelTable()
{
    LevelTable& table = *new LevelTable;
    const DebugLevel levels[] = {DBG_TRACE,      DBG_INFO,  DBG_WARN,         DBG_ERROR,
                                 DBG_CRITICAL,   DBG_FATAL, DBG_MEMORY_ALLOC, DBG_MEMORY_FREE,
                                 DBG_TIME_TRACE, DBG_LOAD,  DBG_CONF,         DBG_JITTER,
                                 DBG_ACCOUNTING, DBG_EVENT, DBG_CONT_LOG,     DBG_DEVEL};
    for (const DebugLevel level : levels)
        table.insert(DbgUtils::DbgLvlToQS(level), level);
    return table;
}

DebugLevel ParseNumber(const QString& text)
{
    const bool hexadecimal = text.size() > 1 && text.at(1).toLower() == QLatin1Char('x');
    return static_cast<DebugLevel>(hexadecimal ? text.mid(2).toInt(0, 16) : text.toInt());
}

DebugLevel ApplyToken(DebugLevel mask, const QString& token)
{
    if (token.startsWith(QLatin1Char('+')))
        return mask | DbgUtils::QSToDbgLvl(token.mid(1));
    if (token.startsWith(QLatin1Char('-')))
        return mask & ~DbgUtils::QSToDbgLvl(token.mid(1));
    return mask;
}

DebugLevel ParseTokens(const QString& text)
{
    DebugLevel mask = DBG_ERROR | DBG_CRITICAL | DBG_FATAL;
    for (int start = 0; start < text.size();) {
        int end = static_cast<int>(text.indexOf(QLatin1Char(','), start));
        if (end < 0)
            end = static_cast<int>(text.size());
        mask = ApplyToken(mask, text.mid(start, end - start));
        start = end + 1;
    }
    return mask;
}

QLatin1String MethodKind(const QMetaMethod& method)
{
    switch (method.methodType()) {
    case QMetaMethod::Signal:
        return QLatin1String("Signal.");
    case QMetaMethod::Slot:
        return QLatin1String("Slot.");
    case QMetaMethod::Method:
        return QLatin1String("Method.");
    case QMetaMethod::Constructor:
        break;
    }
    return QLatin1String("");
}

} // namespace

ZOLDEBUG_CONSTANT_STRING(S_DBG_TRACE, "DBG_TRACE")
ZOLDEBUG_CONSTANT_STRING(S_DBG_INFO, "DBG_INFO")
ZOLDEBUG_CONSTANT_STRING(S_DBG_WARN, "DBG_WARN")
ZOLDEBUG_CONSTANT_STRING(S_DBG_ERROR, "DBG_ERROR")
ZOLDEBUG_CONSTANT_STRING(S_DBG_CRITICAL, "DBG_CRITICAL")
ZOLDEBUG_CONSTANT_STRING(S_DBG_FATAL, "DBG_FATAL")
ZOLDEBUG_CONSTANT_STRING(S_DBG_MEMORY_ALLOC, "DBG_MEMORY_ALLOC")
ZOLDEBUG_CONSTANT_STRING(S_DBG_MEMORY_FREE, "DBG_MEMORY_FREE")
ZOLDEBUG_CONSTANT_STRING(S_DBG_TIME_TRACE, "DBG_TIME_TRACE")
ZOLDEBUG_CONSTANT_STRING(S_DBG_LOAD, "DBG_LOAD")
ZOLDEBUG_CONSTANT_STRING(S_DBG_CONF, "DBG_CONF")
ZOLDEBUG_CONSTANT_STRING(S_DBG_JITTER, "DBG_JITTER")
ZOLDEBUG_CONSTANT_STRING(S_DBG_ACCOUNTING, "DBG_ACCOUNTING")
ZOLDEBUG_CONSTANT_STRING(S_DBG_EVENT, "DBG_EVENT")
ZOLDEBUG_CONSTANT_STRING(S_DBG_CONT_LOG, "DBG_CONT_LOG")
ZOLDEBUG_CONSTANT_STRING(S_DBG_DEVEL, "DBG_DEVEL")

QTextStream& operator<<(QTextStream& stream, DebugLevel lvl)
{
    return stream << DbgUtils::DbgLvlToQS(lvl);
}

const QString& LevelName(DebugLevel lvl)
{
    switch (lvl) {
    case DBG_TRACE:
        return S_DBG_TRACE();
    case DBG_INFO:
        return S_DBG_INFO();
    case DBG_WARN:
        return S_DBG_WARN();
    case DBG_ERROR:
        return S_DBG_ERROR();
    case DBG_CRITICAL:
        return S_DBG_CRITICAL();
    case DBG_FATAL:
        return S_DBG_FATAL();
    case DBG_MEMORY_ALLOC:
        return S_DBG_MEMORY_ALLOC();
    case DBG_MEMORY_FREE:
        return S_DBG_MEMORY_FREE();
    case DBG_TIME_TRACE:
        return S_DBG_TIME_TRACE();
    case DBG_LOAD:
        return S_DBG_LOAD();
    case DBG_CONF:
        return S_DBG_CONF();
    case DBG_JITTER:
        return S_DBG_JITTER();
    case DBG_ACCOUNTING:
        return S_DBG_ACCOUNTING();
    case DBG_EVENT:
        return S_DBG_EVENT();
    case DBG_CONT_LOG:
        return S_DBG_CONT_LOG();
    case DBG_DEVEL:
        return S_DBG_DEVEL();
    }
    return NoLevelName();
}

QString DbgUtils::DbgLvlToQS(DebugLevel lvl)
{
    return LevelName(lvl);
}

DebugLevel DbgUtils::QSToDbgLvl(const QString& str)
{
    static const LevelTable& str_table = NewLevelTable();
    return str_table.value(str, DBG_FATAL);
}

DebugLevel DbgUtils::ParseDebugMaskString(const QString& mask_string)
{
    const QString text = mask_string.simplified();
    const bool is_number = !text.isEmpty() && text.at(0).isDigit();
    return is_number ? ParseNumber(text) : ParseTokens(text);
}

QString DbgUtils::XMLiseString(const QString& in)
{
    return EscapedText(in);
}

QString DbgUtils::FormatDbgHeader(const QDateTime& now, const QString& module, const QString& file,
                                  unsigned int line_no, const QString& func, DebugLevel lvl,
                                  const QString& thread)
{
    return HeaderText(now, module, file, line_no, func, lvl, thread);
}

QString DbgUtils::FormatDbgMessage(const QString& hdr, const QString& msg)
{
    return RecordText(hdr, msg);
}

QString DbgUtils::DumpMethods(QObject* object)
{
    const QMetaObject* const meta = object->metaObject();
    // The count has the inherited methods in it already, so the last of these indices name none.
    const int end = meta->methodOffset() + meta->methodCount();
    QString result;
    for (int i = 0; i < end; ++i) {
        const QMetaMethod method = meta->method(i);
        result += QLatin1String("Type = ") + MethodKind(method) + QLatin1String(" signature = ") +
                  QtCompat::MethodSignature(method) + QLatin1Char('\n');
    }
    return result;
}

void DbgUtils::SignalLoggingPause()
{
    DbgCollector::SendLoggingPause();
}

void DbgUtils::SignalLoggingResume()
{
    DbgCollector::SendLoggingResume();
}

void DbgUtils::SignalLogFreeStatus(bool have_space_for_logs)
{
    DbgCollector::SendLogFileSpaceAvailable(have_space_for_logs);
}

} // namespace Zol
