#ifndef QORHWINFO_TESTS_INTSIGNALCALLBACK_H
#define QORHWINFO_TESTS_INTSIGNALCALLBACK_H

#include <QtCore/QObject>

#include <functional>

/** Runs a function at every emission of a signal with one int argument: Qt 4 connects no lambda. */
class IntSignalCallback : public QObject
{
    Q_OBJECT
public:
    IntSignalCallback(QObject *sender, const char *signal, std::function<void(int)> callback)
        : QObject(sender)
        , m_callback(callback)
    {
        connect(sender, signal, this, SLOT(call(int)));
    }

private Q_SLOTS:
    void call(int value) { m_callback(value); }

private:
    std::function<void(int)> m_callback;
};

#endif
