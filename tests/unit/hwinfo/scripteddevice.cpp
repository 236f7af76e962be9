#include "scripteddevice.h"

#include <stdexcept>
#include <sys/stat.h>

namespace {
const mode_t noMaskSeen = 07777;
}

ScriptedDevice::ScriptedDevice(const QByteArray &content, Faults faults, QObject *parent)
    : QBuffer(parent)
    , m_faults(faults)
    , m_maskAtWriteOpen(noMaskSeen)
    , m_maskAtWrite(noMaskSeen)
{
    setData(content);
}

void ScriptedDevice::setFaults(Faults faults)
{
    m_faults = faults;
}

void ScriptedDevice::setOpenObserver(const std::function<void(QIODevice::OpenMode)> &observer)
{
    m_openObserver = observer;
}

QList<QIODevice::OpenMode> ScriptedDevice::openModes() const
{
    return m_openModes;
}

bool ScriptedDevice::wasOpenedForWriting() const
{
    for (QIODevice::OpenMode mode : m_openModes) {
        if (mode & QIODevice::WriteOnly)
            return true;
    }
    return false;
}

mode_t ScriptedDevice::maskAtWriteOpen() const
{
    return m_maskAtWriteOpen;
}

mode_t ScriptedDevice::maskAtWrite() const
{
    return m_maskAtWrite;
}

bool ScriptedDevice::open(OpenMode mode)
{
    m_openModes.append(mode);
    const bool forWriting = mode & QIODevice::WriteOnly;
    if (forWriting)
        m_maskAtWriteOpen = currentCreationMask();
    if (m_openObserver)
        m_openObserver(mode);
    if (forWriting && (m_faults & ThrowsOnWriteOpen))
        throw std::runtime_error("device gone while opening for writing");
    if (!forWriting && (m_faults & ThrowsOnReadOpen))
        throw std::runtime_error("device gone while opening for reading");
    if (!forWriting && (m_faults & ReadOpenFails)) {
        setErrorString(QStringLiteral("no such file"));
        return false;
    }
    return QBuffer::open(mode);
}

bool ScriptedDevice::seek(qint64 pos)
{
    if (m_faults & SeekFails) {
        setErrorString(QStringLiteral("seek refused"));
        return false;
    }
    return QBuffer::seek(pos);
}

void ScriptedDevice::close()
{
    QBuffer::close();
    setErrorString(QStringLiteral("device closed"));
}

qint64 ScriptedDevice::writeData(const char *data, qint64 len)
{
    m_maskAtWrite = currentCreationMask();
    if (m_faults & WriteFails) {
        setErrorString(QStringLiteral("write refused"));
        return -1;
    }
    return QBuffer::writeData(data, len);
}

mode_t ScriptedDevice::currentCreationMask()
{
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return mask;
}
