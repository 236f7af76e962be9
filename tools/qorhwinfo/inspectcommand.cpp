#include "commands.h"

#include "exitcode.h"
#include "identitycheck.h"
#include "jsonvalue.h"
#include "options.h"
#include "repairjournal.h"
#include "storeinspection.h"
#include "terminaltext.h"
#include "unitsurvey.h"

#include <QTextStream>

int Commands::inspect(const Options &options)
{
    const UnitSurvey survey;
    const IdentityCheck::Hardware hardware = IdentityCheck::hardwareOf(survey);
    QStringList keys = options.arguments;
    if (keys.isEmpty()) {
        for (const UnitSurvey::Store &store : survey.stores())
            keys.append(store.key);
    }
    QList<StoreInspection> inspections;
    int code = Success;
    for (const QString &key : keys) {
        inspections.append(StoreInspection::read(key, survey.eeprom(key), hardware));
        code = qMax(code, inspections.last().exitCode());
    }
    const RepairJournal::Entry unfinished = RepairJournal::read();
    if (options.json) {
        json_t *root = Json::document();
        json_t *entries = json_object();
        for (const StoreInspection &inspection : inspections)
            Json::set(entries, inspection.key, inspection.json(options.hex));
        Json::set(root, "stores", entries);
        Json::set(root, "unfinishedRepair", Json::unfinishedRepair(unfinished));
        Json::print(root);
    } else {
        QTextStream out(stdout);
        for (int i = 0; i < inspections.size(); ++i) {
            if (i > 0)
                out << '\n';
            inspections.at(i).printText(out, options.hex);
        }
    }
    if (unfinished.exists()) {
        TerminalText::printError(RepairJournal::warningText(unfinished));
        code = qMax(code, int(Problem));
    }
    return code;
}
