#include "options.h"

#include <getopt.h>

#include <vector>

namespace {

enum Option {
    HelpOption,
    JsonOption,
    VerboseOption,
    YesOption,
    HexOption,
    ForceOption,
    DryRunOption,
    UnitOption,
    SerialOption,
    BackupDirOption,
    MetricsOption,
    VersionOption,
    OptionCount
};

struct OptionInfo
{
    const char *name;
    int hasValue;
    char shortName;
    const char *help;
};

const OptionInfo optionInfo[OptionCount] = {
    { "help", no_argument, 'h', "  -h, --help        this help" },
    { "json", no_argument, 0, "  --json            print one JSON document for scripts" },
    { "verbose", no_argument, 'v', "  -v, --verbose     also each store's record and the library's log" },
    { "yes", no_argument, 'y',
      "  -y, --yes         write without asking (needed when stdin is no terminal)" },
    { "hex", no_argument, 0, "  --hex             add a hex dump of each frame" },
    { "force", no_argument, 0, "  --force           write even so (see above for what it lifts)" },
    { "dry-run", no_argument, 0, "  --dry-run         show the plan and write nothing, not even a backup" },
    { "unit", required_argument, 0, "  --unit SERIAL     the unit serial to write (\"I\" and six digits)" },
    { "serial", required_argument, 0,
      "  --serial N        the board's own serial (cb bf ut), 1 to 4294967295" },
    { "backup-dir", required_argument, 0,
      "  --backup-dir DIR  where the images that a write replaces are kept\n"
      "                    (default /var/local/qorhwinfo/backup)" },
    { "metrics", required_argument, 0,
      "  --metrics FILE    also write the result as Prometheus metrics into FILE,\n"
      "                    replacing it in one step (node_exporter's textfile collector)" },
    { "version", no_argument, 0, "  --version         the tool's version" },
};

unsigned bit(int option)
{
    return 1u << option;
}

const unsigned writing = bit(JsonOption) | bit(YesOption) | bit(DryRunOption) | bit(BackupDirOption);

struct CommandInfo
{
    Options::Command command;
    const char *name;
    unsigned options; // beside --help
    int minArguments;
    int maxArguments;
    const char *synopsis;
    const char *description;
};

const CommandInfo commands[] = {
    { Options::Quick, "quick", bit(JsonOption), 0, 0, "quick [--json]",
      "Print the unit serial kept in the serials cache file, unchecked by any vote, as an application's\n"
      "quickNonValidatedSerial() reads it. A serial that is not \"I\" and six digits is flagged." },
    { Options::Discover, "discover", bit(JsonOption) | bit(VerboseOption), 0, 0, "discover [-v] [--json]",
      "Run discovery as an application does: read every store, vote on the unit serial, write the\n"
      "serials cache file when it held no record, and show the result. Tied candidates are listed by\n"
      "serial." },
    { Options::Inspect, "inspect", bit(JsonOption) | bit(HexOption), 0, 5,
      "inspect [--hex] [--json] [STORE...]",
      "Show what each store's memory holds, without discovery and without writing anything: device,\n"
      "offset, room, the frame header (magic, version, length, stored and computed CRC), the verdict,\n"
      "the device's error when a read failed, and the record, also when its CRC fails (marked as\n"
      "unverified), compared with this unit's hardware. STORE is one of com cb bf ut file; all five\n"
      "when none is given." },
    { Options::Check, "check", bit(JsonOption) | bit(MetricsOption), 0, 0, "check [--json] [--metrics FILE]",
      "Load every store as discovery does and report whether they agree, which are blank, corrupted or\n"
      "missing, which serials are malformed, which records name other hardware than this unit's, and\n"
      "whether a repair did not finish, each with the command that repairs it. Writes no store." },
    { Options::Cache, "cache", writing, 1, 1, "cache clear|write [--dry-run] [--yes] [--json]",
      "clear: remove the serials cache file (the next discovery writes a new one).\n"
      "write: write the record of the serial that the board stores agree on, with the hardware facts,\n"
      "as discovery does (mode 0664), through a new file that replaces the old one in one step." },
    { Options::Provision, "provision", writing | bit(ForceOption) | bit(UnitOption) | bit(SerialOption), 1, 1,
      "provision STORE --unit SERIAL [--serial N] [--force] [--dry-run] [--yes] [--json]",
      "Write the unit's record into a board's store (com cb bf ut), as the factory does or after a board\n"
      "was replaced: the unit serial and the hardware facts; --serial N also sets the board's own serial\n"
      "(cb bf ut). Other entries of a valid descriptor are kept. Refuses to overwrite a record that\n"
      "names another unit unless --force. The old image is backed up first; the write is read back." },
    { Options::Resolve, "resolve", writing | bit(ForceOption), 1, 1,
      "resolve SERIAL [--force] [--dry-run] [--yes] [--json]",
      "After a disagreement: rewrite the record of every voting board store (com cb bf) that names another\n"
      "serial, keeping its other entries, and the serials cache file, to SERIAL. SERIAL must be one of\n"
      "the candidates that the stores name, and the stores must disagree; --force lifts both refusals.\n"
      "Stores without a record (blank, corrupted, missing) are left alone: provision them." },
    { Options::Backup, "backup", bit(JsonOption) | bit(BackupDirOption) | bit(DryRunOption), 0, 1,
      "backup [DIR|list] [--dry-run] [--json]",
      "Save the raw image of every store into a new backup set with a manifest (this unit's identity,\n"
      "time, command, and per store device, offset, size and SHA-1) that restore reads: into the new\n"
      "directory DIR, or a new set beside the cache file. \"backup list\" lists the sets there." },
    { Options::Restore, "restore", writing | bit(ForceOption), 1, 1,
      "restore DIR [--force] [--dry-run] [--yes] [--json]",
      "Write the images of the backup set DIR back, after checking every image against its manifest and\n"
      "this unit's store table, and read each back. A cache file that was absent is removed. Images of\n"
      "another unit's hardware are refused unless --force. What they replace is backed up first." },
    { Options::History, "history", bit(JsonOption), 0, 0, "history [--json]",
      "Show every write the tool made to this unit: time, user, command line, and per store the old and\n"
      "new serial and image checksum." },
};

const char exitCodeHelp[] = "Exit status:\n"
                            "  0  done; nothing wrong was found\n"
                            "  1  no unit serial (no candidate, or several), a store problem, a record that\n"
                            "     names other hardware, or a repair that did not finish\n"
                            "  2  usage error\n"
                            "  3  unit status ERROR (the cache file could not be written): an application's\n"
                            "     unitSerial() throws\n"
                            "  4  a malformed serial (not \"I\" and six digits) in a store or given\n"
                            "  5  a store cannot be opened or read, or a backup cannot be used\n"
                            "  6  a write, a backup or a read-back verification failed\n"
                            "  7  refused: not confirmed, or a write that could make the unit worse\n"
                            "When several apply, the highest number wins.\n";

const CommandInfo *infoOf(Options::Command command)
{
    for (const CommandInfo &info : commands) {
        if (info.command == command)
            return &info;
    }
    return nullptr;
}

const CommandInfo *infoNamed(const QString &name)
{
    for (const CommandInfo &info : commands) {
        if (name == QLatin1String(info.name))
            return &info;
    }
    return nullptr;
}

QString optionName(int option)
{
    return QLatin1String("--") + QLatin1String(optionInfo[option].name);
}

bool takeValue(int option, const QString &value, Options *options, QString *error)
{
    switch (option) {
    case UnitOption:
        options->unit = value;
        break;
    case SerialOption: {
        bool ok = false;
        options->boardSerial = value.toUInt(&ok);
        options->hasBoardSerial = true;
        if (!ok || options->boardSerial == 0) {
            *error = QString::fromLatin1("The board serial must be a number from 1 to 4294967295, not %1 "
                                         "(0 stands for a serial that is not known).")
                         .arg(value);
            return false;
        }
        break;
    }
    case BackupDirOption:
    case MetricsOption:
        if (value.isEmpty()) {
            *error = QString::fromLatin1("The option %1 needs a path.").arg(optionName(option));
            return false;
        }
        (option == BackupDirOption ? options->backupRoot : options->metricsFile) = value;
        break;
    default:
        break;
    }
    return true;
}

void setFlag(int option, Options *options)
{
    switch (option) {
    case HelpOption:
        options->help = true;
        break;
    case JsonOption:
        options->json = true;
        break;
    case VerboseOption:
        options->verbose = true;
        break;
    case YesOption:
        options->yes = true;
        break;
    case HexOption:
        options->hex = true;
        break;
    case ForceOption:
        options->force = true;
        break;
    case DryRunOption:
        options->dryRun = true;
        break;
    default:
        break;
    }
}

bool isStoreKey(const QString &key)
{
    return QString::fromLatin1("com cb bf ut file").split(QLatin1Char(' ')).contains(key);
}

QString argumentError(const Options &options)
{
    const QStringList &arguments = options.arguments;
    switch (options.command) {
    case Options::Inspect:
        for (const QString &key : arguments) {
            if (!isStoreKey(key))
                return QString::fromLatin1("Unknown store: %1. Stores are com cb bf ut file.").arg(key);
        }
        break;
    case Options::Cache:
        if (arguments.first() != QLatin1String("clear") && arguments.first() != QLatin1String("write"))
            return QString::fromLatin1("Unknown cache command: %1. Use clear or write.")
                .arg(arguments.first());
        break;
    case Options::Provision:
        if (!isStoreKey(arguments.first()) || arguments.first() == QLatin1String("file"))
            return QString::fromLatin1(
                       "Cannot provision the store %1: use com cb bf or ut (the cache file is "
                       "written by \"qorhwinfo cache write\").")
                .arg(arguments.first());
        if (options.unit.isNull())
            return QLatin1String("provision needs --unit SERIAL.");
        if (options.hasBoardSerial && arguments.first() == QLatin1String("com"))
            return QLatin1String("The COM module has no board serial of its own: --serial is for cb bf ut.");
        break;
    case Options::Backup:
        if (!arguments.isEmpty() && arguments.first().isEmpty())
            return QLatin1String("The backup directory must not be empty.");
        break;
    default:
        break;
    }
    return QString();
}

bool checkCommand(const QString &name, const bool given[], Options *options, QString *error)
{
    const CommandInfo *info = infoNamed(name);
    if (!info) {
        *error = QString::fromLatin1("Unknown command: %1.").arg(name);
        return false;
    }
    options->command = info->command;
    for (int option = JsonOption; option < OptionCount; ++option) {
        if (given[option] && !(info->options & bit(option))) {
            *error = QString::fromLatin1("The command %1 takes no option %2.").arg(name, optionName(option));
            return false;
        }
    }
    if (options->help)
        return true;
    const int count = options->arguments.size();
    if (count < info->minArguments) {
        *error = QString::fromLatin1("Missing argument: qorhwinfo %1.").arg(QLatin1String(info->synopsis));
        return false;
    }
    if (count > info->maxArguments) {
        *error = QString::fromLatin1("Unexpected argument: %1.").arg(options->arguments.last());
        return false;
    }
    *error = argumentError(*options);
    return error->isEmpty();
}

// The command line is shown as a command to run again: words that a shell would split are quoted.
QString shellWord(const QString &word)
{
    static const QString plain
        = QLatin1String("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_./=:,+@%");
    bool quote = word.isEmpty();
    for (const QChar c : word)
        quote = quote || !plain.contains(c);
    if (!quote)
        return word;
    QString quoted = word;
    quoted.replace(QLatin1String("'"), QLatin1String("'\\''"));
    return QLatin1Char('\'') + quoted + QLatin1Char('\'');
}

} // namespace

