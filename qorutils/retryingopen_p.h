#ifndef QORUTILS_RETRYINGOPEN_P_H
#define QORUTILS_RETRYINGOPEN_P_H

#include <QtCore/QString>

namespace QorUtilsPrivate {

/** open(2) on @p path, tried again when a signal interrupts it; -1 with errno set on failure. */
int openRetrying(const QString &path, int flags);

} // namespace QorUtilsPrivate

#endif
