#ifndef QORHWINFO_SYSTEMTEST_PROBERECORDER_H
#define QORHWINFO_SYSTEMTEST_PROBERECORDER_H

#include <QJsonArray>
#include <QObject>

/**
 * Records, inside the sandbox, what a helper tells the world while it works: the progress signals in the
 * order they come and every log message with its level. Only one recorder may exist at a time, since it
 * owns Qt's message handler while it lives.
 */
class ProbeRecorder : public QObject
{
    Q_OBJECT
public:
    ProbeRecorder();
    ~ProbeRecorder() override;

    /** The signals as [name, value] pairs, e.g. ["progressCurStepChanged", 3]. */
    QJsonArray signalLog() const { return m_signals; }
    /** The messages as objects {"level": "debug"|"warning"|"critical"|..., "text": ...}. */
    QJsonArray messages() const { return m_messages; }

public Q_SLOTS:
    void recordStepCount(int stepCount);
    void recordCurrentStep(int step);

private:
    static void handleMessage(QtMsgType type, const QMessageLogContext &context, const QString &text);

    static ProbeRecorder *s_current;

    QJsonArray m_signals;
    QJsonArray m_messages;
    QtMessageHandler m_previousHandler;
};

#endif
