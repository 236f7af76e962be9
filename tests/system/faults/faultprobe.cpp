// Runs inside the sandbox, at the unit's real paths, and prints what it saw as one JSON document:
//   faultprobe powercut        cuts a fresh cache write short at every length, then reads and rediscovers;
//                              the same for the tool's writes: a new cache file cut before its rename, and
//                              a carrier board record rewritten in place
//   faultprobe race ROUNDS     two processes discovering at once, ROUNDS times each, from no cache file
//   faultprobe discover-loop ROUNDS   one of those two processes
// The library's own log is dropped: the statuses and serials are what is checked here.
#include <qorhwinfo/hwinfohelper.h>
#include <qorutils/romstorage.h>

#include <QBuffer>
#include <QCoreApplication>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QSet>

#include <cstdio>

namespace {

typedef hmi::HwInfoHelper Helper;

const int childTimeoutMs = 10 * 60 * 1000;

QString cachePath()
{
    return QStringLiteral("/var/local/qorhwinfo/serial.cache");
}

void dropMessage(QtMsgType, const QMessageLogContext &, const QString &) { }

QJsonValue nullable(const QString &text)
{
    return text.isNull() ? QJsonValue(QJsonValue::Null) : QJsonValue(text);
}

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool replaceCache(const QByteArray &bytes)
{
    QFile file(cachePath());
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(bytes) == bytes.size()
        && file.flush();
}

/** The bytes of the COM module's, the carrier board's, the beamformer board's and the mono-element board's
 * memory. */
QList<QByteArray> boardMemories()
{
    QList<QByteArray> memories;
    for (const char *path : { "/sys/bus/i2c/devices/0-0050/eeprom", "/dev/qorpic0",
                              "/sys/bus/i2c/devices/0-0051/eeprom", "/sys/bus/i2c/devices/0-0055/eeprom" })
        memories.append(contentOf(QLatin1String(path)));
    return memories;
}

/** The unit serial of the good record in @p bytes; a null string when there is none. */
QString recordUnit(const QByteArray &bytes)
{
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly);
    const ROMStorage storage(buffer);
    return storage.isValid() ? storage.payload().toMap().value(QStringLiteral("unit")).toString() : QString();
}

/** Discovers with a helper of its own, as an application does; a null string when no serial was adopted. */
QString discoverUnitSerial(int *unitErrors = nullptr)
{
    Helper helper;
    helper.discover();
    try {
        return helper.unitSerial();
    } catch (const Helper::StatusFlags &) {
        if (unitErrors)
            ++*unitErrors;
        return QString();
    }
}

const char carrierPath[] = "/dev/qorpic0";

bool writeAt0(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::ReadWrite) && file.write(bytes) == bytes.size() && file.flush();
}

/** The unit serial the carrier board's store loads with; a null string when it holds no good record. */
QString carrierUnit()
{
    QObject owner;
    Helper::EEPROM store = Helper::eepromsInit(&owner).value(QStringLiteral("cb"));
    try {
        store.load();
    } catch (const QString &) {
        return QString();
    }
    return store.descriptor.value(QStringLiteral("unit")).toString();
}

QJsonObject rediscover(int length, bool written, const QString &storeUnit)
{
    const QList<QByteArray> before = boardMemories();
    QJsonObject result { { QStringLiteral("length"), length }, { QStringLiteral("written"), written } };
    result.insert(QStringLiteral("storeUnit"), nullable(storeUnit));
    result.insert(QStringLiteral("unitSerial"), nullable(discoverUnitSerial()));
    result.insert(QStringLiteral("cacheUnit"), nullable(recordUnit(contentOf(cachePath()))));
    result.insert(QStringLiteral("boardsUnchanged"), boardMemories() == before);
    return result;
}

/** What a cache write cut short at @p length may leave, as a function of the bytes it was writing. */
typedef QByteArray (*CutWrite)(const QByteArray &frame, int length, const QByteArray &old);

QByteArray truncated(const QByteArray &frame, int length, const QByteArray &)
{
    return frame.left(length);
}

// Blocks allocated for the file but never written read as zeros.
QByteArray zeroFilled(const QByteArray &frame, int length, const QByteArray &)
{
    return frame.left(length) + QByteArray(frame.size() - length, '\0');
}

// The truncation itself lost, the write landing over the damaged record it replaces.
QByteArray overOldRecord(const QByteArray &frame, int length, const QByteArray &old)
{
    return frame.left(length) + old.mid(length);
}

QJsonArray cutAtEveryLength(const QByteArray &frame, const QByteArray &old, CutWrite cut,
                            const QList<QByteArray> &boards)
{
    QJsonArray results;
    for (int length = 0; length <= frame.size(); ++length) {
        const bool written = replaceCache(cut(frame, length, old));
        QJsonObject result = rediscover(length, written, Helper::quickNonValidatedSerial());
        result.insert(QStringLiteral("boardsUnchanged"), boardMemories() == boards);
        results.append(result);
    }
    return results;
}

// The tool writes a new file beside the cache and renames it over the cache: a cut leaves the old cache
// (here none) and a partial new file, and only the rename makes the new one the cache.
QJsonArray cacheReplacedAtEveryLength(const QByteArray &frame)
{
    QJsonArray results;
    const QString newPath = cachePath() + QStringLiteral(".new");
    for (int length = 0; length <= frame.size(); ++length) {
        QFile::remove(cachePath());
        QFile::remove(newPath);
        const bool written = length < frame.size()
            ? writeAt0(newPath, frame.left(length))
            : writeAt0(newPath, frame) && QFile::rename(newPath, cachePath());
        results.append(rediscover(length, written, Helper::quickNonValidatedSerial()));
    }
    QFile::remove(newPath);
    return results;
}

