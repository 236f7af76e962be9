#ifndef QORHWINFO_TOOLS_QTCOMPAT_H
#define QORHWINFO_TOOLS_QTCOMPAT_H

// The tools and tests build against Qt 4.8, 5.15 and 6 from the same sources; these are the spellings that
// differ between them. The libraries keep to what all three share and need none of this.

#include <QtCore/QString>
#include <QtCore/QtGlobal>

#if QT_VERSION < 0x050000
// Qt 4 has no compile-time strings; the text is the same, built at run time.
#define QStringLiteral(text) QString::fromUtf8(text)
#endif

#if QT_VERSION >= 0x050e00
#define QOR_SKIP_EMPTY_PARTS Qt::SkipEmptyParts
#else
#define QOR_SKIP_EMPTY_PARTS QString::SkipEmptyParts
#endif

#endif
