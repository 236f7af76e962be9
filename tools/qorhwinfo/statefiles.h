#ifndef QORHWINFO_TOOL_STATEFILES_H
#define QORHWINFO_TOOL_STATEFILES_H

#include <QByteArray>
#include <QString>

#include <sys/types.h>

/**
 * The tool's own small files beside the serials cache (the repair journal, the history), in the directory
 * that the system provides and only root writes. They are opened below that directory without following
 * a link, read only up to a bound, and replaced whole: written to a new file with an unpredictable name,
 * synced, renamed into place and the directory synced, so that a power cut leaves the old or the new file.
 * The directory itself is never created here.
 */
namespace StateFiles {

/** "/var/local/qorhwinfo". */
QString directory();

/**
 * Reads the regular file @p name of the directory, at most @p maxSize bytes. A missing file is no error:
 * @p exists is false then. A link, a file of another type or a larger file is an error.
 */
bool read(const char *name, qint64 maxSize, QByteArray *bytes, bool *exists, QString *error);
/** Replaces the file @p name with @p bytes, created with @p mode whatever the file-creation mask, in one
 * step. */
bool replace(const char *name, const QByteArray &bytes, QString *error, mode_t mode = 0644);
/** Removes the file @p name, and syncs the directory; a missing file is no error. */
bool remove(const char *name, QString *error);

} // namespace StateFiles

#endif
