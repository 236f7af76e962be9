#ifndef QORUTILS_SYSFSFILE_H
#define QORUTILS_SYSFSFILE_H

#include <qorutils/qorutils_export.h>

#include <QtCore/QFile>

namespace hmi {

/**
 * A sysfs attribute, opened by the constructor. A missing or unreadable attribute is not an error here:
 * it reads as an empty text, so a caller can go on with what the unit does have.
 */
class QORUTILS_EXPORT SysFsFile : public QFile
{
    Q_OBJECT
public:
    /**
     * Opens the attribute at @p path with @p mode; a failure leaves it closed and throws nothing. Owned by
     * @p parent through QObject (or by the caller when it is null).
     */
    SysFsFile(const QString &path, QIODevice::OpenMode mode = QIODevice::ReadOnly, QObject *parent = 0);
    ~SysFsFile() QORUTILS_OVERRIDE;

    /** The attribute's text without its trailing newline; empty when it cannot be read. */
    QString toString();

private:
    Q_DISABLE_COPY(SysFsFile)
};

} // namespace hmi

#endif
