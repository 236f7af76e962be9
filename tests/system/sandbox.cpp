#include "sandbox.h"

#include "systemtestpaths.h"

#include <QJsonDocument>
#include <QJsonParseError>
#include <QProcess>

namespace {
// Generous: a run reads a few small files, but the machine may be busy building.
const int runTimeoutMs = 120 * 1000;
} // namespace

QJsonObject SandboxResult::json(QString *error) const
{
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(out, &parseError);
    if (error) {
        if (parseError.error != QJsonParseError::NoError)
            *error = parseError.errorString();
        else if (!document.isObject())
            *error = QStringLiteral("not a JSON object");
        else
            error->clear();
    }
    return document.object();
}

QString SandboxResult::describe() const
{
    if (!finished)
        return QStringLiteral("did not finish; stderr: %1").arg(QString::fromLocal8Bit(err));
    return QStringLiteral("exit status %1; stderr: %2").arg(exitCode).arg(QString::fromLocal8Bit(err));
}

Sandbox::Sandbox() { }

SandboxResult Sandbox::build(const QString &unitName)
{
    return execute(QStringList { QStringLiteral("--root"), root(), unitFile(unitName), QStringLiteral("--"),
                                 QStringLiteral("true") });
}

SandboxResult Sandbox::run(const QString &program, const QStringList &arguments) const
{
    return execute(QStringList { QStringLiteral("--root"), root(), QStringLiteral("--"), program }
                   + arguments);
}

QString Sandbox::hostPath(const QString &unitPath) const
{
    return root() + unitPath;
}

QString Sandbox::unitFile(const QString &unitName)
{
    return QStringLiteral(QOR_SYSTEMTEST_UNIT_DIR "/%1.unit").arg(unitName);
}

SandboxResult Sandbox::execute(const QStringList &arguments)
{
    QProcess process;
    process.start(QStringLiteral(QOR_SYSTEMTEST_SANDBOX), arguments);
    SandboxResult result;
    result.finished = process.waitForFinished(runTimeoutMs) && process.exitStatus() == QProcess::NormalExit;
    if (!result.finished) {
        process.kill();
        process.waitForFinished();
    }
    result.exitCode = process.exitCode();
    result.out = process.readAllStandardOutput();
    result.err = process.readAllStandardError();
    return result;
}
