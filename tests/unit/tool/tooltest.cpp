// The tool's rules as tables: what its command line accepts, how the vote orders candidates for people,
// how text from a store is made safe for a terminal, how a record is compared with the unit's hardware,
// and how the metrics carry hostile text.
#include "backupset.h"
#include "identitycheck.h"
#include "jsonvalue.h"
#include "metricsfile.h"
#include "options.h"
#include "terminaltext.h"

#include <serialvote.h>

#include "qtestcompat.h"

#include <vector>

class ToolTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void options_data();
    void options();
    void candidates_data();
    void candidates();
    void escaped_data();
    void escaped();
    void hardware_data();
    void hardware();
    void metricsLabels();
    void jsonKeys();
    void manifest_data();
    void manifest();
};

namespace {

// The real unit's places, from the library's store table; nothing is read.
QList<BackupSet::Place> unitPlaces()
{
    QObject owner;
    return BackupSet::placesOf(hmi::HwInfoHelper::eepromsInit(&owner));
}

} // namespace

Q_DECLARE_METATYPE(Options::Command)

void ToolTest::options_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<int>("command");
    QTest::addColumn<QString>("error");
    QTest::addColumn<QString>("parsed");

    // parsed: arguments | unit | board serial | backup root | flags j v y x f d (json verbose yes hex force
    // dry-run)
    const QString root = QStringLiteral("/var/local/qorhwinfo/backup");
    dataRow("no command", QString(), int(Options::NoCommand), QStringLiteral("No command given."), QString());
    dataRow("version", QStringLiteral("--version"), int(Options::Version), QString(),
            QString("||0|%1|").arg(root));
    dataRow("help alone", QStringLiteral("--help"), int(Options::NoCommand), QString(),
            QString("||0|%1|").arg(root));
    dataRow("options after the command", QStringLiteral("discover -v --json"), int(Options::Discover),
            QString(), QString("||0|%1|jv").arg(root));
    dataRow("options before the command", QStringLiteral("--json check"), int(Options::Check), QString(),
            QString("||0|%1|j").arg(root));
    dataRow("another command's option", QStringLiteral("quick --unit I123456"), int(Options::Quick),
            QStringLiteral("The command quick takes no option --unit."), QString());
    dataRow("dry run only for writes", QStringLiteral("check --dry-run"), int(Options::Check),
            QStringLiteral("The command check takes no option --dry-run."), QString());
    dataRow("metrics only for check", QStringLiteral("check --metrics /run/m.prom"), int(Options::Check),
            QString(), QString("||0|%1|").arg(root));
    dataRow("unknown option", QStringLiteral("discover --bogus"), int(Options::NoCommand),
            QStringLiteral("Unknown option: --bogus."), QString());
    dataRow("option without its value", QStringLiteral("provision cb --unit"), int(Options::NoCommand),
            QStringLiteral("The option --unit needs a value."), QString());
    dataRow("unknown command", QStringLiteral("fix"), int(Options::NoCommand),
            QStringLiteral("Unknown command: fix."), QString());
    dataRow("inspect any stores", QStringLiteral("inspect cb file"), int(Options::Inspect), QString(),
            QString("cb,file||0|%1|").arg(root));
    dataRow("inspect an unknown store", QStringLiteral("inspect eeprom"), int(Options::Inspect),
            QStringLiteral("Unknown store: eeprom. Stores are com cb bf ut file."), QString());
    dataRow("cache bogus", QStringLiteral("cache flush"), int(Options::Cache),
            QStringLiteral("Unknown cache command: flush. Use clear or write."), QString());
    dataRow("provision needs a unit", QStringLiteral("provision cb"), int(Options::Provision),
            QStringLiteral("provision needs --unit SERIAL."), QString());
    dataRow(
        "provision not the cache", QStringLiteral("provision file --unit I123456"), int(Options::Provision),
        QStringLiteral("Cannot provision the store file: use com cb bf or ut (the cache file is written by "
                       "\"qorhwinfo cache write\")."),
        QString());
    dataRow("provision with a board serial",
            QStringLiteral("provision bf --unit I123456 --serial 77 --yes --force"), int(Options::Provision),
            QString(), QString("bf|I123456|77|%1|yf").arg(root));
    dataRow("the COM module has no board serial", QStringLiteral("provision com --unit I123456 --serial 77"),
            int(Options::Provision),
            QStringLiteral("The COM module has no board serial of its own: --serial is for cb bf ut."),
            QString());
    dataRow(
        "board serial 0 is not known", QStringLiteral("provision cb --unit I1 --serial 0"),
        int(Options::NoCommand),
        QStringLiteral("The board serial must be a number from 1 to 4294967295, not 0 (0 stands for a serial "
                       "that is not known)."),
        QString());
    dataRow("board serial beyond 32 bits", QStringLiteral("provision cb --unit I1 --serial 4294967296"),
            int(Options::NoCommand),
            QStringLiteral(
                "The board serial must be a number from 1 to 4294967295, not 4294967296 (0 stands for a "
                "serial that is not known)."),
            QString());
    dataRow("resolve with everything",
            QStringLiteral("resolve I111111 --force --dry-run --backup-dir /media/bk -y"),
            int(Options::Resolve), QString(), QStringLiteral("I111111||0|/media/bk|yfd"));
    dataRow("an empty backup directory", QStringLiteral("resolve I1 --backup-dir="), int(Options::NoCommand),
            QStringLiteral("The option --backup-dir needs a path."), QString());
    dataRow("backup list", QStringLiteral("backup list --json"), int(Options::Backup), QString(),
            QString("list||0|%1|j").arg(root));
    dataRow("help of a command", QStringLiteral("provision --help"), int(Options::Provision), QString(),
            QString("||0|%1|").arg(root));
}

