#ifndef QORHWINFO_TESTS_INTSIGNALCALLBACK_H
#define QORHWINFO_TESTS_INTSIGNALCALLBACK_H

#include <QtCore/QObject>

#include <functional>

/**
 * Runs a function at every emission of a signal with one int argument, as a lambda connected to it would:
 * Qt 4 connects signals to slots only.
 */
class IntSignalCallback : public QObject
{
    Q_OBJECT
public:
    IntSignalCallback(QObject *sender, const char *signal, std::function<void(int)> callback);

private Q_SLOTS:
    void call(int value);

private:
    std::function<void(int)> m_callback;
};

#endif
