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
 */
class QORUTILS_EXPORT PicIODevice : public QIODevice
{
    Q_OBJECT
public:
    explicit PicIODevice(QObject *parent = 0);
    ~PicIODevice() QORUTILS_OVERRIDE;

    /** "/dev/qorpic0" */
    static QString devicePath();

    bool open(OpenMode mode) QORUTILS_OVERRIDE;
    void close() QORUTILS_OVERRIDE;
    bool isSequential() const QORUTILS_OVERRIDE;
    /** The size of the memory, as the driver reports it; 0 when closed or when the driver cannot tell. */
    qint64 size() const QORUTILS_OVERRIDE;
    /** Fails before the start of the memory and, when its size is known, beyond its end. */
    bool seek(qint64 pos) QORUTILS_OVERRIDE;

protected:
    qint64 readData(char *data, qint64 maxSize) QORUTILS_OVERRIDE;
    qint64 writeData(const char *data, qint64 maxSize) QORUTILS_OVERRIDE;

private:
    Q_DISABLE_COPY(PicIODevice)
    PicIODevicePrivate *const d;
};

#endif
