#include "host_process.h"
#include "log_record.h"

#include <QtTest/QtTest>

#include <algorithm>
#include <initializer_list>

using ZolTest::HostResult;

namespace {

const char* const registered = "DebugInterfaceFactoryStore::Register registered "
                               "AbstractDebugInterfaceFactory with key ";

QList<QByteArray> LinesBeginningWith(const QByteArray& start, const QByteArray& text)
{
    QList<QByteArray> lines;
    for (const QByteArray& line : text.split('\n')) {
        if (line.startsWith(start))
            lines.append(line);
    }
    return lines;
}

} // namespace

class TestPlugin : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void hostUsesTheOutputOfAPlugin_data();
    void hostUsesTheOutputOfAPlugin();
    void pluginMayBeLoadedWhileTheCollectorRuns();
};

void TestPlugin::hostUsesTheOutputOfAPlugin_data()
{
    QTest::addColumn<QString>("host");

    for (const char* const host : ZOLDEBUG_TEST_PLUGIN_HOSTS)
        QTest::newRow(host) << QString::fromLatin1(host);
}

void TestPlugin::hostUsesTheOutputOfAPlugin()
{
    QFETCH(QString, host);
    const HostResult result = ZolTest::RunHost(host);

    QCOMPARE(result.standard_error, QByteArray());
    QVERIFY(result.exited);
    QCOMPARE(result.exit_code, 0);
    const QByteArray& printed = result.standard_output;
    QList<QByteArray> factories = LinesBeginningWith(registered, printed);
    std::sort(factories.begin(), factories.end());
    QCOMPARE(factories, QList<QByteArray>() << QByteArray(registered) + "file"
                                            << QByteArray(registered) + "plugin");
    QVERIFY(printed.contains("DebugInterfaceFactoryStore::DoCreate Created Object with protocol "
                             "'plugin' with server 'server' and option 'option'\n"));
    QVERIFY(printed.contains("\ncreated server option\n<DEBUG_SERVER_RESTART/>\n"));
    QCOMPARE(ZolTest::MessagesOf(printed, "host module"), QList<QByteArray>() << "from the host");
    QCOMPARE(ZolTest::MessagesOf(printed, "plugin module"), QList<QByteArray>()
                                                                << "from the plugin");
}

void TestPlugin::pluginMayBeLoadedWhileTheCollectorRuns()
{
    const HostResult result = ZolTest::RunHost(QLatin1String("host_plugin_loaded"),
                                               QStringList(QLatin1String(ZOLDEBUG_TEST_PLUGIN)));

    QCOMPARE(result.standard_error, QByteArray());
    QVERIFY(result.exited);
    QCOMPARE(result.exit_code, 0);
    QCOMPARE(LinesBeginningWith(QByteArray(), result.standard_output),
             QList<QByteArray>()
                 << QByteArray(registered) + "file" << QByteArray(registered) + "plugin"
                 << "DebugInterfaceFactoryStore::DoCreate Created Object with protocol 'plugin' "
                    "with server 'server' and option 'option'"
                 << QByteArray());
}

QTEST_MAIN(TestPlugin)

#include "tst_plugin.moc"
