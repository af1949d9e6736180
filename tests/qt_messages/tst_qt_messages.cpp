#include "collector_agent.h"
#include "collector_tools.h"
#include "host_process.h"
#include "qt_compat.h"
#include "temp_dir.h"

#include <zoldebug/qt_messages.h>

#include <QtCore/QDebug>
#include <QtTest/QtTest>

#include <thread>
#include <vector>

// Where Qt tells where a message comes from, its functions are macros.
#ifdef qDebug
#define ZOLDEBUG_TEST_HAS_CONTEXT
#endif

using namespace Zol;
using namespace ZolTest;

namespace {

/** The handler that is there before the library's: notes the texts of messages. */
class Before
{
public:
    static QMutex& Lock()
    {
        static QMutex mutex;
        return mutex;
    }

    static QList<QByteArray>& Texts()
    {
        static QList<QByteArray> texts;
        return texts;
    }

    static QtCompat::MessageHandler Note(const QtCompat::Message& message)
    {
        QMutexLocker lock(&Lock());
        Texts().append(message.text.toUtf8());
        return 0;
    }

    static bool Has(const QByteArray& text)
    {
        QMutexLocker lock(&Lock());
        return Texts().contains(text);
    }
};

const QtCompat::MessageHandler handler_before = QtCompat::HandleMessage<Before::Note>;

QtCompat::MessageHandler handler_to_pass_on_to = 0;

QtCompat::MessageHandler PassOn(const QtCompat::Message&)
{
    return handler_to_pass_on_to;
}

/** Has Qt handle a message as if it came from a place of the host. */
void Say(QtMsgType type, const char* category, const char* text)
{
#ifdef ZOLDEBUG_TEST_HAS_CONTEXT
    const QMessageLogContext context("host.cpp", 42, "void Host::Run()", category);
    qt_message_output(type, context, QString::fromUtf8(text));
#else
    Q_UNUSED(category)
    qt_message_output(type, text);
#endif
}

QByteArray ModuleOfSome(const char* category)
{
#ifdef ZOLDEBUG_TEST_HAS_CONTEXT
    return category;
#else
    Q_UNUSED(category)
    return "default";
#endif
}

LogRecord RecordOf(const QByteArray& text)
{
    const QList<QByteArray> records = ProbeOf("a").Records();
    for (const QByteArray& record : records) {
        if (ParseRecord(record).message.trimmed() == text) // Qt 4 ends streamed texts with a space
            return ParseRecord(record);
    }
    return LogRecord();
}

} // namespace

class tst_QtMessages : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void aMessageIsARecord();
    void categoriesAreModules();
    void streamsOfQtAreTaken();
    void masksDecide();
    void messagesBeforeTheStartWait();
    void messagesAfterTheStopAreHarmless();
    void messagesAreKeptOrPassedOn();
    void messagesOfAnOutputAreNotCollected();
    void messagesComeFromAnyThread();
    void theHandlerBeforeIsPutBack();
    void aLaterHandlerStays();
    void onlyTheFirstOfTwoCounts();
    void aFatalMessageIsWritten();
};

void tst_QtMessages::init()
{
    QtCompat::InstallMessageHandler(handler_before);
}

void tst_QtMessages::aMessageIsARecord()
{
    NameThisThread("tester");
    ConfigureProbe("a");
    DbgCollector::Start();
    {
        const QtMessages messages;
        Say(QtDebugMsg, "host.part", "a debug message");
        Say(QtWarningMsg, "host.part", "a warning <&>");
        Say(QtCriticalMsg, "host.part", "a critical one\nof two lines");
#ifdef qInfo
        Say(QtInfoMsg, "host.part", "an information");
#endif
    }
    QVERIFY(StopAndAwaitLastRecord());

    const LogRecord debug = RecordOf("a debug message");
    QVERIFY(debug.valid);
    QCOMPARE(debug.level, QByteArray("DBG_TRACE"));
    QCOMPARE(debug.module, ModuleOfSome("host.part"));
    QCOMPARE(debug.thread, QByteArray("tester"));
#ifdef ZOLDEBUG_TEST_HAS_CONTEXT
    QCOMPARE(debug.file, QByteArray("host.cpp"));
    QCOMPARE(debug.line, QByteArray("42"));
    QCOMPARE(debug.function, QByteArray("void Host::Run()"));
#endif
    QCOMPARE(RecordOf("a warning <&>").level, QByteArray("DBG_WARN"));
    QVERIFY(ProbeOf("a").Bytes().contains(
        "lvl=\"DBG_CRITICAL\" thrd=\"tester\"/></h><b>a critical one\nof two lines</b></dbg>\n"));
#ifdef qInfo
    QCOMPARE(RecordOf("an information").level, QByteArray("DBG_INFO"));
#endif
}

