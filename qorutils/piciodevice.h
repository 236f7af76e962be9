#ifndef QORUTILS_PICIODEVICE_H
#define QORUTILS_PICIODEVICE_H

#include <qorutils/qorutils_export.h>

#include <QtCore/QIODevice>

class PicIODevicePrivate;

/**
 * The carrier board's identity memory, which the board's PIC microcontroller exposes through its bridge
 * driver as the device node "/dev/qorpic0". A random-access QIODevice: open, seek, read, write, close.
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
    /** The size of the memory, as the driver reports it; 0 when closed. */
    qint64 size() const QORUTILS_OVERRIDE;
    /** Fails beyond the end of the memory. */
    bool seek(qint64 pos) QORUTILS_OVERRIDE;

protected:
    qint64 readData(char *data, qint64 maxSize) QORUTILS_OVERRIDE;
    qint64 writeData(const char *data, qint64 maxSize) QORUTILS_OVERRIDE;

private:
    Q_DISABLE_COPY(PicIODevice)
    PicIODevicePrivate *const d;
};

#endif
