#ifndef QORHWINFO_SYSTEMTEST_SANDBOX_H
#define QORHWINFO_SYSTEMTEST_SANDBOX_H

#include <QtCore/QByteArray>
#include <QtCore/QMap>
#include <QtCore/QStringList>

/** What a program run in the sandbox left: its exit status and both output streams. */
struct SandboxResult
{
    int exitCode = -1; ///< -1 when it did not finish
    QByteArray out;
    QByteArray err;

    /** A line for failure messages: the exit status and both streams. */
    QString describe() const;
};

/**
 * One simulated unit on disk (sim/qorsimunit) and the sandbox that shows it at the unit's real paths
 * (sim/qorsandbox). The unit's files live in a scratch directory for the object's lifetime, so that a
 * test can run several programs on the same unit and look at what they left.
 */
class Sandbox
{
public:
    Sandbox();
    ~Sandbox();

    /** Builds the unit that @p unitText describes in the language of unit files. */
    SandboxResult build(const QString &unitText);
    /**
     * Runs @p program with @p arguments on the built unit, with the build's programs (qorhwinfo,
     * qorsimunit) on the PATH, and kills it after @p seconds.
     */
    SandboxResult run(const QString &program, const QStringList &arguments, int seconds) const;

    /** The unit's directory on the host: a path of the unit lies there under the same name. */
    QString root() const { return m_root; }
    /** Every file of the unit, by its path in the unit, with its permission bits and bytes. */
    QMap<QString, QByteArray> files() const;

private:
    Q_DISABLE_COPY(Sandbox)
    static SandboxResult execute(const QStringList &arguments, int seconds);

    QString m_root;
};

#endif
