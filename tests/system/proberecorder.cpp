#include "proberecorder.h"

#include <QJsonObject>

ProbeRecorder *ProbeRecorder::s_current = nullptr;

namespace {

QString levelName(QtMsgType type)
{
    switch (type) {
    case QtDebugMsg:
        return QStringLiteral("debug");
    case QtInfoMsg:
        return QStringLiteral("info");
    case QtWarningMsg:
        return QStringLiteral("warning");
    case QtCriticalMsg:
        return QStringLiteral("critical");
    case QtFatalMsg:
        return QStringLiteral("fatal");
    }
    return QString();
}

} // namespace

ProbeRecorder::ProbeRecorder()
    : m_previousHandler(nullptr)
{
    s_current = this;
    m_previousHandler = qInstallMessageHandler(handleMessage);
}

ProbeRecorder::~ProbeRecorder()
{
    qInstallMessageHandler(m_previousHandler);
    s_current = nullptr;
}

void ProbeRecorder::recordStepCount(int stepCount)
{
    m_signals.append(QJsonArray { QStringLiteral("progressStepCountChanged"), stepCount });
}

void ProbeRecorder::recordCurrentStep(int step)
{
    m_signals.append(QJsonArray { QStringLiteral("progressCurStepChanged"), step });
}

void ProbeRecorder::handleMessage(QtMsgType type, const QMessageLogContext &, const QString &text)
{
    if (!s_current)
        return;
    s_current->m_messages.append(
        QJsonObject { { QStringLiteral("level"), levelName(type) }, { QStringLiteral("text"), text } });
}
