// A store whose memory holds a frame with a right CRC and hostile content: load() either rejects it as
// corrupted, leaving no record, or takes its payload whole; a record taken survives a save and a load.
// The frames are the named hostile seeds of the fuzz targets.
#include "hostileframes.h"

#include <qorhwinfo/hwinfohelper.h>
#include <qorutils/romstorage.h>

#include <QBuffer>
#include <QtTest>

using hmi::HwInfoHelper;

namespace {

const int unlimited = 0x7fffffff;

QString label()
{
    return QStringLiteral("Carrier Board");
}

QVariantMap payloadMap(const QByteArray &frame)
{
    QBuffer buffer;
    buffer.setData(frame);
    buffer.open(QIODevice::ReadOnly);
    return ROMStorage(buffer).payload().toMap();
}

/** A record as a frame, which shows every type and bit, and in which a NaN equals itself. */
QByteArray framed(const QVariantMap &record)
{
    return ROMStorage(QVariant(record)).frame();
}

} // namespace

Q_DECLARE_METATYPE(HostileFrames::Outcome)

class HostileRecordsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void load_data();
    void load();
};

void HostileRecordsTest::load_data()
{
    QTest::addColumn<QByteArray>("frame");
    QTest::addColumn<HostileFrames::Outcome>("outcome");

    for (const HostileFrames::Entry &entry : HostileFrames::all())
        QTest::newRow(qPrintable(entry.name)) << entry.bytes << entry.outcome;
}

void HostileRecordsTest::load()
{
    QFETCH(QByteArray, frame);
    QFETCH(HostileFrames::Outcome, outcome);
    QBuffer memory;
    memory.setData(frame + QByteArray(64, '\xff'));
    HwInfoHelper::EEPROM store(label(), &memory, 0, unlimited);
    store.descriptor.insert(QStringLiteral("unit"), QStringLiteral("I111111"));

    QString thrown;
    try {
        store.load();
    } catch (const QString &message) {
        thrown = message;
    }

    QVERIFY(!memory.isOpen());
    if (outcome == HostileFrames::Rejected) {
        QCOMPARE(thrown, label() + QStringLiteral(": corrupted"));
        QVERIFY(store.descriptor.isEmpty());
        return;
    }
    QCOMPARE(thrown, QString());
    QCOMPARE(framed(store.descriptor), framed(payloadMap(frame)));

    QBuffer copy;
    HwInfoHelper::EEPROM saved(label(), &copy, 0, unlimited);
    saved.descriptor = store.descriptor;
    saved.save();
    saved.load();
    QCOMPARE(framed(saved.descriptor), framed(store.descriptor));
}

QTEST_GUILESS_MAIN(HostileRecordsTest)

#include "tst_hostilerecords.moc"
