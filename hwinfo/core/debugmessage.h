#ifndef QORHWINFO_CORE_DEBUGMESSAGE_H
#define QORHWINFO_CORE_DEBUGMESSAGE_H

#include <QtCore/QString>
#include <QtCore/QtGlobal>

#if QT_VERSION < 0x050000
#include <QtCore/QDebug>
#endif

namespace hmi {

/**
 * One log message of the library, laid out as Qt 4's QDebug streams it: every item followed by one space,
 * the last one included, and QString items between plain double quotes without any escaping. Under Qt 4 it
 * is QDebug itself. Qt 5 and 6 drop the last space and escape quoted text, so there the text is built here
 * and logged as it stands: an application's message handler gets the same bytes whichever Qt it runs on.
 *
 * The message goes out when the object is destroyed, at the end of the statement that streams into it.
 */
class DebugMessage
{
public:
    /** @p type is QtDebugMsg or QtCriticalMsg. */
    explicit DebugMessage(QtMsgType type);
    ~DebugMessage();

    DebugMessage &operator<<(const char *text);
    DebugMessage &operator<<(const QString &text);

private:
    Q_DISABLE_COPY(DebugMessage)

#if QT_VERSION < 0x050000
    QDebug m_stream;
#else
    QtMsgType m_type;
    QString m_text;
#endif
};

} // namespace hmi

#endif
