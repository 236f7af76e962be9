#ifndef QORHWINFO_TOOL_INSPECTCOMMAND_H
#define QORHWINFO_TOOL_INSPECTCOMMAND_H

#include "storeinspection.h"

#include <QList>

#include <jansson.h>

class CommandLine;
class QTextStream;

/**
 * "qorhwinfo inspect": explains what each store's memory holds, frame by frame, for a person who has to
 * decide what to repair. Reads only the frames, through the library's store table; writes nothing.
 */
class InspectCommand
{
public:
    static int run(const CommandLine &options);

private:
    static void printText(QTextStream &out, const StoreInspection &store, bool hex);
    static void printHex(QTextStream &out, const QByteArray &bytes, int offset);
    static json_t *json(const StoreInspection &store, bool hex);
    static int exitCodeOf(const StoreInspection &store);
};

#endif
