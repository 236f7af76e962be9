#include "intsignalcallback.h"

IntSignalCallback::IntSignalCallback(QObject *sender, const char *signal, std::function<void(int)> callback)
    : QObject(sender)
    , m_callback(callback)
{
    connect(sender, signal, this, SLOT(call(int)));
}

void IntSignalCallback::call(int value)
{
    m_callback(value);
}
