#include "options.h"

#include <getopt.h>
#include <stdio.h>

namespace DbgCat {

namespace {

enum LongOption
{
    SinceOption = 256,
    UntilOption,
    JsonOption,
    XmlOption,
    CsvOption,
    StatisticsOption,
    MetricsOption,
    TimingOption,
    ReportOption,
    ColourOption,
    EscapeOption,
    VersionOption
};

const char short_options[] = "l:m:M:T:F:e:n:fvHh";
const option long_options[] = {{"level", required_argument, 0, 'l'},
                               {"mask", required_argument, 0, 'm'},
                               {"module", required_argument, 0, 'M'},
                               {"thread", required_argument, 0, 'T'},
                               {"function", required_argument, 0, 'F'},
                               {"text", required_argument, 0, 'e'},
                               {"since", required_argument, 0, SinceOption},
                               {"until", required_argument, 0, UntilOption},
                               {"last", required_argument, 0, 'n'},
                               {"follow", no_argument, 0, 'f'},
                               {"verbose", no_argument, 0, 'v'},
                               {"with-filename", no_argument, 0, 'H'},
                               {"json", no_argument, 0, JsonOption},
                               {"xml", no_argument, 0, XmlOption},
                               {"csv", no_argument, 0, CsvOption},
                               {"stats", no_argument, 0, StatisticsOption},
                               {"metrics", no_argument, 0, MetricsOption},
                               {"timing", no_argument, 0, TimingOption},
                               {"report", required_argument, 0, ReportOption},
                               {"color", required_argument, 0, ColourOption},
                               {"escape", required_argument, 0, EscapeOption},
                               {"help", no_argument, 0, 'h'},
                               {"version", no_argument, 0, VersionOption},
                               {0, 0, 0, 0}};

bool Refuse(const char* what, const QByteArray& value)
{
    fprintf(stderr, "dbgcat: %s: '%s'\n", what, value.constData());
    return false;
}

bool ParseExpression(const QByteArray& text, QRegularExpression& expression)
{
    expression.setPattern(QString::fromUtf8(text));
    if (!expression.isValid())
        return Refuse(qPrintable(expression.errorString()), text);
    return true;
}

bool ParseTime(const QByteArray& text, LogTime now, LogTime& time)
{
    time = ParseTimeOption(text, now);
    return time != no_time || Refuse("this is no time", text);
}

bool ParseWhen(const QByteArray& text, Options::When& when)
{
    if (text != "auto" && text != "always" && text != "never")
        return Refuse("this is none of auto, always and never", text);
    when = text == "auto" ? Options::Auto : text == "always" ? Options::Always : Options::Never;
    return true;
}

} // namespace

Options::Options()
    : form(Plain)
    , last(-1)
    , follow(false)
    , verbose(false)
    , with_log(false)
    , colour(Auto)
    , escape(Auto)
    , m_has_form(false)
{
}

bool Options::Parse(int argc, char** argv, LogTime now)
{
    optind = 1;
    for (int option; (option = getopt_long(argc, argv, short_options, long_options, 0)) != -1;) {
        if (option == '?')
            fprintf(stderr, "Try 'dbgcat --help'.\n");
        if (option == '?' || !Take(option, QByteArray(optarg), now))
            return false;
    }
    for (int i = optind; i < argc; ++i)
        logs.push_back(QByteArray(argv[i]));
    if (logs.empty())
        logs.push_back("-");
    return AreCompatible();
}

bool Options::Take(int option, const QByteArray& value, LogTime now)
{
    QRegularExpression expression;
    LogTime time = no_time;
    switch (option) {
    case 'l':
        return TakeLevels(value);
    case 'm':
        return TakeMask(value);
    case 'M':
        filter.AddModule(value);
        return true;
    case 'T':
        filter.AddThread(value);
        return true;
    case 'F':
        if (!ParseExpression(value, expression))
            return false;
        filter.SetFunction(expression);
        return true;
    case 'e':
        if (!ParseExpression(value, expression))
            return false;
        filter.SetText(expression);
        return true;
    case SinceOption:
        if (!ParseTime(value, now, time))
            return false;
        filter.SetSince(time);
        return true;
    case UntilOption:
        if (!ParseTime(value, now, time))
            return false;
        filter.SetUntil(time);
        return true;
    case 'n':
        return TakeLast(value);
    case 'f':
        follow = true;
        return true;
    case 'v':
        verbose = true;
        return true;
    case 'H':
        with_log = true;
        return true;
    case ReportOption:
        report = value;
        return TakeForm(Report);
    case ColourOption:
        return ParseWhen(value, colour);
    case EscapeOption:
        return ParseWhen(value, escape);
    case JsonOption:
        return TakeForm(Json);
    case XmlOption:
        return TakeForm(Xml);
    case CsvOption:
        return TakeForm(Csv);
    case StatisticsOption:
        return TakeForm(Statistics);
    case MetricsOption:
        return TakeForm(Metrics);
    case TimingOption:
        return TakeForm(Timing);
    case VersionOption:
        form = Version;
        m_has_form = true;
        return true;
    default:
        form = Help;
        m_has_form = true;
        return true;
    }
}

bool Options::TakeLevels(const QByteArray& names)
{
    const QList<QByteArray> list = names.split(',');
    for (const QByteArray& text : list) {
        QString name = QString::fromLatin1(text.trimmed().toUpper());
        if (!name.startsWith(QLatin1String("DBG_")))
            name.prepend(QLatin1String("DBG_"));
        // An unknown name is taken for a level, too.
        const Zol::DebugLevel level = Zol::DbgUtils::QSToDbgLvl(name);
        if (Zol::DbgUtils::DbgLvlToQS(level) != name)
            return Refuse("there is no such level", text);
        filter.AddLevels(level);
    }
    return true;
}

bool Options::TakeMask(const QByteArray& mask)
{
    const Zol::DebugLevel levels = Zol::DbgUtils::ParseDebugMaskString(QString::fromUtf8(mask));
    filter.AddLevels(levels);
    return levels != 0 || Refuse("this mask has no levels", mask);
}

bool Options::TakeForm(Form wanted)
{
    if (m_has_form && form != wanted && form != Help && form != Version) {
        fprintf(stderr, "dbgcat: only one form at a time can be written\n");
        return false;
    }
    if (form != Help && form != Version)
        form = wanted;
    m_has_form = true;
    return true;
}

bool Options::TakeLast(const QByteArray& number)
{
    bool is_number = false;
    last = number.toLongLong(&is_number);
    return (is_number && last >= 0) || Refuse("this is no number of records", number);
}

bool Options::AreCompatible() const
{
    if (follow && (!WritesItems() || form == Xml)) {
        fprintf(stderr, "dbgcat: this form has an end, and cannot follow a log\n");
        return false;
    }
    if (last >= 0 && !WritesItems()) {
        fprintf(stderr, "dbgcat: only records can be limited to the last ones\n");
        return false;
    }
    return true;
}

} // namespace DbgCat
