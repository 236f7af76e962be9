#include "sandbox.h"

#include "qtcompat.h"
#include "systemtestpaths.h"

#include <QtCore/QDir>
#include <QtCore/QDirIterator>
#include <QtCore/QFileInfo>
#include <QtCore/QProcess>
#include <QtCore/QTemporaryFile>

#include <cstdlib>
#include <sys/stat.h>

QString SandboxResult::describe() const
{
    return QStringLiteral("exit status %1\nstdout:\n%2\nstderr:\n%3")
        .arg(exitCode)
        .arg(QString::fromLocal8Bit(out), QString::fromLocal8Bit(err));
}

Sandbox::Sandbox()
{
    QByteArray pattern = QFile::encodeName(QDir::tempPath()) + "/qorsystemtest.XXXXXX";
    if (::mkdtemp(pattern.data()))
        m_root = QFile::decodeName(pattern);
}

Sandbox::~Sandbox()
{
    if (!m_root.isEmpty())
        QProcess::execute(QStringLiteral("rm"), QStringList() << QStringLiteral("-rf") << m_root);
}

SandboxResult Sandbox::build(const QString &unitText)
{
    QTemporaryFile unitFile;
    if (!unitFile.open() || unitFile.write(unitText.toUtf8()) < 0 || !unitFile.flush())
        return SandboxResult();
    // qorsimunit fills an empty directory only.
    QDir(m_root).rmdir(m_root);
    return execute(QStringList() << QStringLiteral("--root") << m_root << unitFile.fileName()
                                 << QStringLiteral("--") << QStringLiteral("true"),
                   300);
}

// The limit is kept inside the sandbox too: a program that hangs dies there even when the test that started
// it is killed first.
SandboxResult Sandbox::run(const QString &program, const QStringList &arguments, int seconds) const
{
    return execute(QStringList() << QStringLiteral("--root") << m_root << QStringLiteral("--")
                                 << QStringLiteral("timeout") << QStringLiteral("-k5")
                                 << QString::number(seconds) << program << arguments,
                   seconds + 10);
}

QMap<QString, QByteArray> Sandbox::files() const
{
    QMap<QString, QByteArray> files;
    QDirIterator it(m_root, QDir::Files | QDir::Hidden | QDir::System, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        struct stat info;
        QFile file(path);
        if (::lstat(QFile::encodeName(path).constData(), &info) != 0 || !file.open(QIODevice::ReadOnly))
            continue;
        files.insert(path.mid(m_root.size()),
                     QByteArray::number(info.st_mode & 0777, 8) + ' ' + file.readAll());
    }
    return files;
}

SandboxResult Sandbox::execute(const QStringList &arguments, int seconds)
{
    QProcess process;
    QStringList environment = QProcess::systemEnvironment();
    for (QString &variable : environment) {
        if (variable.startsWith(QLatin1String("PATH=")))
            variable.insert(5, QStringLiteral(QOR_SYSTEMTEST_BIN ":"));
    }
    process.setEnvironment(environment);
    process.start(QStringLiteral(QOR_SYSTEMTEST_BIN "/qorsandbox"), arguments);
    SandboxResult result;
    if (process.waitForFinished(seconds * 1000) && process.exitStatus() == QProcess::NormalExit)
        result.exitCode = process.exitCode();
    else
        process.kill();
    process.waitForFinished();
    result.out = process.readAllStandardOutput();
    result.err = process.readAllStandardError();
    return result;
}