void tst_QtMessages::categoriesAreModules()
{
    ConfigureProbe("a");
    DbgCollector::Start();
    {
        const QtMessages messages;
        QByteArray name("host.first");
        Say(QtWarningMsg, name.constData(), "first");
        name = "host.other"; // perhaps in the same place
        Say(QtWarningMsg, name.constData(), "other");
        Say(QtWarningMsg, "host.first", "first again");
        Say(QtWarningMsg, "", "empty");
        Say(QtWarningMsg, 0, "none");
        Say(QtWarningMsg, "default", "default");
    }
    QVERIFY(StopAndAwaitLastRecord());
    QCOMPARE(RecordOf("first").module, ModuleOfSome("host.first"));
    QCOMPARE(RecordOf("other").module, ModuleOfSome("host.other"));
    QCOMPARE(RecordOf("first again").module, ModuleOfSome("host.first"));
    QCOMPARE(RecordOf("empty").module, QByteArray("default"));
    QCOMPARE(RecordOf("none").module, QByteArray("default"));
    QCOMPARE(RecordOf("default").module, QByteArray("default"));
}

void tst_QtMessages::streamsOfQtAreTaken()
{
    ConfigureProbe("a");
    DbgCollector::Start();
    {
        const QtMessages messages;
        qDebug("formatted %d", 1);
        qWarning() << "streamed" << 2;
    }
    QVERIFY(StopAndAwaitLastRecord());
    QVERIFY(RecordOf("formatted 1").valid);
    QCOMPARE(RecordOf("formatted 1").module, QByteArray("default"));
    QVERIFY(RecordOf("streamed 2").valid);
}

void tst_QtMessages::masksDecide()
{
    CollectorAgent::Employ(ProbeOf("a"));
    DbgCollector::CollectCfgMsg(QLatin1String("probe:a"), QLatin1String("*"), DBG_WARN | DBG_INFO);
    DbgCollector::Start();
    CollectorAgent* const agent = CollectorAgent::Await();
    QVERIFY(agent);
    {
        const QtMessages messages(QtMessages::CollectAndPassOn);
        QVERIFY(agent->Fence());
        Say(QtDebugMsg, "host", "too low");
        Say(QtWarningMsg, "host", "high enough");
        Say(QtCriticalMsg, "host", "not selected");
        QVERIFY(agent->Fence());
        DbgCollector::CollectCfgMsg(QLatin1String("probe:a"),
                                    QString::fromLatin1(ModuleOfSome("host")), DBG_TRACE);
        QVERIFY(agent->Fence());
        Say(QtDebugMsg, "host", "low enough");
        Say(QtWarningMsg, "host", "too high");

        // What the module's mask holds back is not even queued for an output that wants it next.
        Gate gate;
        HostThread holder("holder", [&] { agent->Run([&gate] { gate.Pass(); }); });
        holder.start();
        QVERIFY(gate.AwaitEntry());
        Say(QtWarningMsg, "host", "held back");
        DbgCollector::CollectCfgMsg(QLatin1String("probe:a"), QLatin1String("*"), all_levels);
        gate.Open();
        QVERIFY(holder.Join());
    }
    QVERIFY(agent->Fence());
    QVERIFY(!RecordOf("too low").valid);
    QVERIFY(RecordOf("high enough").valid);
    QVERIFY(!RecordOf("not selected").valid);
    QVERIFY(RecordOf("low enough").valid);
    QVERIFY(!RecordOf("too high").valid);
    QVERIFY(!RecordOf("held back").valid);
    QVERIFY(Before::Has("too low")); // the mask is the collector's
}

void tst_QtMessages::messagesBeforeTheStartWait()
{
    const QtMessages messages;
    Say(QtWarningMsg, "host", "early");
    ConfigureProbe("a");
    DbgCollector::Start();
    QVERIFY(StopAndAwaitLastRecord());
    QVERIFY(RecordOf("early").valid);
}

void tst_QtMessages::messagesAfterTheStopAreHarmless()
{
    ConfigureProbe("a");
    DbgCollector::Start();
    {
        const QtMessages messages(QtMessages::CollectAndPassOn);
        QVERIFY(StopAndAwaitLastRecord());
        Say(QtWarningMsg, "host", "late");
        Say(QtWarningMsg, "host.another", "later");
    }
    QVERIFY(!RecordOf("late").valid);
    QVERIFY(Before::Has("late"));
    QVERIFY(Before::Has("later"));
}

