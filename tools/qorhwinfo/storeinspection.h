#ifndef QORHWINFO_TOOL_STOREINSPECTION_H
#define QORHWINFO_TOOL_STOREINSPECTION_H

#include <qorhwinfo/hwinfohelper.h>

#include <QByteArray>
#include <QString>
#include <QVariantMap>

/**
 * What one store's memory holds, read the way the library reads it but kept in full for a person: the
 * frame's bytes and header, the verdict with its reason, and the device's own error when it failed.
 * Reads the frame only; never writes.
 */
class StoreInspection
{
public:
    enum Verdict { Valid, Blank, Empty, Corrupted, OpenFailed, SeekFailed };

    StoreInspection(const QString &key, const hmi::HwInfoHelper::EEPROM &store, const QString &devicePath);

    QString key() const { return m_key; }
    QString label() const { return m_label; }
    QString devicePath() const { return m_devicePath; }
    int offset() const { return m_offset; }
    int room() const { return m_room; }

    Verdict verdict() const { return m_verdict; }
    /** Why a frame is corrupted, in words; empty otherwise. */
    QString reason() const { return m_reason; }
    /** The device's error when opening, seeking or reading failed (a dead chip: "Connection timed out"). */
    QString deviceError() const { return m_deviceError; }
    QByteArray bytes() const { return m_bytes; }
    QVariantMap record() const { return m_record; }
    /** A store whose device could not be used at all, as opposed to one that holds a bad frame. */
    bool isUnusable() const;

    static QString verdictText(Verdict verdict);

private:
    void read(QIODevice *device);
    QString corruptionReason() const;

    QString m_key;
    QString m_label;
    QString m_devicePath;
    int m_offset;
    int m_room;
    Verdict m_verdict;
    QString m_reason;
    QString m_deviceError;
    QByteArray m_bytes;
    QVariantMap m_record;
};

#endif
