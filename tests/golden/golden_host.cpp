// Logs the same records on every machine, with every version of Qt: PATH. The host's go to PATH,
// the collector's own to PATH.own.

#include "debug.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDateTime>
#include <QtCore/QList>
#include <QtCore/QStringList>
#include <QtCore/QTextStream>
#include <QtCore/QThread>

#include <limits>

#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

using namespace Zol;

namespace {

/** What the monotonic clock of the calling thread stands at, if that is not left to the system. */
thread_local const timespec* fixed_time = 0;

} // namespace

/** Is called instead of the C library's, by the library too. */
extern "C" Q_DECL_EXPORT int clock_gettime(clockid_t clock, timespec* time) noexcept
{
    if (clock == CLOCK_MONOTONIC && fixed_time) {
        *time = *fixed_time;
        return 0;
    }
#ifdef SYS_clock_gettime64
    if (sizeof time->tv_sec > sizeof(long))
        return static_cast<int>(syscall(SYS_clock_gettime64, clock, time));
#endif
    return static_cast<int>(syscall(SYS_clock_gettime, clock, time));
}

namespace {

QString Text(const char* text)
{
    return QString::fromUtf8(text);
}

/** A record that differs from a plain one in what a test is about. */
struct Record
{
    Record()
        : time(QDate(2012, 6, 29), QTime(14, 3, 7, 45))
        , module(Text("golden"))
        , file("golden/host.cpp")
        , line(42)
        , function("void Golden::Host(int)")
        , level(DBG_INFO)
        , thread(Text("Main"))
        , message(Text("text"))
    {
    }

    void Log() const
    {
        DbgCollector::CollectMsg(time, module, file, line, function, level, thread, message);
    }

