#include "sandboxrun.h"

#include <QCoreApplication>
#include <QProcess>
#include <QTemporaryDir>

QString SandboxRun::scriptPath()
{
    return QStringLiteral(QORSANDBOX_PATH);
}

SandboxRun::SandboxRun(const QString &unitText, const QStringList &command, const QStringList &options)
{
    QTemporaryDir dir;
    const QString unitPath = dir.filePath(QStringLiteral("test.unit"));
    QFile unit(unitPath);
    if (!dir.isValid() || !unit.open(QIODevice::WriteOnly) || unit.write(unitText.toUtf8()) < 0) {
        m_errors = "cannot write the unit file";
        return;
    }
    unit.close();

    QProcess process;
    process.start(scriptPath(), QStringList(options) << unitPath << QStringLiteral("--") << command);
    process.waitForFinished(-1);
    m_exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    m_output = process.readAllStandardOutput();
    m_errors = process.readAllStandardError();
}

SandboxRun SandboxRun::probe(const QString &unitText, const QString &name, const QStringList &options)
{
    return SandboxRun(unitText, { QCoreApplication::applicationFilePath(), QStringLiteral("--probe"), name },
                      options);
}

QString SandboxRun::outputLine() const
{
    QString line = QString::fromUtf8(m_output);
    if (line.endsWith(QLatin1Char('\n')))
        line.chop(1);
    return line;
}
