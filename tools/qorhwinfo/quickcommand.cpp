#include "commands.h"

#include "exitcode.h"
#include "jsonvalue.h"
#include "options.h"
#include "repairjournal.h"
#include "serialform.h"
#include "terminaltext.h"

#include <qorhwinfo/hwinfohelper.h>

#include <QTextStream>

#include <cstdio>

namespace { } // namespace

int Commands::quick(const Options &options)
{
    const QString serial = hmi::HwInfoHelper::quickNonValidatedSerial();
    const bool wellFormed = SerialForm::isWellFormed(serial);
    const int code = serial.isNull() ? Problem : wellFormed ? Success : Malformed;
    const RepairJournal::Entry unfinished = RepairJournal::read();
    if (options.json) {
        json_t *root = Json::document();
        Json::set(root, "unitSerial", Json::text(serial));
        Json::set(root, "wellFormed", Json::boolean(wellFormed));
        Json::set(root, "unfinishedRepair", Json::unfinishedRepair(unfinished));
        Json::print(root);
    } else if (!serial.isNull()) {
        QTextStream(stdout) << TerminalText::escaped(SerialForm::display(serial)) << '\n';
    }
    if (code == Problem) {
        TerminalText::printError(
            QLatin1String("no unit serial is cached: the serials cache file is missing, damaged or "
                          "names none. Run \"qorhwinfo discover\" to establish it."));
    } else if (code == Malformed) {
        TerminalText::printError(
            QLatin1String("the cached unit serial is malformed (not \"I\" and six digits): \"qorhwinfo "
                          "check\" shows where it comes from."));
    }
    if (unfinished.exists())
        TerminalText::printError(RepairJournal::warningText(unfinished));
    return code;
}
