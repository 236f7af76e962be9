#include "commandline.h"

#include <getopt.h>

#include <vector>

namespace {

const char defaultBackupRoot[] = "/var/local/qorhwinfo/backup";

struct CommandInfo
{
    CommandLine::Command command;
    const char *name;
    unsigned options; // bits of the options it accepts beside --help
    int minArguments;
    int maxArguments;
    const char *synopsis;
    const char *description;
};

enum {
    Json = 1 << 1,
    Verbose = 1 << 2,
    Yes = 1 << 3,
    Hex = 1 << 4,
    Force = 1 << 5,
    Unit = 1 << 6,
    Serial = 1 << 7,
    BackupDir = 1 << 8
};

const CommandInfo commands[] = {
    { CommandLine::Quick, "quick", Json, 0, 0, "quick [--json]",
      "Print the unit serial kept in the serials cache file, unchecked by any vote, as an application's\n"
      "quickNonValidatedSerial() reads it. A serial that is not \"I\" and six digits is flagged." },
    { CommandLine::Discover, "discover", Json | Verbose, 0, 0, "discover [-v] [--json]",
      "Run discovery as an application does: read every store, vote on the unit serial, write the\n"
      "serials cache file when it held no record, and show the result. -v adds each store's record\n"
      "and the library's log. Tied candidates are listed by serial." },
    { CommandLine::Inspect, "inspect", Json | Hex, 0, 5, "inspect [--hex] [--json] [STORE...]",
      "Show what each store's memory holds, without discovery and without writing anything: device,\n"
      "offset, room, the frame header (magic, version, length, stored and computed CRC), the verdict,\n"
      "the device's error when a read failed, and the record. --hex adds a dump of the frame.\n"
      "STORE is one of com cb bf ut file; all five when none is given." },
    { CommandLine::Check, "check", Json, 0, 0, "check [--json]",
      "Load every store as discovery does and report whether they agree, which are blank, corrupted or\n"
      "missing, and which serials are malformed, each with the command that repairs it. Writes nothing,\n"
      "not even the serials cache file." },
    { CommandLine::Cache, "cache", Json | Yes | BackupDir, 1, 1, "cache clear|write [--yes] [--json]",
      "clear: remove the serials cache file (the next discovery writes a new one).\n"
      "write: write the record of the serial that the board stores agree on, with the hardware facts,\n"
      "as discovery does (mode 0664), through a new file that replaces the old one in one step." },
    { CommandLine::Provision, "provision", Json | Yes | Force | Unit | Serial | BackupDir, 1, 1,
      "provision STORE --unit SERIAL [--serial N] [--force] [--yes] [--json]",
      "Write the unit's record into a board's store (com cb bf ut), as the factory does or after a board\n"
      "was replaced: the unit serial and the hardware facts; --serial N also sets the board's own serial\n"
      "(cb bf ut). Other entries of a valid descriptor are kept. Refuses to overwrite a record that\n"
      "names another unit unless --force. The old image is backed up first; the write is read back." },
    { CommandLine::Resolve, "resolve", Json | Yes | BackupDir, 1, 1, "resolve SERIAL [--yes] [--json]",
      "After a disagreement: rewrite the record of every voting board store (com cb bf) that names another\n"
      "serial, keeping its other entries, and the serials cache file, to SERIAL. Stores without a record\n"
      "(blank, corrupted, missing) are left alone: provision them. Backed up first and read back." },
    { CommandLine::Backup, "backup", Json, 1, 1, "backup DIR [--json]",
      "Save the raw image of every store's region into DIR with a manifest (device, offset, size,\n"
      "SHA-1) that restore reads." },
    { CommandLine::Restore, "restore", Json | Yes | BackupDir, 1, 1, "restore DIR [--yes] [--json]",
      "Write the images saved in DIR back, after checking each against its manifest checksum, and read\n"
      "each back. A cache file that was absent is removed. What they replace is backed up first." },
};

const char exitCodeHelp[]
    = "Exit status:\n"
      "  0  done; the unit serial is established and well-formed; nothing wrong found\n"
      "  1  no unit serial (no candidate, or several), or a store problem was found\n"
      "  2  usage error\n"
      "  3  unit status ERROR (the cache file could not be written): an application's\n"
      "     unitSerial() throws\n"
      "  4  a malformed serial (not \"I\" and six digits) in a store or given\n"
      "  5  a store cannot be opened or read, or does not match the backup\n"
      "  6  a write, a backup or a read-back verification failed\n"
      "  7  refused: not confirmed, no terminal and no --yes, or another unit's record\n"
      "When several apply, the highest number wins.\n";

const char optionHelp[] = "Options:\n"
                          "  --json            print one JSON document for scripts\n"
                          "  -v, --verbose     discover: also each store's record and the library's log\n"
                          "  --hex             inspect: add a hex dump of each frame\n"
                          "  --unit SERIAL     provision: the unit serial to write\n"
                          "  --serial N        provision: the board's own serial (cb bf ut)\n"
                          "  --force           provision: overwrite a record that names another unit\n"
                          "  -y, --yes         write without asking (needed when stdin is no terminal)\n"
                          "  --backup-dir DIR  where writes keep the images they replace\n"
                          "                    (default /var/local/qorhwinfo/backup)\n"
                          "  -h, --help        this help, or a command's with COMMAND --help\n"
                          "  --version         the tool's version\n";

const CommandInfo *infoOf(CommandLine::Command command)
{
    for (const CommandInfo &info : commands) {
        if (info.command == command)
            return &info;
    }
    return nullptr;
}

unsigned optionBit(int option)
{
    return 1u << option;
}

} // namespace

