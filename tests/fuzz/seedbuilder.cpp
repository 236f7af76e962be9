// seedbuilder OUTDIR: the fuzz targets' seeds (no binary input lives in the repository): hostile frames, a
// record of many kinds of value, erased and empty memories, with their bare payloads for the frame target and
// at offsets 0 and 16 for the store target.
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
    }
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