// The tool rewrites a memory's record in place, header first, over the old one.
QJsonArray carrierRewrittenAtEveryLength(const QString &newUnit)
{
    const QByteArray old = contentOf(QLatin1String(carrierPath));
    QObject owner;
    Helper::EEPROM store = Helper::eepromsInit(&owner).value(QStringLiteral("cb"));
    store.load();
    QVariantMap record = store.descriptor;
    record.insert(QStringLiteral("unit"), newUnit);
    const QByteArray frame = ROMStorage(QVariant(record)).frame();
    QJsonArray results;
    for (int length = 0; length <= frame.size(); ++length) {
        QFile::remove(cachePath());
        const bool written = writeAt0(QLatin1String(carrierPath), old)
            && writeAt0(QLatin1String(carrierPath), frame.left(length));
        results.append(rediscover(length, written, carrierUnit()));
    }
    // Leave the unit as the other cuts do: the board as it was and a good cache.
    writeAt0(QLatin1String(carrierPath), old);
    discoverUnitSerial();
    return results;
}

QJsonObject powerCut()
{
    const QList<QByteArray> boards = boardMemories();
    QFile::remove(cachePath());
    const QString serial = discoverUnitSerial();
    const QByteArray frame = contentOf(cachePath());

    QVariantMap oldRecord;
    oldRecord.insert(QStringLiteral("unit"), QStringLiteral("I999999"));
    QByteArray old = ROMStorage(QVariant(oldRecord)).frame();
    old[old.size() - 1] = char(~old.at(old.size() - 1));

    return QJsonObject {
        { QStringLiteral("serial"), nullable(serial) },
        { QStringLiteral("frameSize"), frame.size() },
        { QStringLiteral("truncated"), cutAtEveryLength(frame, old, truncated, boards) },
        { QStringLiteral("zeroFilled"), cutAtEveryLength(frame, old, zeroFilled, boards) },
        { QStringLiteral("overOldRecord"), cutAtEveryLength(frame, old, overOldRecord, boards) },
        { QStringLiteral("cacheReplaced"), cacheReplacedAtEveryLength(frame) },
        { QStringLiteral("carrierRewritten"), carrierRewrittenAtEveryLength(QStringLiteral("I654321")) }
    };
}

QJsonArray sortedTexts(const QSet<QString> &texts)
{
    QStringList list = texts.values();
    std::sort(list.begin(), list.end(), [](const QString &a, const QString &b) {
        return a.isNull() != b.isNull() ? a.isNull() : a < b;
    });
    QJsonArray array;
    for (const QString &text : list)
        array.append(nullable(text));
    return array;
}

QJsonObject discoverLoop(int rounds)
{
    QSet<QString> unitSerials;
    QSet<QString> quickAnswers;
    int unitErrors = 0;
    for (int round = 0; round < rounds; ++round) {
        QFile::remove(cachePath());
        unitSerials.insert(discoverUnitSerial(&unitErrors));
        quickAnswers.insert(Helper::quickNonValidatedSerial());
    }
    return QJsonObject { { QStringLiteral("rounds"), rounds },
                         { QStringLiteral("unitSerials"), sortedTexts(unitSerials) },
                         { QStringLiteral("quickAnswers"), sortedTexts(quickAnswers) },
                         { QStringLiteral("unitErrors"), unitErrors } };
}

QJsonObject childResult(QProcess &child)
{
    const bool finished = child.waitForFinished(childTimeoutMs);
    QJsonObject result = QJsonDocument::fromJson(child.readAllStandardOutput()).object();
    result.insert(QStringLiteral("exitedNormally"),
                  finished && child.exitStatus() == QProcess::NormalExit && child.exitCode() == 0);
    result.insert(QStringLiteral("stderr"), QString::fromLocal8Bit(child.readAllStandardError()));
    return result;
}

QJsonObject race(int rounds)
{
    const QList<QByteArray> boards = boardMemories();
    QProcess first;
    QProcess second;
    const QStringList arguments { QStringLiteral("discover-loop"), QString::number(rounds) };
    first.start(QCoreApplication::applicationFilePath(), arguments);
    second.start(QCoreApplication::applicationFilePath(), arguments);
    const QJsonArray children { childResult(first), childResult(second) };
    return QJsonObject { { QStringLiteral("children"), children },
                         { QStringLiteral("cacheUnit"), nullable(recordUnit(contentOf(cachePath()))) },
                         { QStringLiteral("boardsUnchanged"), boardMemories() == boards } };
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    qInstallMessageHandler(dropMessage);
    const QStringList arguments = QCoreApplication::arguments();
    const QString mode = arguments.value(1);
    bool countGiven = false;
    const int rounds = arguments.value(2).toInt(&countGiven);

    QJsonObject report;
    if (mode == QLatin1String("powercut") && arguments.size() == 2) {
        report = powerCut();
    } else if (mode == QLatin1String("race") && countGiven && rounds > 0) {
        report = race(rounds);
    } else if (mode == QLatin1String("discover-loop") && countGiven && rounds > 0) {
        report = discoverLoop(rounds);
    } else {
        std::fprintf(stderr, "usage: faultprobe powercut | race ROUNDS | discover-loop ROUNDS\n");
        return 2;
    }
    const QByteArray json = QJsonDocument(report).toJson(QJsonDocument::Compact);
    std::fwrite(json.constData(), 1, size_t(json.size()), stdout);
    return 0;
}
