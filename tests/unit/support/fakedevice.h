#ifndef QORHWINFO_TESTS_FAKEDEVICE_H
#define QORHWINFO_TESTS_FAKEDEVICE_H

#include <QtCore/QBuffer>
#include <QtCore/QList>
#include <QtCore/QPair>

#include <stdexcept>
#include <sys/stat.h>

// A memory chip or cache file in memory that can refuse an open, a seek or a write, stop answering, deliver
// short reads, or throw a std::runtime_error while reading or writing, as a driver binding might. It notes
// each open with the file-creation mask of the moment. close() sets the error string to "device closed", to
// tell whether a message took it before a close. Writing does not truncate, as on a chip.
class FakeDevice : public QBuffer
{
public:
    enum Fault {
        ReadOpenFails = 1,
        WriteOpenFails = 2,
        SeekFails = 4,
        WriteFails = 8,
        ReadThrows = 16,
        WriteThrows = 32
    };
    Q_DECLARE_FLAGS(Faults, Fault)

    explicit FakeDevice(const QByteArray &content = QByteArray(), Faults initialFaults = Faults())
        : faults(initialFaults)
    {
        setData(content);
    }

    /** How many opens asked for @p flag (QIODevice::ReadOnly or QIODevice::WriteOnly). */
    int opensWith(OpenModeFlag flag) const
    {
        int count = 0;
        for (const auto &open : opens)
            count += (open.first & flag) ? 1 : 0;
        return count;
    }

    static mode_t creationMask()
    {
        const mode_t mask = ::umask(0);
        ::umask(mask);
        return mask;
    }

    bool open(OpenMode mode) override
    {
        opens.append(qMakePair(mode, creationMask()));
        if (faults & ((mode & WriteOnly) ? WriteOpenFails : ReadOpenFails))
            setErrorString("no such file");
        return !(faults & ((mode & WriteOnly) ? WriteOpenFails : ReadOpenFails)) && QBuffer::open(mode);
    }

    void close() override
    {
        QBuffer::close();
        setErrorString("device closed");
    }

    bool seek(qint64 pos) override
    {
        if (faults & SeekFails)
            setErrorString("seek refused");
        return !(faults & SeekFails) && QBuffer::seek(pos);
    }

    Faults faults;
    qint64 readChunk = 0; ///< each read delivers at most this many bytes; 0: no limit
    qint64 readRoom = -1; ///< reads deliver this many bytes in all, then fail; -1: no limit
    QList<QPair<OpenMode, mode_t> > opens; ///< each open's mode and file-creation mask

protected:
    qint64 readData(char *data, qint64 maxSize) override
    {
        if (faults & ReadThrows)
            throw std::runtime_error("memory read failed");
        if (readRoom == 0)
            setErrorString("Connection timed out");
        const qint64 size
            = qMin(readChunk > 0 ? readChunk : maxSize, readRoom >= 0 ? qMin(maxSize, readRoom) : maxSize);
        const qint64 got = readRoom == 0 ? -1 : QBuffer::readData(data, size);
        readRoom -= readRoom > 0 ? got : 0;
        return got;
    }

    qint64 writeData(const char *data, qint64 size) override
    {
        if (faults & WriteThrows)
            throw std::runtime_error("memory write failed");
        if (faults & WriteFails)
            setErrorString("no room left on the test device");
        return faults & WriteFails ? -1 : QBuffer::writeData(data, size);
    }
};

Q_DECLARE_OPERATORS_FOR_FLAGS(FakeDevice::Faults)

#endif
