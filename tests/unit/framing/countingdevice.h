#ifndef COUNTINGDEVICE_H
#define COUNTINGDEVICE_H

#include <QtCore/QByteArray>
#include <QtCore/QIODevice>

/**
 * A random-access memory that records how it is read and can be made to deliver short reads or to take
 * fewer bytes than a write offers, as slow or full devices do.
 */
class CountingDevice : public QIODevice
{
    Q_OBJECT
public:
    explicit CountingDevice(const QByteArray &content, QObject *parent = nullptr);

    /** Each read delivers at most @p size bytes; 0 means no limit. */
    void setReadChunk(qint64 size) { m_readChunk = size; }
    /** Writes take at most @p room bytes in all, then fail; -1 means no limit. */
    void setWriteRoom(qint64 room) { m_writeRoom = room; }

    QByteArray content() const { return m_content; }
    int readCalls() const { return m_readCalls; }
    qint64 bytesDelivered() const { return m_bytesDelivered; }

    bool isSequential() const override { return false; }
    qint64 size() const override { return m_content.size(); }

protected:
    qint64 readData(char *data, qint64 maxSize) override;
    qint64 writeData(const char *data, qint64 maxSize) override;

private:
    QByteArray m_content;
    qint64 m_readChunk = 0;
    qint64 m_writeRoom = -1;
    int m_readCalls = 0;
    qint64 m_bytesDelivered = 0;
};

#endif