bool Options::parse(int argc, char **argv, Options *options, QString *error)
{
    std::vector<struct option> longOptions;
    for (int i = 0; i < OptionCount; ++i)
        longOptions.push_back({ optionInfo[i].name, optionInfo[i].hasValue, nullptr, i });
    longOptions.push_back({ nullptr, 0, nullptr, 0 });

    options->backupRoot = defaultBackupRoot();
    options->commandLine = QLatin1String("qorhwinfo");
    for (int i = 1; i < argc; ++i)
        options->commandLine += QLatin1Char(' ') + shellWord(QString::fromLocal8Bit(argv[i]));

    // getopt_long moves the words that are no options behind the options; the caller's argv stays as it is.
    std::vector<char *> words(argv, argv + argc);
    words.push_back(nullptr);
    bool given[OptionCount] = {};
    optind = 0;
    opterr = 0;
    for (;;) {
        const int got = getopt_long(argc, words.data(), ":hvy", longOptions.data(), nullptr);
        if (got == -1)
            break;
        if (got == '?' || got == ':') {
            const QString word = QString::fromLocal8Bit(words[optind - 1]);
            *error = got == ':' ? QString::fromLatin1("The option %1 needs a value.").arg(word)
                                : QString::fromLatin1("Unknown option: %1.").arg(word);
            return false;
        }
        const int option = got == 'h' ? HelpOption
            : got == 'v'              ? VerboseOption
            : got == 'y'              ? YesOption
                                      : got;
        given[option] = true;
        setFlag(option, options);
        if (optionInfo[option].hasValue && !takeValue(option, QString::fromLocal8Bit(optarg), options, error))
            return false;
    }
    for (int i = optind; i < argc; ++i)
        options->arguments.append(QString::fromLocal8Bit(words[size_t(i)]));

    if (given[VersionOption] && options->arguments.isEmpty()) {
        options->command = Version;
        return true;
    }
    if (options->arguments.isEmpty()) {
        if (options->help)
            return true;
        *error = QLatin1String("No command given.");
        return false;
    }
    return checkCommand(options->arguments.takeFirst(), given, options, error);
}