void ToolTest::options()
{
    QFETCH(QString, line);
    QFETCH(int, command);
    QFETCH(QString, error);
    QFETCH(QString, parsed);

    std::vector<QByteArray> words(1, QByteArray("qorhwinfo"));
    for (const QString &word : line.split(QLatin1Char(' '), QOR_SKIP_EMPTY_PARTS))
        words.push_back(word.toUtf8());
    std::vector<char *> argv;
    for (QByteArray &word : words)
        argv.push_back(word.data());
    argv.push_back(nullptr);

    Options options;
    QString message;
    const bool ok = Options::parse(int(words.size()), argv.data(), &options, &message);
    QCOMPARE(message, error);
    QCOMPARE(ok, error.isEmpty());
    QCOMPARE(int(options.command), command);
    if (!ok)
        return;
    QString flags;
    const bool set[]
        = { options.json, options.verbose, options.yes, options.hex, options.force, options.dryRun };
    for (int i = 0; i < 6; ++i)
        if (set[i])
            flags += QLatin1Char("jvyxfd"[i]);
    QCOMPARE(QStringList({ options.arguments.join(QLatin1String(",")), options.unit,
                           QString::number(options.boardSerial), options.backupRoot, flags })
                 .join(QLatin1String("|")),
             parsed);
}

void ToolTest::candidates_data()
{
    QTest::addColumn<QStringList>("ballots");
    QTest::addColumn<QString>("candidates");
    QTest::addColumn<QString>("agreed");

    // ballots: "store=serial"; candidates: "serial:voters[:tied]" by votes, then serial
    dataRow("none", QStringList(), QString(), QString());
    dataRow("agreeing", QStringList({ "bf=I1", "cb=I1", "com=I1" }), QStringLiteral("I1:bf,cb,com"),
            QStringLiteral("I1"));
    dataRow("most votes first", QStringList({ "bf=I2", "cb=I1", "com=I1" }),
            QStringLiteral("I1:cb,com I2:bf"), QString());
    dataRow("a tie by serial, whatever the order of the votes",
            QStringList({ "bf=I2", "cb=I1", "com=I2", "file=I1" }),
            QStringLiteral("I1:cb,file:tied I2:bf,com:tied"), QString());
    dataRow("a tie below the winner", QStringList({ "bf=I3", "cb=I9", "com=I5", "file=I9" }),
            QStringLiteral("I9:cb,file I3:bf:tied I5:com:tied"), QString());
    dataRow("null and empty are one serial", QStringList({ "bf=", "cb=(null)" }), QStringLiteral(":bf,cb"),
            QString(""));
}

void ToolTest::candidates()
{
    QFETCH(QStringList, ballots);
    QFETCH(QString, candidates);
    QFETCH(QString, agreed);

    hmi::SerialVote vote;
    for (const QString &ballot : ballots) {
        const QString serial = ballot.section(QLatin1Char('='), 1);
        vote.cast(ballot.section(QLatin1Char('='), 0, 0),
                  serial == QLatin1String("(null)") ? QString() : serial);
    }
    QStringList got;
    for (const hmi::SerialVote::Candidate &candidate : vote.candidates())
        got.append(candidate.serial + QLatin1Char(':') + candidate.voters.join(QLatin1String(","))
                   + (candidate.tied ? QLatin1String(":tied") : QString()));
    QCOMPARE(got.join(QLatin1String(" ")), candidates);
    QCOMPARE(vote.agreedSerial(), agreed);
    QCOMPARE(vote.probableSerials().size(), vote.candidates().size());
}

