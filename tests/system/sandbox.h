#ifndef QORHWINFO_SYSTEMTEST_SANDBOX_H
#define QORHWINFO_SYSTEMTEST_SANDBOX_H

#include <QByteArray>
#include <QJsonObject>
#include <QStringList>
#include <QTemporaryDir>

/** What a program run in the sandbox left: its exit status and both output streams. */
struct SandboxResult
{
    bool finished = false;
    int exitCode = -1;
    QByteArray out;
    QByteArray err;

    /** stdout as a JSON object; an empty object when it is none, with @p error saying why. */
    QJsonObject json(QString *error = nullptr) const;
    /** A line for failure messages: the exit status and stderr. */
    QString describe() const;
};

/**
 * One simulated unit on disk and the sandbox that shows it at the unit's real paths. The unit's file
 * tree is built once into a private directory that outlives each run, so that a test can run programs on
 * the same unit again and look at the files they left.
 */
class Sandbox
{
public:
    /** Exit status of qorsandbox when it could not set up the sandbox. */
    static const int SetupFailed = 125;

    /**
     * Builds the unit that @p unitText describes in the language of unit files. A unit that is built
     * already stays as it is.
     */
    SandboxResult build(const QString &unitText);
    /** Runs @p program with @p arguments on the built unit. */
    SandboxResult run(const QString &program, const QStringList &arguments = QStringList()) const;

    /**
     * Shows the host's device node @p hostDevice, e.g. "/dev/zero", at the built unit's @p unitPath, e.g.
     * "/dev/qorpic0", in place of the unit's file there. False when the unit has no such file.
     */
    bool putDevice(const QString &unitPath, const QString &hostDevice) const;
    /** Where a path of the unit, e.g. "/var/local/qorhwinfo/serial.cache", lies on the host. */
    QString hostPath(const QString &unitPath) const { return root() + unitPath; }
    QString root() const { return m_root.path(); }

private:
    static SandboxResult execute(const QStringList &arguments);

    QTemporaryDir m_root;
};

/**
 * The unit file of a healthy unit whose serial is I123456, as the tests' simulated units start out: both
 * boards and the COM module hold its record, the mono-element board holds only its own descriptor and
 * there is no cache file yet. Each line of @p changes replaces the line of the same directive (for "store",
 * of the same store) or is added.
 */
QString healthyUnitWith(const QStringList &changes = QStringList());
/** A "store" line that gives the store @p key the unit's record naming @p unit, as in healthyUnitWith(). */
QString storeRecord(const QString &key, const QString &unit);

#endif