CommandLine::CommandLine(int argc, char **argv)
    : m_command(NoCommand)
    , m_help(false)
    , m_json(false)
    , m_verbose(false)
    , m_yes(false)
    , m_hex(false)
    , m_force(false)
    , m_hasBoardSerial(false)
    , m_boardSerial(0)
    , m_backupRoot(QLatin1String(defaultBackupRoot))
{
    for (bool &given : m_given)
        given = false;
    parse(argc, argv);
}

void CommandLine::parse(int argc, char **argv)
{
    static const struct option longOptions[]
        = { { "help", no_argument, nullptr, HelpOption },
            { "json", no_argument, nullptr, JsonOption },
            { "verbose", no_argument, nullptr, VerboseOption },
            { "yes", no_argument, nullptr, YesOption },
            { "hex", no_argument, nullptr, HexOption },
            { "force", no_argument, nullptr, ForceOption },
            { "unit", required_argument, nullptr, UnitOption },
            { "serial", required_argument, nullptr, SerialOption },
            { "backup-dir", required_argument, nullptr, BackupDirOption },
            { "version", no_argument, nullptr, VersionOption },
            { nullptr, 0, nullptr, 0 } };
    // getopt_long moves the words that are no options behind the options; the caller's argv stays as it is.
    std::vector<char *> words(argv, argv + argc);
    words.push_back(nullptr);
    optind = 0;
    opterr = 0;
    for (;;) {
        int index = -1;
        const int got = getopt_long(argc, words.data(), ":hvy", longOptions, &index);
        if (got == -1)
            break;
        if (got == '?' || got == ':') {
            const QString word = QString::fromLocal8Bit(words[optind - 1]);
            m_error = got == ':' ? QString::fromLatin1("The option %1 needs a value.").arg(word)
                                 : QString::fromLatin1("Unknown option: %1.").arg(word);
            return;
        }
        const int option = got == 'h' ? HelpOption
            : got == 'v'              ? VerboseOption
            : got == 'y'              ? YesOption
                                      : got;
        if (!takeOption(option, optarg))
            return;
    }
    for (int i = optind; i < argc; ++i)
        m_arguments.append(QString::fromLocal8Bit(words[size_t(i)]));

    if (m_given[VersionOption] && m_arguments.isEmpty()) {
        m_command = VersionRequest;
        return;
    }
    if (!m_arguments.isEmpty())
        m_commandName = m_arguments.takeFirst();
    if (m_help && m_commandName.isEmpty())
        return;
    checkCommand();
    if (isValid() && !m_help)
        checkArguments();
}

