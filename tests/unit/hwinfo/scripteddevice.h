#ifndef QORHWINFO_TESTS_SCRIPTEDDEVICE_H
#define QORHWINFO_TESTS_SCRIPTEDDEVICE_H

#include <QtCore/QBuffer>
#include <QtCore/QList>

#include <functional>
#include <sys/types.h>

/**
 * An in-memory device that stands in for a board memory or the cache file: it can be told to refuse or
 * throw at chosen points, and it notes what the code under test did with it (open modes, the process's
 * file-creation mask when it was opened for writing and written to).
 *
 * A failed open or seek sets an error string of its own; close() replaces the error string with
 * "device closed", so a test can tell whether a message took the string before or after the close.
 */
class ScriptedDevice : public QBuffer
{
public:
    enum Fault {
        NoFault = 0,
        ReadOpenFails = 1, ///< like a file that does not exist yet but can be created
        SeekFails = 2,
        WriteFails = 4,
        ThrowsOnReadOpen = 8,
        ThrowsOnWriteOpen = 16,
    };
    Q_DECLARE_FLAGS(Faults, Fault)

    explicit ScriptedDevice(const QByteArray &content = QByteArray(), Faults faults = NoFault,
                            QObject *parent = nullptr);

    void setFaults(Faults faults);
    /** Called at the start of every open(), before any fault applies. */
    void setOpenObserver(const std::function<void(QIODevice::OpenMode)> &observer);

    QList<QIODevice::OpenMode> openModes() const;
    bool wasOpenedForWriting() const;
    mode_t maskAtWriteOpen() const;
    mode_t maskAtWrite() const;

    bool open(OpenMode mode) override;
    bool seek(qint64 pos) override;
    void close() override;

    static mode_t currentCreationMask();

protected:
    qint64 writeData(const char *data, qint64 len) override;

private:
    Faults m_faults;
    std::function<void(QIODevice::OpenMode)> m_openObserver;
    QList<QIODevice::OpenMode> m_openModes;
    mode_t m_maskAtWriteOpen;
    mode_t m_maskAtWrite;
};

Q_DECLARE_OPERATORS_FOR_FLAGS(ScriptedDevice::Faults)

#endif
