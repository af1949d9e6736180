#ifndef DEMO_DEVICE_H
#define DEMO_DEVICE_H

#include <QtCore/QObject>
#include <QtCore/QString>
#include <QtCore/QThread>

/** Lets some time pass, in milliseconds. */
void Wait(int milliseconds);

/** One component of the simulated device; it lives on a named thread of its own. */
class Task : public QObject
{
    Q_OBJECT

public:
    /** A task on a new thread of the name @p name. */
    explicit Task(const QString& name);

    /** Ends the thread. */
    ~Task();

public Q_SLOTS:
    /** Does what one line of the device's journal says. */
    virtual void Handle(const QString& verb, const QString& argument) = 0;

private:
    QThread m_thread;
};

/** Sends and receives packets. */
class NetworkTask : public Task
{
    Q_OBJECT

public:
    NetworkTask();

    void Handle(const QString& verb, const QString& argument) override;

private:
    void Receive(int packets);
};

/** Saves data, which may take its time, and knows when the medium is full. */
class StorageTask : public Task
{
    Q_OBJECT

public:
    StorageTask();

    void Handle(const QString& verb, const QString& argument) override;

private:
    void Save(int kilobytes);
};

/** Watches the temperature, and decides about logging. */
class ControlTask : public Task
{
    Q_OBJECT

public:
    ControlTask();

    void Handle(const QString& verb, const QString& argument) override;

Q_SIGNALS:
    /** The temperature in degrees Celsius left the safe range. */
    void Overheated(int temperature);

private:
    void Check(int temperature);
};

#endif
