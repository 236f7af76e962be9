#include "sandbox.h"

#include "systemtestpaths.h"

#include <QJsonDocument>
#include <QJsonParseError>
#include <QProcess>
#include <QTemporaryFile>

#include <algorithm>

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

QString healthyUnitWith(const QStringList &changes)
{
    QStringList lines { QStringLiteral("mac 02:fc:00:00:00:01"),
                        QStringLiteral("board_serial ABC123456789"),
                        QStringLiteral("fpga 0x12340a5f"),
                        storeRecord(QStringLiteral("com"), QStringLiteral("I123456")),
                        storeRecord(QStringLiteral("cb"), QStringLiteral("I123456")),
                        storeRecord(QStringLiteral("bf"), QStringLiteral("I123456")),
                        QStringLiteral("store ut record serial=u32:42") };
    for (const QString &change : changes) {
        const QString directive
            = change.section(QLatin1Char(' '), 0, change.startsWith(QLatin1String("store ")) ? 1 : 0);
        auto same
            = [&directive](const QString &line) { return line.startsWith(directive + QLatin1Char(' ')); };
        const auto it = std::find_if(lines.begin(), lines.end(), same);
        if (it == lines.end())
            lines.append(change);
        else
            *it = change;
    }
    return lines.join(QLatin1Char('\n'));
}

QString storeRecord(const QString &key, const QString &unit)
{
    QString line = QStringLiteral("store %1 record unit=%2 cb=u32:1234567 bf=u32:7654321 fpgaUid=0a5f "
                                  "com=ABC123456789 mac=02:fc:00:00:00:01")
                       .arg(key, unit);
    if (key == QLatin1String("cb"))
        line += QStringLiteral(" serial=u32:1234567");
    else if (key == QLatin1String("bf"))
        line += QStringLiteral(" serial=u32:7654321");
    return line;
}

SandboxResult Sandbox::build(const QString &unitText)
{
    QTemporaryFile unitFile;
    if (!unitFile.open() || unitFile.write(unitText.toUtf8()) < 0 || !unitFile.flush())
        return SandboxResult();
    return execute(QStringList { QStringLiteral("--root"), root(), unitFile.fileName(), QStringLiteral("--"),
                                 QStringLiteral("true") });
}

bool Sandbox::putDevice(const QString &unitPath, const QString &hostDevice) const
{
    QFile conf(root() + QStringLiteral("/sandbox.conf"));
    if (!QFile::remove(hostPath(unitPath)) || !QFile::link(hostDevice, hostPath(unitPath))
        || !conf.open(QIODevice::ReadOnly))
        return false;
    // A plain bind keeps device nodes from being opened.
    const QByteArray bind = "bind " + unitPath.mid(1).toUtf8() + ' ' + unitPath.toUtf8() + '\n';
    const QByteArray text = conf.readAll().replace('\n' + bind, "\ndev-" + bind);
    conf.close();
    return conf.open(QIODevice::WriteOnly | QIODevice::Truncate) && conf.write(text) == text.size();
}

SandboxResult Sandbox::run(const QString &program, const QStringList &arguments) const
{
    return execute(QStringList { QStringLiteral("--root"), root(), QStringLiteral("--"), program }
                   + arguments);
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