QString Options::helpText(Command command)
{
    const CommandInfo *info = infoOf(command);
    if (!info) {
        QString text
            = QLatin1String("Usage: qorhwinfo COMMAND [options] [arguments]\n\n"
                            "Tells who this unit is and repairs its identity stores: the COM module\n"
                            "(com), the carrier board (cb), the beamformer board (bf), the\n"
                            "mono-element board (ut) and the serials cache file (file).\n\nCommands:\n");
        for (const CommandInfo &each : commands)
            text += QString::fromLatin1("  qorhwinfo %1\n").arg(QLatin1String(each.synopsis));
        return text
            + QLatin1String("\n\"qorhwinfo COMMAND --help\" explains a command and its options.\n"
                            "  --version         the tool's version\n\n")
            + QLatin1String(exitCodeHelp);
    }
    QString text = QString::fromLatin1("Usage: qorhwinfo %1\n\n%2\n\nOptions:\n")
                       .arg(QLatin1String(info->synopsis), QLatin1String(info->description));
    for (int option = JsonOption; option < VersionOption; ++option) {
        if (info->options & bit(option))
            text += QLatin1String(optionInfo[option].help) + QLatin1Char('\n');
    }
    return text + QLatin1String(optionInfo[HelpOption].help) + QLatin1String("\n\n")
        + QLatin1String(exitCodeHelp);
}

QString Options::versionText()
{
    return QLatin1String("qorhwinfo " QORHWINFO_VERSION "\n");
}

QString Options::defaultBackupRoot()
{
    return QLatin1String("/var/local/qorhwinfo/backup");
}
