#include "debugmessage.h"

#include <QtCore/QtGlobal>

namespace hmi {

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

QString DebugMessage::text() const
{
    return m_text;
}

void DebugMessage::debug() const
{
    qDebug("%s", m_text.toUtf8().constData());
}

void DebugMessage::critical() const
{
    qCritical("%s", m_text.toUtf8().constData());
}

} // namespace hmi
