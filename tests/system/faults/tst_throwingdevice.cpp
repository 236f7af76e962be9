// A device that throws something other than a message in the middle of a load or of the cache write: the
// exception leaves discover(), the file-creation mask is back, the later steps did not run, and no device
// is left open, so that the next discovery on the same helper reads every store again.
#include "hwinfohelper_p.h"
#include "throwingdevice.h"

#include <qorhwinfo/hwinfohelper.h>
#include <qorutils/romstorage.h>

#include <QtTest>

#include <stdexcept>
#include <sys/stat.h>

using hmi::HwInfoHelper;
using hmi::HwInfoHelperPrivate;

namespace {

const mode_t testMask = 027;
const int comRecordOffset = 256;

mode_t currentMask()
{
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return mask;
}

QByteArray recordFrame(const QString &unit, uint boardSerial = 0)
{
    QVariantMap map;
    HwInfoHelper::Serials(unit, 1234567u, 7654321u, QStringLiteral("0a5f"), QStringLiteral("ABC123456789"),
                          QStringLiteral("02:fc:00:00:00:01"))
        .writeTo(map);
    if (boardSerial)
        map.insert(QStringLiteral("serial"), boardSerial);
    return ROMStorage(QVariant(map)).frame();
}

QByteArray damagedFrame()
{
    QByteArray frame = recordFrame(QStringLiteral("I999999"));
    frame[frame.size() - 1] = char(~frame.at(frame.size() - 1));
    return frame;
}

/** A helper whose five stores sit on throwing devices that hold a healthy unit, I123456, with a damaged
 * cache. */
class Rig
{
public:
    Rig()
        : d(HwInfoHelperPrivate::get(&helper))
    {
        const QHash<QString, QByteArray> contents {
            { QStringLiteral("com"),
              QByteArray(comRecordOffset, '\0') + recordFrame(QStringLiteral("I123456")) },
            { QStringLiteral("cb"), recordFrame(QStringLiteral("I123456"), 1234567u) },
            { QStringLiteral("bf"), recordFrame(QStringLiteral("I123456"), 7654321u) },
            { QStringLiteral("ut"),
              ROMStorage(QVariant(QVariantMap { { QStringLiteral("serial"), 42u } })).frame() },
            { QStringLiteral("file"), damagedFrame() },
        };
        for (auto it = d->eeproms.begin(); it != d->eeproms.end(); ++it) {
            ThrowingDevice *device = new ThrowingDevice(contents.value(it.key()), &helper);
            it->ioDev = device;
            devices.insert(it.key(), device);
            order.append(it.key());
        }
    }

    bool anyDeviceOpen() const
    {
        for (const ThrowingDevice *device : devices) {
            if (device->isOpen())
                return true;
        }
        return false;
    }

    HwInfoHelper helper;
    HwInfoHelperPrivate *const d;
    QHash<QString, ThrowingDevice *> devices;
    QStringList order; ///< the stores in the order discovery loads them
};

QList<int> curSteps(const QSignalSpy &spy)
{
    QList<int> steps;
    for (const QList<QVariant> &arguments : spy)
        steps.append(arguments.at(0).toInt());
    return steps;
}

QList<int> stepsUpTo(int last)
{
    QList<int> steps;
    for (int step = 0; step <= last; ++step)
        steps.append(step);
    return steps;
}

} // namespace

Q_DECLARE_METATYPE(ThrowingDevice::Fault)

class ThrowingDeviceTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void throwLeavesDiscovery_data();
    void throwLeavesDiscovery();

private:
    mode_t m_originalMask = 0;
};

void ThrowingDeviceTest::initTestCase()
{
    m_originalMask = ::umask(testMask);
}

void ThrowingDeviceTest::cleanupTestCase()
{
    ::umask(m_originalMask);
}

void ThrowingDeviceTest::throwLeavesDiscovery_data()
{
    QTest::addColumn<QString>("store");
    QTest::addColumn<ThrowingDevice::Fault>("fault");

    for (const char *store : { "com", "cb", "bf", "ut", "file" })
        QTest::addRow("reading %s", store) << store << ThrowingDevice::ThrowsWhileReading;
    QTest::newRow("writing the cache") << "file" << ThrowingDevice::ThrowsWhileWriting;
}

void ThrowingDeviceTest::throwLeavesDiscovery()
{
    QFETCH(QString, store);
    QFETCH(ThrowingDevice::Fault, fault);
    Rig rig;
    ThrowingDevice *device = rig.devices.value(store);
    device->setFault(fault);
    const QByteArray cacheBefore = rig.devices.value(QStringLiteral("file"))->data();
    QSignalSpy stepSpy(&rig.helper, &HwInfoHelper::progressCurStepChanged);

    QVERIFY_EXCEPTION_THROWN(rig.helper.discover(), std::runtime_error);

    QCOMPARE(currentMask(), testMask);
    QVERIFY(!rig.anyDeviceOpen());
    if (fault == ThrowingDevice::ThrowsWhileReading) {
        QCOMPARE(curSteps(stepSpy), stepsUpTo(rig.order.indexOf(store)));
        QVERIFY(!rig.devices.value(QStringLiteral("file"))->wasOpenedForWriting());
        QCOMPARE(rig.devices.value(QStringLiteral("file"))->data(), cacheBefore);
    } else {
        QCOMPARE(curSteps(stepSpy), stepsUpTo(rig.order.size()));
    }

    device->setFault(ThrowingDevice::NoFault);
    stepSpy.clear();
    rig.helper.discover();

    QCOMPARE(curSteps(stepSpy), stepsUpTo(rig.order.size() + 1));
    for (const QString &key : rig.order)
        QVERIFY2(rig.helper.status(key) == HwInfoHelper::OK, qPrintable(key));
    QCOMPARE(rig.helper.unitSerial(), QStringLiteral("I123456"));
    QCOMPARE(
        rig.devices.value(QStringLiteral("file"))->data(),
        ROMStorage(QVariant(QVariantMap(rig.d->eeproms.value(QStringLiteral("file")).descriptor))).frame());
    QCOMPARE(currentMask(), testMask);
    QVERIFY(!rig.anyDeviceOpen());
}

QTEST_GUILESS_MAIN(ThrowingDeviceTest)

#include "tst_throwingdevice.moc"