void ToolTest::escaped_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("shown");

    dataRow("plain", QStringLiteral("I123456 ABC-12"), QStringLiteral("I123456 ABC-12"));
    dataRow("clear screen and a title left open", QStringLiteral("\x1b[2J\x1b]0;OK"),
            QStringLiteral("\\x1b[2J\\x1b]0;OK"));
    dataRow("line ends and tabs", QStringLiteral("a\nb\rc\td"), QStringLiteral("a\\x0ab\\x0dc\\x09d"));
    dataRow("NUL", QString(QLatin1Char('\0')) + QLatin1Char('x'), QStringLiteral("\\x00x"));
    dataRow("DEL and C1", QString::fromUtf8("\x7f\xc2\x9b"), QStringLiteral("\\x7f\\x9b"));
    dataRow("a backslash stays unambiguous", QStringLiteral("\\x41"), QStringLiteral("\\\\x41"));
    dataRow("bidirectional override",
            QString::fromUtf8("a\xe2\x80\xae"
                              "b"),
            QStringLiteral("a\\u{202e}b"));
    dataRow("line separator", QString::fromUtf8("a\xe2\x80\xa8"), QStringLiteral("a\\u{2028}"));
    dataRow("private use", QString::fromUtf8("\xee\x80\x80"), QStringLiteral("\\u{e000}"));
    dataRow("a lone surrogate", QString(QChar(ushort(0xd800))) + QLatin1Char('x'),
            QStringLiteral("\\u{d800}x"));
    dataRow("letters of any script", QString::fromUtf8("Gr\xc3\xbc\xc3\x9f \xe6\x97\xa5"),
            QString::fromUtf8("Gr\xc3\xbc\xc3\x9f \xe6\x97\xa5"));
    dataRow("a surrogate pair", QString::fromUtf8("\xf0\x9d\x84\x9e"), QString::fromUtf8("\xf0\x9d\x84\x9e"));
}

void ToolTest::escaped()
{
    QFETCH(QString, text);
    QFETCH(QString, shown);
    QCOMPARE(TerminalText::escaped(text), shown);
}

void ToolTest::hardware_data()
{
    QTest::addColumn<QString>("store");
    QTest::addColumn<QVariantMap>("record");
    QTest::addColumn<QStringList>("sentences");

    const QVariantMap own = variantMap({ { "unit", "I123456" },
                                         { "mac", "02:fc:00:00:00:01" },
                                         { "com", "ABC123456789" },
                                         { "fpgaUid", "0a5f" },
                                         { "cb", 1234567u },
                                         { "bf", 7654321u } });
    QVariantMap replacedCom = own;
    replacedCom.insert("com", "ZZZ000000099");
    QVariantMap movedBoard = own;
    movedBoard.insert("bf", 42u);
    movedBoard.insert("mac", "02:fc:00:00:00:09");
    dataRow("this unit's", QStringLiteral("com"), own, QStringList());
    dataRow(
        "a replaced COM module", QStringLiteral("com"), replacedCom,
        QStringList({ "the COM module's record names the COM serial ZZZ000000099; this unit's COM module is "
                      "ABC123456789" }));
    dataRow("a board of another unit", QStringLiteral("cb"), movedBoard,
            QStringList(
                { "the carrier board's record names the MAC address 02:fc:00:00:00:09; this unit's MAC "
                  "address is 02:fc:00:00:00:01",
                  "the carrier board's record names the beamformer board serial 42; this unit's beamformer "
                  "board is 7654321" }));
    dataRow("a record without hardware fields", QStringLiteral("file"), variantMap({ { "unit", "I123456" } }),
            QStringList());
}

void ToolTest::hardware()
{
    QFETCH(QString, store);
    QFETCH(QVariantMap, record);
    QFETCH(QStringList, sentences);

    IdentityCheck::Hardware hardware;
    hardware.mac = QStringLiteral("02:fc:00:00:00:01");
    hardware.comSerial = QStringLiteral("ABC123456789");
    hardware.fpgaUid = QStringLiteral("0a5f");
    hardware.cbSerial = 1234567;
    hardware.bfSerial = 7654321;
    QStringList got;
    for (const IdentityCheck::Mismatch &mismatch : IdentityCheck::compare(store, record, hardware))
        got.append(mismatch.sentence);
    QCOMPARE(got, sentences);

    // What the hardware cannot tell is never a mismatch.
    QVERIFY(IdentityCheck::compare(store, record, IdentityCheck::Hardware()).isEmpty());
}

// A hostile serial cannot break a metric's line or its labels.
void ToolTest::metricsLabels()
{
    MetricsFile::Unit unit;
    unit.serial = QStringLiteral("I1\"} 1\nqorhwinfo_forged 1\\");
    const QByteArray text = MetricsFile::text(unit, 1700000000);
    QVERIFY2(text.contains("unit_serial=\"I1\\\"} 1\\\\x0aqorhwinfo_forged 1\\\\\\\\\""), text.constData());
    QVERIFY(!text.contains("\nqorhwinfo_forged"));
    QVERIFY(text.endsWith("qorhwinfo_check_timestamp_seconds 1700000000\n"));
}

