// seedbuilder OUTDIR: the fuzz targets' seeds (no binary input lives in the repository): hostile frames, a
// record of many kinds of value, erased and empty memories, with their bare payloads for the frame target and
// at offsets 0 and 16 for the store target, and records with texts that a terminal would obey for the
// reports target, and manifests for the manifest target.
#include "hostileframes.h"

#include <qorutils/romstorage.h>

#include <QtCore/QDir>
#include <QtCore/QVariantMap>

#include <cstdio>
#include <limits>

int main(int argc, char *argv[])
{
    const QVariantList values = QVariantList()
        << 1.5 << 0.1 << 65520.0 << std::numeric_limits<double>::quiet_NaN() << -2 << -(Q_INT64_C(1) << 40)
        << true << QVariant() << QString() << QByteArray(2, '\xff')
        << QString::fromUtf8("\xc3\xa4\xf0\x9f\x98\x80");
    QMap<QString, QByteArray> frames;
    frames["record"]
        = ROMStorage(QVariantMap { { "unit", "I123456" }, { "cb", 1234567u }, { "values", values } }).frame();
    frames["erased"] = QByteArray(384, '\xff');
    frames["zeroed"] = QByteArray(384, '\0');
    frames["empty"] = QByteArray();
    for (const auto &hostile : HostileFrames::all())
        frames.insert(hostile.first, hostile.second);
    QMap<QString, QByteArray> seeds;
    for (auto it = frames.constBegin(); it != frames.constEnd(); ++it) {
        seeds["frame/" + it.key()] = it.value();
        seeds["frame/payload-" + it.key()] = it.value().mid(ROMStorage::HeaderSize);
        seeds["store/" + it.key()] = '\0' + it.value();
        seeds["store/at-16-" + it.key()] = QByteArray(17, '\x10') + it.value();
        seeds["reports/payload-" + it.key()] = it.value().mid(ROMStorage::HeaderSize);
    }
    // Texts that a terminal would obey: clear screen, a title left open, C1, bidirectional overrides.
    static const char escapes[] = "\x1b[2J\x1b]0;I123456\xc2\x9b\x7f\0mac\0\xe2\x80\xae\n\r\t";
    seeds["reports/escapes"] = QByteArray(escapes, int(sizeof escapes) - 1);
    seeds["reports/record"] = ROMStorage(QVariantMap { { "unit", "\x1b[31mI123456" },
                                                       { "com", "\xc2\x9b" },
                                                       { QString(QChar(0)), "\x7f" } })
                                  .frame()
                                  .mid(ROMStorage::HeaderSize);
    // Manifests as the tool writes them, and with the faults a hostile one has.
    const QByteArray sha = "\"sha1\": \"da39a3ee5e6b4b0d3255bfef95601890afd80709\"";
    const QByteArray com
        = "{\"key\": \"com\", \"device\": \"/sys/bus/i2c/devices/0-0050/eeprom\", \"offset\": 256, ";
    seeds["manifest/good"]
        = "{\"version\": \"1.0.0\", \"unit\": {\"serial\": \"I123456\", \"mac\": \"02:fc:00:00:00:01\"}, "
          "\"time\": \"2026-01-01T00:00:00Z\", \"command\": \"qorhwinfo backup\", \"stores\": ["
        + com + "\"present\": true, \"size\": 384, " + sha
        + ", \"image\": \"com.img\"}, {\"key\": \"file\", \"device\": \"/var/local/qorhwinfo/serial.cache\", "
          "\"offset\": 0, \"present\": false}]}";
    seeds["manifest/absent-board"] = "{\"stores\": [" + com + "\"present\": false}]}";
    seeds["manifest/beyond-room"] = "{\"stores\": [" + com + "\"present\": true, \"size\": 4096, " + sha
        + ", \"image\": \"../com.img\"}]}";
    for (auto it = seeds.constBegin(); it != seeds.constEnd(); ++it) {
        QFile file(QDir(argc == 2 ? argv[1] : "").filePath(it.key()));
        if (argc != 2 || !QDir(argv[1]).mkpath(it.key().section('/', 0, 0))
            || !file.open(QIODevice::WriteOnly) || file.write(it.value()) != it.value().size()) {
            std::fprintf(stderr, "usage: seedbuilder OUTDIR (cannot write %s)\n",
                         qPrintable(file.fileName()));
            return 1;
        }
    }
    return 0;
}