void tst_QtMessages::messagesAreKeptOrPassedOn()
{
    ConfigureProbe("a");
    DbgCollector::Start();
    {
        const QtMessages messages;
        Say(QtWarningMsg, "host", "kept");
    }
    {
        const QtMessages messages(QtMessages::CollectAndPassOn);
        Say(QtWarningMsg, "host", "passed on");
    }
    QVERIFY(StopAndAwaitLastRecord());
    QVERIFY(RecordOf("kept").valid);
    QVERIFY(!Before::Has("kept"));
    QVERIFY(RecordOf("passed on").valid);
    QVERIFY(Before::Has("passed on"));
}

void tst_QtMessages::messagesOfAnOutputAreNotCollected()
{
    ProbeOf("a").SetOnCall([](const QByteArray&) { qWarning("made while an output is made"); });
    ProbeOf("a").SetOnWrite([](const QByteArray&) { qWarning("made while a record is written"); });
    const QtMessages messages;
    ConfigureProbe("a");
    DbgCollector::Start();
    Say(QtWarningMsg, "host", "of the host");
    QVERIFY(StopAndAwaitLastRecord());
    QVERIFY(RecordOf("of the host").valid);
    QVERIFY(!ProbeOf("a").Bytes().contains("made while"));
    QVERIFY(Before::Has("made while an output is made"));
    QVERIFY(Before::Has("made while a record is written"));
}

void tst_QtMessages::messagesComeFromAnyThread()
{
    const int thread_count = 8;
    const int message_count = 500;
    ConfigureProbe("a");
    DbgCollector::Start();
    {
        const QtMessages messages;
        std::vector<std::thread> threads; // unknown to Qt
        Gate gate;
        for (int i = 0; i < thread_count; ++i) {
            threads.emplace_back([&gate] {
                gate.Pass();
                for (int number = 0; number < message_count; ++number) {
                    const QByteArray category = "host." + QByteArray::number(number % 20);
                    Say(QtWarningMsg, category.constData(), "one of many");
                }
            });
        }
        for (int i = 0; i < thread_count; ++i)
            gate.Open();
        for (std::thread& thread : threads)
            thread.join();
    }
    QVERIFY(StopAndAwaitLastRecord());
    QCOMPARE(ProbeOf("a").Bytes().count("<b>one of many</b>"), thread_count * message_count);
}

void tst_QtMessages::theHandlerBeforeIsPutBack()
{
    {
        const QtMessages messages;
    }
    QVERIFY(QtCompat::InstallMessageHandler(handler_before) == handler_before);
}

void tst_QtMessages::aLaterHandlerStays()
{
    const QtCompat::MessageHandler later = QtCompat::HandleMessage<PassOn>;
    ConfigureProbe("a");
    DbgCollector::Start();
    {
        const QtMessages messages;
        handler_to_pass_on_to = QtCompat::InstallMessageHandler(later);
        Say(QtWarningMsg, "host", "through a later handler");
    }
    Say(QtWarningMsg, "host", "behind the scope");
    {
        const QtMessages messages(QtMessages::CollectAndPassOn);
        Say(QtWarningMsg, "host", "in the next scope");
    }
    QVERIFY(StopAndAwaitLastRecord());
    QVERIFY(RecordOf("through a later handler").valid);
    QVERIFY(!RecordOf("behind the scope").valid);
    QVERIFY(Before::Has("behind the scope"));
    QVERIFY(RecordOf("in the next scope").valid);
    QVERIFY(Before::Has("in the next scope"));
    QVERIFY(QtCompat::InstallMessageHandler(handler_before) == later);
}

void tst_QtMessages::onlyTheFirstOfTwoCounts()
{
    ConfigureProbe("a");
    DbgCollector::Start();
    {
        const QtMessages messages;
        {
            const QtMessages more(QtMessages::CollectAndPassOn);
        }
        Say(QtWarningMsg, "host", "still collected");
    }
    QVERIFY(StopAndAwaitLastRecord());
    QVERIFY(RecordOf("still collected").valid);
    QVERIFY(!Before::Has("still collected"));
}

void tst_QtMessages::aFatalMessageIsWritten()
{
    const TempDir folder;
    const QString log = folder.Path("host.log");
    const HostResult host = RunHost(QLatin1String("host_fatal_message"), QStringList(log));
    QVERIFY(!host.exited);
    const QList<QByteArray> texts = MessagesOf(ReadFile(log.toLocal8Bit()), "default");
    QCOMPARE(texts, QList<QByteArray>() << "the last words");
    QVERIFY(host.standard_error.contains("the last words"));
}

QTEST_MAIN(tst_QtMessages)

#include "tst_qt_messages.moc"