// A key from a store reaches a script whole: a NUL in it is escaped, never the end of the key.
void ToolTest::jsonKeys()
{
    json_t *record
        = Json::record(variantMap({ { QString::fromLatin1("unit\0forged", 11), "I1" }, { "unit", "I2" } }));
    char *text = json_dumps(record, JSON_COMPACT | JSON_SORT_KEYS);
    json_decref(record);
    QCOMPARE(QByteArray(text), QByteArray("{\"unit\":\"I2\",\"unit\\u0000forged\":\"I1\"}"));
    free(text);
}

void ToolTest::manifest_data()
{
    QTest::addColumn<QByteArray>("manifest");
    QTest::addColumn<QString>("error");

    const QByteArray sha = "\"sha1\": \"da39a3ee5e6b4b0d3255bfef95601890afd80709\"";
    const QByteArray com
        = "{\"key\": \"com\", \"device\": \"/sys/bus/i2c/devices/0-0050/eeprom\", \"offset\": 256, ";
    const QByteArray cache
        = "{\"key\": \"file\", \"device\": \"/var/local/qorhwinfo/serial.cache\", \"offset\": 0, ";
    dataRow("a good set",
            "{\"unit\": {\"serial\": \"I123456\", \"mac\": null}, \"stores\": [" + com
                + "\"present\": true, \"size\": 384, " + sha + ", \"image\": \"com.img\"}, " + cache
                + "\"present\": false}]}",
            QString());
    dataRow("no JSON", QByteArray("{\"stores\": ["), QStringLiteral("the manifest is no JSON object"));
    dataRow("an unknown member", QByteArray("{\"stores\": [], \"run\": \"rm -rf /\"}"),
            QStringLiteral("the manifest has a member the tool does not write: run"));
    dataRow("a member twice", QByteArray("{\"stores\": [], \"stores\": []}"),
            QStringLiteral("the manifest is no JSON object"));
    dataRow("the unit as text", QByteArray("{\"unit\": \"I123456\", \"stores\": []}"),
            QStringLiteral("the manifest's unit is no object"));
    dataRow("a serial as a number", QByteArray("{\"unit\": {\"serial\": 123456}, \"stores\": []}"),
            QStringLiteral("the manifest's serial is no text"));
    dataRow("more stores than the unit", QByteArray("{\"stores\": [1, 2, 3, 4, 5, 6]}"),
            QStringLiteral("the manifest lists no stores, or more than the unit has"));
    dataRow("a store of another kind", QByteArray("{\"stores\": [{\"key\": \"eeprom\"}]}"),
            QStringLiteral("the manifest names a store that this unit does not have"));
    dataRow("a store twice",
            "{\"stores\": [" + cache + "\"present\": false}, " + cache + "\"present\": false}]}",
            QStringLiteral("the manifest names file twice"));
    dataRow("another device",
            QByteArray("{\"stores\": [{\"key\": \"com\", \"device\": \"/dev/sda\", \"offset\": 256}]}"),
            QStringLiteral("does not name /sys/bus/i2c/devices/0-0050/eeprom at 256"));
    dataRow(
        "a board absent", "{\"stores\": [" + com + "\"present\": false}]}",
        QStringLiteral("the manifest's entry for com says the store was absent: only the cache file may be"));
    dataRow("beyond the room",
            "{\"stores\": [" + com + "\"present\": true, \"size\": 385, " + sha
                + ", \"image\": \"com.img\"}]}",
            QStringLiteral("gives no size within the store's 384 bytes of room"));
    dataRow("no checksum",
            "{\"stores\": [" + com
                + "\"present\": true, \"size\": 1, \"sha1\": \"x\", "
                  "\"image\": \"com.img\"}]}",
            QStringLiteral("the manifest's entry for com gives no SHA-1"));
    dataRow("an absolute image",
            "{\"stores\": [" + com + "\"present\": true, \"size\": 1, " + sha
                + ", \"image\": \"/dev/zero\"}]}",
            QStringLiteral("names an image other than com.img"));
    dataRow("an unknown store member", "{\"stores\": [" + com + "\"present\": true, \"exec\": 1}]}",
            QStringLiteral("the manifest's entry for com has a member the tool does not write: exec"));
}

void ToolTest::manifest()
{
    QFETCH(QByteArray, manifest);
    QFETCH(QString, error);

    BackupSet set;
    QString message;
    QCOMPARE(BackupSet::parseManifest(manifest, unitPlaces(), &set, &message), error.isEmpty());
    QVERIFY2(error.isEmpty() ? message.isEmpty() : message.contains(error), qPrintable(message));
}

QTEST_GUILESS_MAIN(ToolTest)

#include "tooltest.moc"
