#ifndef QORHWINFO_DEBUGMESSAGE_H
#define QORHWINFO_DEBUGMESSAGE_H

#include <QtCore/QString>

namespace hmi {

/**
 * A log message laid out as Qt 4's QDebug streams it: every item followed by one space, the last one
 * included, and QString items between plain double quotes without any escaping. Qt 5's QDebug drops
 * the last space and escapes quoted text, so the library builds its texts here to log the same bytes
 * whichever Qt it runs on.
 */
class DebugMessage
{
public:
    DebugMessage &operator<<(const char *text);
    DebugMessage &operator<<(const QString &text);

    QString text() const;
    void debug() const;
    void critical() const;

private:
    QString m_text;
};

} // namespace hmi

#endif
