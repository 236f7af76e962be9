#include "debugmessage.h"

namespace hmi {

#if QT_VERSION < 0x050000

DebugMessage::DebugMessage(QtMsgType type)
    : m_stream(type)
{ }

DebugMessage::~DebugMessage() { }

DebugMessage &DebugMessage::operator<<(const char *text)
{
    m_stream << text;
    return *this;
}

DebugMessage &DebugMessage::operator<<(const QString &text)
{
    m_stream << text;
    return *this;
}

#else

DebugMessage::DebugMessage(QtMsgType type)
    : m_type(type)
{ }

DebugMessage::~DebugMessage()
{
    const QByteArray text = m_text.toUtf8();
    if (m_type == QtCriticalMsg)
        qCritical("%s", text.constData());
    else
        qDebug("%s", text.constData());
}

DebugMessage &DebugMessage::operator<<(const char *text)
{
    m_text += QLatin1String(text) + QLatin1Char(' ');
    return *this;
}

DebugMessage &DebugMessage::operator<<(const QString &text)
{
    m_text += QLatin1Char('"') + text + QLatin1String("\" ");
    return *this;
}

#endif

} // namespace hmi