    QDateTime time;
    QString module;
    const char* file;
    unsigned int line;
    const char* function;
    DebugLevel level;
    QString thread;
    QString message;
};

void LogMessage(const QString& message)
{
    Record record;
    record.message = message;
    record.Log();
}

void LogLevels()
{
    for (int bit = 0; bit < 31; ++bit) {
        Record record;
        record.level = static_cast<DebugLevel>(1 << bit);
        record.message = QString::fromLatin1("bit %1").arg(bit);
        record.Log();
    }
    Record record;
    record.level = DBG_INFO | DBG_WARN;
    record.message = Text("two levels");
    record.Log();
    record.level = static_cast<DebugLevel>(0);
    record.message = Text("no level, so no output takes it");
    record.Log();
}

void LogTime(int year, int month, int day, const QTime& time = QTime(12, 0, 0, 0))
{
    Record record;
    record.time = QDateTime(QDate(year, month, day), time);
    record.Log();
}

void LogTimes()
{
    // All months, and all days of the week.
    for (int month = 1; month <= 12; ++month)
        LogTime(2013, month, month, QTime(2 * month - 1, 5 * month - 1, 59, 83 * month));
    LogTime(2000, 2, 29, QTime(0, 0, 0, 0));
    LogTime(1999, 12, 31, QTime(23, 59, 59, 999));
    LogTime(1970, 1, 1, QTime(0, 0, 0, 0));
    LogTime(1969, 12, 31, QTime(23, 59, 59, 999));
    LogTime(2038, 1, 19, QTime(3, 14, 7, 0)); // the last second that 32 bits can count
    LogTime(2038, 1, 19, QTime(3, 14, 8, 0));
    LogTime(2106, 2, 7, QTime(6, 28, 16, 1));
    LogTime(1583, 1, 1); // Qt 4 counts the days before in the Julian calendar
    LogTime(9999, 12, 31);

    Record record;
    record.time = QDateTime();
    record.Log();
    record.time = QDateTime(QDate(2013, 3, 31), QTime(1, 30, 0, 5), Qt::UTC);
    record.Log();
}

void LogLines()
{
    static const unsigned int lines[] = {0, 1, 2147483647, 2147483648u, 4294967295u};
    for (const unsigned int line : lines) {
        Record record;
        record.line = line;
        record.Log();
    }
}

void LogTexts()
{
    static const char* const texts[] = {
        "",
        " ",
        "queue <full> & 'late'",
        "&<>'\"",
        "&amp;&lt;&gt;&apos;&quot;&#10;",
        "<dbg><h><d t=\"\"/></h><b>a record in a record</b></dbg>",
        "one\ntwo\n\nfour\n",
        "carriage return\r\nand tab\tand \v\f\b",
        "% %% %1 %2 %3 %4 %5 %6 %7 %8 %99 %L1 %0 %a 100%",
        "\xc3\xa4\xc3\xb6\xc3\xbc\xc3\x9f \xc2\xa0\xc2\xad \xc3\xbf",
        "\xe2\x82\xac \xd0\x96 \xd7\xa9\xd7\x9c\xd7\x95\xd7\x9d \xe0\xa4\xb9 \xe6\x97\xa5\xe6\x9c"
        "\xac \xe2\x80\xa8 \xef\xbf\xbd \xee\x80\x80",
        "a\xcc\x88 \xef\xac\x81 \xe1\xb8\x9e",
        "\xf0\x9f\x98\x80 \xf0\x90\x80\x80 \xf0\xa0\x80\x80 \xf4\x8f\xbf\xbd"};
    for (const char* const text : texts)
        LogMessage(Text(text));

    QString ascii;
    for (ushort code = 1; code < 0x80; ++code)
        ascii += QChar(code);
    LogMessage(ascii);
    QString latin1;
    for (ushort code = 0x80; code < 0x100; ++code)
        latin1 += QChar(code);
    LogMessage(latin1);
    const QString marks = QString(QChar(0xfeff)) + Text("a") + QChar(0xfeff);
    LogMessage(marks);
}

/** Texts that file names and functions may have, which are Latin-1. */
void LogLatin1()
{
    Record record;
    record.file = "caf\xe9/\xfc.cpp";
    record.function = "void \xc4::\xd6<\xdf>(char = '\"')";
    record.Log();
    record.file = "\xc3\xbc.cpp";
    record.function = "\xe2\x82\xac";
    record.Log();
    record.file = "";
    record.function = "";
    record.Log();
}

void LogNames()
{
    static const char* const names[] = {
        "", "a b", "<m>&'\"", "\xc3\xa4\xe2\x82\xac", "\xf0\x9f\x98\x80", "tab\tline\nfeed"};
    for (const char* const name : names) {
        Record record;
        record.module = Text(name);
        record.Log();
        record = Record();
        record.thread = Text(name);
        record.Log();
    }
}

void LogMarkers()
{
    static const char* const markers[] = {"%",    "%%",     "%1",   "%2",   "%3",  "%4",  "%5",
                                          "%6",   "%7",     "%8",   "%9",   "%10", "%99", "%0",
                                          "%00",  "%01",    "%L1",  "%L4",  "%L9", "%l1", "%L",
                                          "%1%2", "%4%4%5", "%123", "100%", "%a",  "% 1"};
    for (const char* const marker : markers) {
        Record record;
        record.module = Text(marker);
        record.Log();
        record = Record();
        record.file = marker;
        record.Log();
        record = Record();
        record.thread = Text(marker);
        record.function = marker;
        record.message = Text(marker);
        record.Log();
    }
    Record record;
    record.module = Text("%7");
    record.file = "%1";
    record.Log();
}

/** A message that takes its text from a stream; the library takes its time. */
class Streamed
{
public:
    explicit Streamed(const char* what)
        : m_client(Text("now.streamed"), "golden/numbers.cpp", 7, what, DBG_CONT_LOG)
    {
    }

