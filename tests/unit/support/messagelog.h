#ifndef QORHWINFO_TESTS_MESSAGELOG_H
#define QORHWINFO_TESTS_MESSAGELOG_H

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QPair>
#include <QtCore/QString>

// Catches what goes through Qt's message handler while it lives, one at a time, to compare log texts byte for
// byte: the bytes that Qt 4 hands a handler, the UTF-8 of the text that Qt 5 and 6 hand it.
class MessageLog
{
public:
    MessageLog() { install(this); }
    ~MessageLog() { install(nullptr); }

    QList<QByteArray> texts(QtMsgType type) const
    {
        QList<QByteArray> result;
        for (const auto &entry : entries) {
            if (entry.first == type)
                result.append(entry.second);
        }
        return result;
    }

    QList<QPair<QtMsgType, QByteArray> > entries;

private:
    static MessageLog *&log()
    {
        static MessageLog *active = nullptr;
        return active;
    }
#if QT_VERSION < 0x050000
    static void handle(QtMsgType type, const char *text)
    {
        log()->entries << qMakePair(type, QByteArray(text));
    }
    static void install(MessageLog *active)
    {
        qInstallMsgHandler((log() = active) ? &handle : 0);
    }
#else
    static void handle(QtMsgType type, const QMessageLogContext &, const QString &text)
    {
        log()->entries << qMakePair(type, text.toUtf8());
    }
    static void install(MessageLog *active)
    {
        qInstallMessageHandler((log() = active) ? &handle : nullptr);
    }
#endif
};

#endif
