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
    explicit Exception(const QString &message);
    Exception(const Exception &other);
    Exception &operator=(const Exception &other);
    ~Exception() QORUTILS_NOEXCEPT QORUTILS_OVERRIDE;

    QString message() const;
    const char *what() const QORUTILS_NOEXCEPT QORUTILS_OVERRIDE;

private:
    QString m_message;
    QByteArray m_utf8;
};

} // namespace hmi

#endif
