#include "dbg_utils.h"
#include "probe.h"

#include <QtTest/QtTest>

using Zol::DbgUtils;

namespace {

/** An object with a method of each kind. */
class Device : public QObject
{
    Q_OBJECT

public:
    Device() {}
    Q_INVOKABLE explicit Device(int) {}

    Q_INVOKABLE int Read(int address) const { return address; }
    Q_INVOKABLE void Write(const QByteArray& data, int address = 0)
    {
        Q_UNUSED(data);
        Q_UNUSED(address);
    }
    void Ordinary() {}

Q_SIGNALS:
    void Opened();
    void Failed(const QString& reason, unsigned int code);

public Q_SLOTS:
    void Open() {}

protected Q_SLOTS:
    void Retry(QObject* sender) { Q_UNUSED(sender); }

private Q_SLOTS:
    void Close() {}
};

class Disk : public Device
{
    Q_OBJECT

Q_SIGNALS:
    void Full();

public Q_SLOTS:
    void Open(int mode) { Q_UNUSED(mode); }
};

/** Adds nothing of its own to the interface. */
class Bare : public QObject
{
    Q_OBJECT
};

/** Has no interface of its own, so it has its base's. */
class Undeclared : public Disk
{
};

QByteArray DumpOf(QObject& object)
{
    return DbgUtils::DumpMethods(&object).toUtf8();
}

QByteArray PlainDump()
{
    QObject object;
    return DumpOf(object);
}

const QByteArray device_methods = "Type = Signal. signature = Opened()\n"
                                  "Type = Signal. signature = Failed(QString,uint)\n"
                                  "Type = Slot. signature = Open()\n"
                                  "Type = Slot. signature = Retry(QObject*)\n"
                                  "Type = Slot. signature = Close()\n"
                                  "Type = Method. signature = Read(int)\n"
                                  "Type = Method. signature = Write(QByteArray,int)\n"
                                  "Type = Method. signature = Write(QByteArray)\n";
const int device_method_count = 8;

const QByteArray disk_methods = "Type = Signal. signature = Full()\n"
                                "Type = Slot. signature = Open(int)\n";

int PlainCount()
{
    return QObject::staticMetaObject.methodCount();
}

QByteArray Trailing(int count)
{
    return QByteArray("Type = Method. signature = \n").repeated(count);
}

} // namespace

class TestDumpMethods : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void plainObjectBeginsWithItsFirstSignal();
    void plainObjectHasItsOwnMethodsOnly();
    void everyKindOfMethodIsNamed();
    void methodsOfABaseComeFirst();
    void inheritedMethodsHaveATrailingLineEach();
    void classWithoutMethodsHasTrailingLines();
    void classWithoutDeclarationIsDumpedAsItsBase();
    void dumpEndsWithALineFeed();
    void constructorsAndOrdinaryMethodsAreLeftOut();
    void outputsCanBeDumped();
};

void TestDumpMethods::plainObjectBeginsWithItsFirstSignal()
{
    QVERIFY(PlainDump().startsWith("Type = Signal. signature = destroyed(QObject*)\n"));
}

void TestDumpMethods::plainObjectHasItsOwnMethodsOnly()
{
    const QByteArray dump = PlainDump();

    QCOMPARE(static_cast<int>(dump.count('\n')), PlainCount());
    QVERIFY(dump.contains("\nType = Signal. signature = destroyed()\n"));
    QVERIFY(dump.contains("\nType = Slot. signature = deleteLater()\n"));
    QVERIFY(!dump.contains("signature = \n"));
}

void TestDumpMethods::everyKindOfMethodIsNamed()
{
    Device device;

    QCOMPARE(DumpOf(device), PlainDump() + device_methods + Trailing(PlainCount()));
}

void TestDumpMethods::methodsOfABaseComeFirst()
{
    Disk disk;

    QVERIFY(DumpOf(disk).startsWith(PlainDump() + device_methods + disk_methods));
}

void TestDumpMethods::inheritedMethodsHaveATrailingLineEach()
{
    Disk disk;

    QCOMPARE(DumpOf(disk), PlainDump() + device_methods + disk_methods +
                               Trailing(PlainCount() + device_method_count));
}

void TestDumpMethods::classWithoutMethodsHasTrailingLines()
{
    Bare bare;

    QCOMPARE(DumpOf(bare), PlainDump() + Trailing(PlainCount()));
}

void TestDumpMethods::classWithoutDeclarationIsDumpedAsItsBase()
{
    Undeclared object;
    Disk disk;

    QCOMPARE(DumpOf(object), DumpOf(disk));
}

void TestDumpMethods::dumpEndsWithALineFeed()
{
    Disk disk;

    QVERIFY(PlainDump().endsWith('\n'));
    QVERIFY(DumpOf(disk).endsWith('\n'));
}

void TestDumpMethods::constructorsAndOrdinaryMethodsAreLeftOut()
{
    Device device(1);
    const QByteArray dump = DumpOf(device);

    QVERIFY(!dump.contains("Device("));
    QVERIFY(!dump.contains("Ordinary"));
    QVERIFY(!dump.contains("Type =  signature"));
}

void TestDumpMethods::outputsCanBeDumped()
{
    ZolTest::ProbeOutput output(QLatin1String("a"), QString());

    QCOMPARE(DumpOf(output), PlainDump() + "Type = Slot. signature = DeviceDestroyed(QObject*)\n" +
                                 Trailing(PlainCount()));
}

QTEST_MAIN(TestDumpMethods)

#include "tst_dump_methods.moc"
