#ifndef QORHWINFO_TESTS_FAKEDEVICE_H
#define QORHWINFO_TESTS_FAKEDEVICE_H

#include <QtCore/QIODevice>
#include <QtCore/QList>

#include <sys/types.h>

/**
 * An in-memory random-access device that stands in for a board memory or the cache file. It can be told
 * to refuse an open, a seek, a read or a write, or to deliver short reads, and it notes how it was opened
 * (with the process's file-creation mask at that moment) and read.
 *
 * close() replaces the error string with "device closed", so a test can tell whether a message took the
 * error string before or after the close. Opening for writing does not truncate, as with a memory chip.
 */
class FakeDevice : public QIODevice
{
public:
    enum Fault {
        NoFault = 0,
        ReadOpenFails = 1, ///< like a file that does not exist yet but can be created
        WriteOpenFails = 2,
        SeekFails = 4
    };
    Q_DECLARE_FLAGS(Faults, Fault)

    struct Open
    {
        OpenMode mode;
        mode_t mask;
    };

    explicit FakeDevice(const QByteArray &content = QByteArray(), Faults initialFaults = NoFault);

    Faults faults;
    qint64 readChunk = 0; ///< each read delivers at most this many bytes; 0 means no limit
    qint64 writeRoom = -1; ///< writes take at most this many bytes in all, then fail; -1 means no limit
    qint64 readRoom = -1; ///< reads deliver at most this many bytes in all, then fail; -1 means no limit

    QByteArray content() const { return m_content; }
    QList<Open> opens() const { return m_opens; }
    int writeOpens() const;
    int readCalls() const { return m_readCalls; }
    qint64 bytesDelivered() const { return m_bytesDelivered; }

    bool open(OpenMode mode) override;
    void close() override;
    bool seek(qint64 pos) override;
    bool isSequential() const override { return false; }
    qint64 size() const override { return m_content.size(); }

    static mode_t creationMask();

protected:
    qint64 readData(char *data, qint64 maxSize) override;
    qint64 writeData(const char *data, qint64 maxSize) override;

private:
    QByteArray m_content;
    QList<Open> m_opens;
    int m_readCalls = 0;
    qint64 m_bytesDelivered = 0;
};

Q_DECLARE_OPERATORS_FOR_FLAGS(FakeDevice::Faults)

#endif
