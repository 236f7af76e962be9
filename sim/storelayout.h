#ifndef QORSIMUNIT_STORELAYOUT_H
#define QORSIMUNIT_STORELAYOUT_H

#include <QString>
#include <QStringList>

/**
 * Where each identity store of a unit lives and how its memory is shaped: the device or file path on
 * the unit, the size of a fresh memory and where the record begins in it.
 */
class StoreLayout
{
public:
    static QStringList keys();
    static bool isKnown(const QString &key);
    static StoreLayout of(const QString &key);

    QString key() const { return m_key; }
    /** Absolute path on the unit, e.g. "/dev/qorpic0". */
    QString path() const { return m_path; }
    /** Size of an untouched memory; 0 for the cache file, which is as long as its content. */
    qint64 defaultSize() const { return m_defaultSize; }
    qint64 recordOffset() const { return m_recordOffset; }
    bool isFile() const { return m_defaultSize == 0; }

private:
    StoreLayout(const QString &key, const QString &path, qint64 defaultSize, qint64 recordOffset);

    QString m_key;
    QString m_path;
    qint64 m_defaultSize;
    qint64 m_recordOffset;
};

#endif
