#ifndef QORUTILS_EXCEPTION_H
#define QORUTILS_EXCEPTION_H

#include <qorutils/qorutils_export.h>

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <exception>

namespace hmi {

/**
 * The error that the device-access classes throw when a device cannot be used.
 *
 * It carries a human-readable message; what() gives it in UTF-8.
 */
class QORUTILS_EXPORT Exception : public std::exception
{
public:
    /** An exception carrying @p message. */
    explicit Exception(const QString &message);
    /** A copy carrying the same message. */
    Exception(const Exception &other);
    /** Takes the message of @p other. */
    Exception &operator=(const Exception &other);
    ~Exception() QORUTILS_NOEXCEPT QORUTILS_OVERRIDE;

    /** The message, such as "Cannot open the UIO device /dev/uio0: No such file or directory". */
    QString message() const;
    /** The message in UTF-8, valid as long as the exception. */
    const char *what() const QORUTILS_NOEXCEPT QORUTILS_OVERRIDE;

private:
    QString m_message;
    QByteArray m_utf8;
};

} // namespace hmi

#endif