    QTextStream& Stream() { return m_client.Dbg(); }

private:
    DbgClient m_client;
};

template <class Number>
void StreamLimits(const char* type)
{
    typedef std::numeric_limits<Number> Limits;
    Streamed(type).Stream() << Limits::lowest() << ' ' << Limits::min() << ' ' << Limits::max()
                            << ' ' << Number(0) << ' ' << Number(1);
}

template <class Number>
void StreamReals(const char* type)
{
    typedef std::numeric_limits<Number> Limits;
    StreamLimits<Number>(type);
    Streamed(type).Stream() << Limits::denorm_min() << ' ' << Limits::epsilon() << ' '
                            << Limits::infinity() << ' ' << -Limits::infinity() << ' '
                            << Limits::quiet_NaN();
    static const double numbers[] = {0.1,      -0.25,     1.0 / 3,  2.0 / 3,   100000, 999999,
                                     999999.5, 1000000,   1234567,  123456789, 1e15,   1e21,
                                     0.0001,   0.0000123, 0.000125, 2.5,       1e-300, 1e300};
    for (const double number : numbers)
        Streamed(type).Stream() << static_cast<Number>(number);
}

void LogStreamedNumbers()
{
    StreamLimits<short>("short");
    StreamLimits<unsigned short>("unsigned short");
    StreamLimits<int>("int");
    StreamLimits<unsigned int>("unsigned int");
    StreamLimits<qint64>("qint64");
    StreamLimits<quint64>("quint64");
    Streamed("long").Stream() << 2147483647L << ' ' << -2147483647L - 1 << ' ' << 4294967295UL;
    StreamReals<float>("float");
    StreamReals<double>("double");
    Streamed("bool").Stream() << true << ' ' << false;
    Streamed("pointer").Stream() << static_cast<const void*>(0) << ' '
                                 << reinterpret_cast<const void*>(quintptr(0xdeadbeef));
    Streamed("level").Stream() << DBG_DEVEL << ' ' << (DBG_INFO | DBG_WARN) << ' '
                               << DBG_TIME_TRACE;
}

void LogStreamedTexts()
{
    Streamed("characters").Stream() << 'a' << '\n' << QChar(0x20ac) << QLatin1Char('\xe4');
    Streamed("texts").Stream() << Text("\xc3\xa4\xf0\x9f\x98\x80 %1 <&>") << ' '
                               << QLatin1String("caf\xe9") << ' ' << "narrow" << ' '
                               << QByteArray("bytes");
    Streamed("nothing").Stream();
}

void LogStreamedFormats()
{
    static const int precisions[] = {0, 1, 6, 17};
    static const QTextStream::RealNumberNotation notations[] = {
        QTextStream::SmartNotation, QTextStream::FixedNotation, QTextStream::ScientificNotation};
    for (const int precision : precisions) {
        for (const QTextStream::RealNumberNotation notation : notations) {
            Streamed streamed("real");
            streamed.Stream().setRealNumberPrecision(precision);
            streamed.Stream().setRealNumberNotation(notation);
            streamed.Stream() << 0.1 << ' ' << 12345.678 << ' ' << 1e-5 << ' ' << -2.0 / 3 << ' '
                              << 1e9;
        }
    }
    static const int bases[] = {2, 8, 10, 16};
    for (const int base : bases) {
        Streamed streamed("base");
        streamed.Stream().setIntegerBase(base);
        streamed.Stream().setNumberFlags(QTextStream::ShowBase | QTextStream::UppercaseDigits);
        streamed.Stream() << 48879 << ' ' << -1 << ' ' << std::numeric_limits<qint64>::min() << ' '
                          << 0;
    }
    static const QTextStream::FieldAlignment alignments[] = {
        QTextStream::AlignLeft, QTextStream::AlignRight, QTextStream::AlignCenter,
        QTextStream::AlignAccountingStyle};
    for (const QTextStream::FieldAlignment alignment : alignments) {
        Streamed streamed("field");
        streamed.Stream().setFieldWidth(9);
        streamed.Stream().setPadChar(QLatin1Char('.'));
        streamed.Stream().setFieldAlignment(alignment);
        streamed.Stream() << -12 << 3.5 << Text("\xc3\xa4") << 'x';
    }
}

void CountHits()
{
    static const char* const files[] = {"b.cpp",
                                        "a.cpp",
                                        "",
                                        "A.cpp",
                                        "<\"&'>.cpp",
                                        "%1.cpp",
                                        "%2%3.cpp",
                                        "\xc3\xa4.cpp",
                                        "\xef\xbf\xbd.cpp",
                                        "\xf0\x9f\x98\x80.cpp",
                                        "a.cpp2"};
    for (const char* const file : files) {
        DbgCollector::CollectMetric(Text(file), 10);
        DbgCollector::CollectMetric(Text(file), 9);
        DbgCollector::CollectMetric(Text(file), 10);
    }
    DbgCollector::CollectMetric(Text("a.cpp"), 0);
    DbgCollector::CollectMetric(Text("a.cpp"), 4294967295u);
    for (int hit = 0; hit < 123456; ++hit)
        DbgCollector::CollectMetric(Text("often.cpp"), 2147483648u);
}

timespec At(int second, int nanosecond)
{
    timespec time;
    time.tv_sec = second;
    time.tv_nsec = nanosecond;
    return time;
}

/** Runs a traced function from @p begin to @p end. */
void Trace(const DebugModule& module, const timespec& begin, const timespec& end)
{
    fixed_time = &begin;
    {
        DbgFuncTrace trace(module, "golden/trace.cpp", 4294967295u, "void Golden::Traced<int>()",
                           true);
        fixed_time = &end;
    }
    fixed_time = 0;
}

void LogTraces()
{
    DebugModule module(Text("now.trace"));
    DebugModule other(Text("now.other <\xc3\xa4> %1"));
    Trace(module, At(100, 0), At(100, 1)); // "Enter" and "Leave" are on from the beginning

    module.SetMask(DBG_TIME_TRACE);
    other.SetMask(DBG_TIME_TRACE);
    Trace(module, At(100, 0), At(100, 1));
    Trace(module, At(100, 0), At(100, 5000000)); // the longest that is not slow
    Trace(module, At(100, 0), At(100, 5000001));
    Trace(other, At(99, 999999999), At(100, 0));
    Trace(module, At(99, 500000000), At(101, 0));
    Trace(module, At(98, 852516353), At(101, 0)); // the longest that 32 bits can count
    Trace(other, At(98, 852516353), At(101, 0));
    Trace(other, At(98, 852516353), At(101, 0));
    Trace(other, At(1, 0), At(102, 0));
    Trace(module, At(99, 0), At(102, 0)); // longer than that
    Trace(module, At(2147483647, 0), At(2147483647, 999999999));
    Trace(module, At(2147483646, 999999999), At(2147483647, 0));
    Trace(module, At(3, 0), At(3, 0));
}

void ConfigureOutput(const QString& path, const char* all, const char* own)
{
    DbgCollector::ParseDebugServerOptions(QStringList()
                                          << Text("file:") + path + Text(":t")
                                          << Text("*=") + Text(all) << Text("DBG=") + Text(own));
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    if (argc != 2)
        return 99;
    QThread::currentThread()->setObjectName(Text("\xc3\x9c <main>"));
    const QString path = QString::fromLocal8Bit(argv[1]);
    ConfigureOutput(path, "0x7fffffff", "0");
    ConfigureOutput(path + Text(".own"), "0", "0x7fffffff");

    // All of it before the start, when the collector's thread does not change masks yet.
    CountHits();
    LogLevels();
    LogTimes();
    LogLines();
    LogTexts();
    LogLatin1();
    LogNames();
    LogMarkers();
    LogStreamedNumbers();
    LogStreamedTexts();
    LogStreamedFormats();
    LogTraces();
    const CollectorScope logging;
    return 0;
}
