#ifndef QORHWINFO_FAULTS_THROWINGDEVICE_H
#define QORHWINFO_FAULTS_THROWINGDEVICE_H

#include <QBuffer>

/**
 * An in-memory board memory or cache file whose driver fails in the middle of a transfer by throwing
 * something that is not a message: a std::runtime_error, as an allocation or a driver binding might.
 */
class ThrowingDevice : public QBuffer
{
public:
    enum Fault { NoFault, ThrowsWhileReading, ThrowsWhileWriting };

    explicit ThrowingDevice(const QByteArray &content, QObject *parent = nullptr);

    void setFault(Fault fault);
    bool wasOpenedForWriting() const { return m_openedForWriting; }

    bool open(OpenMode mode) override;

protected:
    qint64 readData(char *data, qint64 maxSize) override;
    qint64 writeData(const char *data, qint64 len) override;

private:
    Fault m_fault = NoFault;
    bool m_openedForWriting = false;
    int m_reads = 0;
};

#endif
