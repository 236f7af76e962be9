#ifndef SANDBOXRUN_H
#define SANDBOXRUN_H

#include <QByteArray>
#include <QStringList>

/**
 * Runs a command through qorsandbox on a simulated unit given as the text of a unit file, so that
 * device classes can be tried at their real paths. Tests call it from outside the sandbox.
 */
class SandboxRun
{
public:
    /** The sandbox script in the build tree, passed to the tests by the build system. */
    static QString scriptPath();

    /**
     * @p unitText is written to a temporary unit file; @p options go before it (e.g. --root DIR).
     * Blocks until the command has finished.
     */
    SandboxRun(const QString &unitText, const QStringList &command,
               const QStringList &options = QStringList());

    /** Runs this test executable inside the sandbox with "--probe NAME" (see QOR_TEST_MAIN_WITH_PROBE). */
    static SandboxRun probe(const QString &unitText, const QString &name,
                            const QStringList &options = QStringList());

    int exitCode() const { return m_exitCode; }
    QByteArray output() const { return m_output; }
    QByteArray errors() const { return m_errors; }
    /** The command's output without its line end, for comparing one-line reports. */
    QString outputLine() const;

private:
    int m_exitCode = -1;
    QByteArray m_output;
    QByteArray m_errors;
};

#endif
