/*
 * A host that logs: a simulated device with a network, a storage and a control component, each on a
 * thread of its own. It plays a journal, one request a line, and logs what happens to the outputs
 * that its command line names.
 */

#include "device.h"
#include "pause_signals.h"
#include <zoldebug/debug.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QMap>
#include <QtCore/QStringList>
#include <QtCore/QTextStream>

#include <stdio.h>

namespace {

const char* const usage =
    "Usage: demo_host [--output ADDRESS [MODULE=MASK ...]]... JOURNAL\n"
    "Plays a journal of the simulated device and logs to the outputs.\n"
    "\n"
    "  ADDRESS      file:PATH, file:PATH:t (truncate first), console:stdout, console:stderr\n"
    "  MODULE=MASK  network, storage, control, host, DBG or *; a number such as 0x3f, or levels\n"
    "               such as +DBG_INFO,-DBG_FATAL on top of errors\n"
    "  JOURNAL      one 'COMPONENT REQUEST [ARGUMENT]' or 'wait MILLISECONDS' a line, # for a\n"
    "               comment\n";

Zol::DebugModule host(QLatin1String("host"));

struct CommandLine
{
    QList<QStringList> outputs; ///< one option list each, as the library takes them
    QString journal;
};

bool Parse(const QStringList& arguments, CommandLine& command_line)
{
    for (int i = 1; i < arguments.size(); ++i) {
        const QString& argument = arguments.at(i);
        if (argument == QLatin1String("--output") && i + 1 < arguments.size())
            command_line.outputs.append(QStringList(arguments.at(++i)));
        else if (argument.contains(QLatin1Char('=')) && !command_line.outputs.isEmpty())
            command_line.outputs.last().append(argument);
        else if (command_line.journal.isEmpty() && !argument.startsWith(QLatin1String("--")))
            command_line.journal = argument;
        else
            return false;
    }
    return !command_line.journal.isEmpty();
}

class Device
{
public:
    Device()
    {
        m_tasks.insert(QLatin1String("network"), &m_network);
        m_tasks.insert(QLatin1String("storage"), &m_storage);
        m_tasks.insert(QLatin1String("control"), &m_control);
    }

    /** Has the right component do what a line of the journal says, and waits for it. */
    void Play(const QString& line)
    {
        const QStringList words = line.simplified().split(QLatin1Char(' '));
        if (words.first() == QLatin1String("wait")) {
            Wait(words.value(1).toInt());
            return;
        }
        Task* const task = m_tasks.value(words.first());
        if (!task) {
            ZOL_WARN(host) << "no component for '" << line << "'";
            return;
        }
        QMetaObject::invokeMethod(task, "Handle", Qt::BlockingQueuedConnection,
                                  Q_ARG(QString, words.value(1)), Q_ARG(QString, words.value(2)));
    }

private:
    NetworkTask m_network;
    StorageTask m_storage;
    ControlTask m_control;
    QMap<QString, Task*> m_tasks;
};

// What is logged before the collector starts waits for it, and what is counted is in its first
// dump of the metrics.
void TestMemory()
{
    const int banks = 4;
    for (int bank = 0; bank < banks; ++bank)
        ZOL_LOG_METRIC(host, Zol::DBG_INFO) << "memory bank " << bank << " is good";
}

void PlayJournal(QFile& journal)
{
    ZOL_INFO(host) << "playing " << journal.fileName();
    Device device;
    while (!journal.atEnd()) {
        const QString line = QString::fromUtf8(journal.readLine()).trimmed();
        if (!line.isEmpty() && !line.startsWith(QLatin1Char('#')))
            device.Play(line);
    }
    ZOL_INFO(host) << "the journal ends";
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    QThread::currentThread()->setObjectName(QLatin1String("main"));

    CommandLine command_line;
    if (!Parse(application.arguments(), command_line)) {
        fputs(usage, stderr);
        return 2;
    }
    QFile journal(command_line.journal);
    if (!journal.open(QIODevice::ReadOnly)) {
        fprintf(stderr, "demo_host: cannot read %s\n", qPrintable(command_line.journal));
        return 1;
    }

    for (const QStringList& options : const_cast<const QList<QStringList>&>(command_line.outputs)) {
        if (!Zol::DbgCollector::ParseDebugServerOptions(options)) {
            fprintf(stderr, "demo_host: bad output '%s'\n",
                    qPrintable(options.join(QLatin1String(" "))));
            return 2;
        }
    }
    const PauseSignals pause_signals; // for scripts that move the log files
    TestMemory();
    const Zol::CollectorScope logging; // starts here, and has written everything when main() ends
    PlayJournal(journal);
    return 0;
}