bool CommandLine::takeOption(int option, const char *value)
{
    m_given[option] = true;
    const QString text = QString::fromLocal8Bit(value);
    switch (option) {
    case HelpOption:
        m_help = true;
        break;
    case JsonOption:
        m_json = true;
        break;
    case VerboseOption:
        m_verbose = true;
        break;
    case YesOption:
        m_yes = true;
        break;
    case HexOption:
        m_hex = true;
        break;
    case ForceOption:
        m_force = true;
        break;
    case UnitOption:
        m_unit = text;
        break;
    case SerialOption: {
        bool ok = false;
        m_boardSerial = text.toUInt(&ok);
        m_hasBoardSerial = ok;
        if (!ok) {
            m_error = QString::fromLatin1("The board serial must be a number from 0 to 4294967295, not %1.")
                          .arg(text);
            return false;
        }
        break;
    }
    case BackupDirOption:
        if (text.isEmpty()) {
            m_error = QLatin1String("The option --backup-dir needs a directory.");
            return false;
        }
        m_backupRoot = text;
        break;
    default:
        break;
    }
    return true;
}

void CommandLine::checkCommand()
{
    if (m_commandName.isEmpty()) {
        m_error = QLatin1String("No command given.");
        return;
    }
    const CommandInfo *found = nullptr;
    for (const CommandInfo &info : commands) {
        if (m_commandName == QLatin1String(info.name))
            found = &info;
    }
    if (!found) {
        m_error = QString::fromLatin1("Unknown command: %1.").arg(m_commandName);
        return;
    }
    m_command = found->command;
    for (int option = JsonOption; option < OptionCount; ++option) {
        if (m_given[option] && !(found->options & optionBit(option))) {
            m_error = QString::fromLatin1("The command %1 takes no option %2.")
                          .arg(m_commandName, optionName(option));
            return;
        }
    }
}

void CommandLine::checkArguments()
{
    const CommandInfo *info = infoOf(m_command);
    const int count = m_arguments.size();
    if (count < info->minArguments || count > info->maxArguments) {
        m_error = count < info->minArguments
            ? QString::fromLatin1("Missing argument: %1.").arg(QLatin1String(info->synopsis))
            : QString::fromLatin1("Unexpected argument: %1.").arg(m_arguments.last());
        return;
    }
    const QStringList storeKeys = QString::fromLatin1("com cb bf ut file").split(QLatin1Char(' '));
    if (m_command == Inspect) {
        for (const QString &key : m_arguments) {
            if (!storeKeys.contains(key)) {
                m_error = QString::fromLatin1("Unknown store: %1. Stores are com cb bf ut file.").arg(key);
                return;
            }
        }
    } else if (m_command == Cache) {
        if (m_arguments.first() != QLatin1String("clear") && m_arguments.first() != QLatin1String("write"))
            m_error = QString::fromLatin1("Unknown cache command: %1. Use clear or write.")
                          .arg(m_arguments.first());
    } else if (m_command == Provision) {
        const QString key = m_arguments.first();
        if (!storeKeys.contains(key) || key == QLatin1String("file"))
            m_error
                = QString::fromLatin1("Cannot provision the store %1: use com cb bf or ut (the cache file is "
                                      "written by \"qorhwinfo cache write\").")
                      .arg(key);
        else if (!m_given[UnitOption])
            m_error = QLatin1String("provision needs --unit SERIAL.");
        else if (m_hasBoardSerial && key == QLatin1String("com"))
            m_error
                = QLatin1String("The COM module has no board serial of its own: --serial is for cb bf ut.");
    }
}

QString CommandLine::optionName(int option)
{
    static const char *const names[OptionCount]
        = { "--help",  "--json", "--verbose", "--yes",        "--hex",
            "--force", "--unit", "--serial",  "--backup-dir", "--version" };
    return QLatin1String(names[option]);
}

QString CommandLine::helpText() const
{
    QString text;
    if (const CommandInfo *info = infoOf(m_command)) {
        text = QString::fromLatin1("Usage: qorhwinfo %1\n\n%2\n\n")
                   .arg(QLatin1String(info->synopsis), QLatin1String(info->description));
    } else {
        text = QLatin1String("Usage: qorhwinfo [options] COMMAND [options] [arguments]\n\n"
                             "Tells who this unit is and repairs its identity stores (com cb bf ut file).\n\n"
                             "Commands:\n");
        for (const CommandInfo &command : commands)
            text += QString::fromLatin1("  %1\n").arg(QLatin1String(command.synopsis));
        text += QLatin1String("\"qorhwinfo COMMAND --help\" explains a command.\n\n");
    }
    return text + QLatin1String(optionHelp) + QLatin1Char('\n') + QLatin1String(exitCodeHelp);
}

QString CommandLine::versionText()
{
    return QLatin1String("qorhwinfo " QORHWINFO_VERSION "\n");
}
