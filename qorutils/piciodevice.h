#ifndef QORUTILS_PICIODEVICE_H
#define QORUTILS_PICIODEVICE_H

#include <qorutils/qorutils_export.h>

#include <QtCore/QIODevice>

class PicIODevicePrivate;

/**
 * The carrier board's identity memory, which the board's PIC microcontroller exposes through its bridge
 * driver as the device node "/dev/qorpic0". A random-access QIODevice: open, seek, read, write, close.
 * When the driver reports the memory's size (through lseek(SEEK_END)), reads stop and writes fail at its
 * end and seeks beyond it fail. Many drivers cannot tell it: then the driver's end of file or short read
 * ends a read, and a write that the driver takes only in part fails with an error string that says so.
 * It never reads ahead (it is always unbuffered), never grows the memory, and reports failures through
 * QIODevice::errorString(). Use it from one thread at a time.
 */
class QORUTILS_EXPORT PicIODevice : public QIODevice
{
    Q_OBJECT
public:
    /** An unopened device, owned by @p parent through QObject (or by the caller when it is null). */
    explicit PicIODevice(QObject *parent = 0);
    /** Closes the device node if it is open. */
    ~PicIODevice() QORUTILS_OVERRIDE;

    /** "/dev/qorpic0" */
    static QString devicePath();

    /**
     * Opens devicePath() for reading, writing or both, always unbuffered. Fails, with errorString() saying
     * why, when the node cannot be opened, for Append, and when the device is open already.
     */
    bool open(OpenMode mode) QORUTILS_OVERRIDE;
    /** Closes the device node; nothing happens when it is not open. */
    void close() QORUTILS_OVERRIDE;
    /** False: the memory is random-access. */
    bool isSequential() const QORUTILS_OVERRIDE;
    /** The size of the memory, as the driver reports it; 0 when closed or when the driver cannot tell. */
    qint64 size() const QORUTILS_OVERRIDE;
    /** Fails before the start of the memory and, when its size is known, beyond its end. */
    bool seek(qint64 pos) QORUTILS_OVERRIDE;

protected:
    /** Reads at the current position, never past the end of the memory; -1 when nothing could be read. */
    qint64 readData(char *data, qint64 maxSize) QORUTILS_OVERRIDE;
    /** Writes at the current position; what lies beyond the end of the memory is refused (ENOSPC). */
    qint64 writeData(const char *data, qint64 maxSize) QORUTILS_OVERRIDE;

private:
    Q_DISABLE_COPY(PicIODevice)
    PicIODevicePrivate *const d;
};

#endif
