#ifndef QORBENCH_COUNTINGDEVICE_H
#define QORBENCH_COUNTINGDEVICE_H

#include <QtCore/QIODevice>

/**
 * Stands between an identity store and its real device and counts what the store asks of it: every
 * readData() call and every byte delivered. On an i2c EEPROM each of those bytes is bus time.
 */
class CountingDevice : public QIODevice
{
    Q_OBJECT
public:
    explicit CountingDevice(QIODevice *inner, QObject *parent = nullptr);

    int readCalls() const { return m_readCalls; }
    qint64 bytesRead() const { return m_bytesRead; }
    void resetCounts();

    bool open(OpenMode mode) override;
    void close() override;
    bool isSequential() const override;
    qint64 size() const override;
    bool seek(qint64 pos) override;

protected:
    qint64 readData(char *data, qint64 maxSize) override;
    qint64 writeData(const char *data, qint64 maxSize) override;

private:
    QIODevice *const m_inner;
    int m_readCalls = 0;
    qint64 m_bytesRead = 0;
};

#endif
