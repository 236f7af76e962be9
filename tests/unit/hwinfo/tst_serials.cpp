#include <qorhwinfo/hwinfohelper.h>

#include <QtTest/QtTest>

using Serials = hmi::HwInfoHelper::Serials;

Q_DECLARE_METATYPE(Serials)

// The record and its map form: reader defaults and conversions, the writer's value types, and what the
// writer leaves alone.
class TestSerials : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void readsMap_data();
    void readsMap();
    void readingLeavesMapAlone();
    void writesMap_data();
    void writesMap();
    void writingDetachesSharedMap();
    void roundTrip_data();
    void roundTrip();
};

namespace {

// QCOMPARE treats a null and an empty QString as equal; the record's defaults are null strings.
void compareText(const QString &actual, const QString &expected)
{
    QCOMPARE(actual, expected);
    QCOMPARE(actual.isNull(), expected.isNull());
}

// QVariant's operator== converts between types; the stored format cares about the type itself.
void compareEntries(const QVariantMap &actual, const QVariantMap &expected)
{
    QCOMPARE(actual.keys(), expected.keys());
    for (auto it = expected.constBegin(); it != expected.constEnd(); ++it) {
        const QVariant value = actual.value(it.key());
        QCOMPARE(value.userType(), it.value().userType());
        QCOMPARE(value, it.value());
        if (value.userType() == QMetaType::QString)
            QCOMPARE(value.toString().isNull(), it.value().toString().isNull());
    }
}

QVariantMap entries(std::initializer_list<std::pair<const char *, QVariant>> list)
{
    QVariantMap map;
    for (const auto &entry : list)
        map.insert(QString::fromLatin1(entry.first), entry.second);
    return map;
}

const Serials fullRecord(QStringLiteral("I004217"), 815u, 4711u, QStringLiteral("0a5f"),
                         QStringLiteral("COM-0042"), QStringLiteral("00:11:22:33:44:55"));

} // namespace

void TestSerials::readsMap_data()
{
    QTest::addColumn<QVariantMap>("map");
    QTest::addColumn<QString>("unit");
    QTest::addColumn<uint>("cb");
    QTest::addColumn<uint>("bf");
    QTest::addColumn<QString>("fpgaUid");
    QTest::addColumn<QString>("com");
    QTest::addColumn<QString>("mac");

    QTest::newRow("empty map") << QVariantMap() << QString() << 0u << 0u << QString() << QString()
                               << QString();
    QTest::newRow("record with extra keys")
        << entries({ { "unit", QStringLiteral("I004217") },
                     { "cb", 815u },
                     { "bf", 4711u },
                     { "fpgaUid", QStringLiteral("0a5f") },
                     { "com", QStringLiteral("COM-0042") },
                     { "mac", QStringLiteral("00:11:22:33:44:55") },
                     { "serial", 99u },
                     { "vendor", QStringLiteral("x") } })
        << QStringLiteral("I004217") << 815u << 4711u << QStringLiteral("0a5f") << QStringLiteral("COM-0042")
        << QStringLiteral("00:11:22:33:44:55");
    QTest::newRow("numeric text under boards")
        << entries({ { "cb", QStringLiteral("1234") }, { "bf", QStringLiteral("4294967295") } }) << QString()
        << 1234u << 4294967295u << QString() << QString() << QString();
    QTest::newRow("text that is no number under boards")
        << entries({ { "cb", QStringLiteral("12ab") }, { "bf", QStringLiteral("") } }) << QString() << 0u
        << 0u << QString() << QString() << QString();
    QTest::newRow("numbers under text keys")
        << entries({ { "unit", 12 }, { "com", 7u }, { "mac", qlonglong(-3) } }) << QStringLiteral("12") << 0u
        << 0u << QString() << QStringLiteral("7") << QStringLiteral("-3");
    QTest::newRow("keys differing in case") << entries({ { "Unit", QStringLiteral("I004217") },
                                                         { "CB", 815u },
                                                         { "Bf", 4711u },
                                                         { "fpgauid", QStringLiteral("0a5f") },
                                                         { "COM", QStringLiteral("COM-0042") },
                                                         { "MAC", QStringLiteral("00:11") } })
                                            << QString() << 0u << 0u << QString() << QString() << QString();
    QTest::newRow("empty texts stay empty")
        << entries({ { "unit", QStringLiteral("") }, { "mac", QStringLiteral("") } }) << QStringLiteral("")
        << 0u << 0u << QString() << QString() << QStringLiteral("");
}

void TestSerials::readsMap()
{
    QFETCH(QVariantMap, map);
    QFETCH(QString, unit);
    QFETCH(uint, cb);
    QFETCH(uint, bf);
    QFETCH(QString, fpgaUid);
    QFETCH(QString, com);
    QFETCH(QString, mac);

    const Serials record(map);

    compareText(record.unit, unit);
    QCOMPARE(record.cb, cb);
    QCOMPARE(record.bf, bf);
    compareText(record.fpgaUid, fpgaUid);
    compareText(record.com, com);
    compareText(record.mac, mac);
}

void TestSerials::readingLeavesMapAlone()
{
    const QVariantMap original = entries({ { "cb", 1u } });
    QVariantMap shared = original;

    const Serials record(shared);

    QCOMPARE(shared.keys(), QStringList { QStringLiteral("cb") });
    QVERIFY(shared.isSharedWith(original));
}

void TestSerials::writesMap_data()
{
    QTest::addColumn<QVariantMap>("before");
    QTest::addColumn<Serials>("record");
    QTest::addColumn<QVariantMap>("after");

    QTest::newRow("default record into empty map") << QVariantMap() << Serials()
                                                   << entries({ { "bf", 0u },
                                                                { "cb", 0u },
                                                                { "com", QString() },
                                                                { "fpgaUid", QString() },
                                                                { "mac", QString() },
                                                                { "unit", QString() } });
    QTest::newRow("other keys kept, record keys replaced")
        << entries({ { "serial", 4711u },
                     { "vendor", QStringLiteral("x") },
                     { "unit", QStringLiteral("I999999") },
                     { "mac", QString() } })
        << fullRecord
        << entries({ { "serial", 4711u },
                     { "vendor", QStringLiteral("x") },
                     { "unit", QStringLiteral("I004217") },
                     { "cb", 815u },
                     { "bf", 4711u },
                     { "fpgaUid", QStringLiteral("0a5f") },
                     { "com", QStringLiteral("COM-0042") },
                     { "mac", QStringLiteral("00:11:22:33:44:55") } });
    QTest::newRow("types of earlier values are not kept")
        << entries({ { "unit", 5u }, { "cb", QStringLiteral("12") }, { "bf", 3.5 }, { "com", QVariant() } })
        << Serials(QString(), 12u, 3u, QString(), QString(), QString())
        << entries({ { "bf", 3u },
                     { "cb", 12u },
                     { "com", QString() },
                     { "fpgaUid", QString() },
                     { "mac", QString() },
                     { "unit", QString() } });
}

void TestSerials::writesMap()
{
    QFETCH(QVariantMap, before);
    QFETCH(Serials, record);
    QFETCH(QVariantMap, after);

    record.writeTo(before);

    compareEntries(before, after);
}

void TestSerials::writingDetachesSharedMap()
{
    const QVariantMap original = entries({ { "serial", 4711u } });
    QVariantMap copy = original;

    fullRecord.writeTo(copy);

    QCOMPARE(original.size(), 1);
    QCOMPARE(original.value(QStringLiteral("serial")), QVariant(4711u));
    QCOMPARE(copy.size(), 7);
}

void TestSerials::roundTrip_data()
{
    QTest::addColumn<Serials>("record");

    QTest::newRow("default") << Serials();
    QTest::newRow("full") << fullRecord;
    QTest::newRow("largest board serials")
        << Serials(QStringLiteral("12"), 4294967295u, 4294967295u, QString(), QStringLiteral(""), QString());
}

void TestSerials::roundTrip()
{
    QFETCH(Serials, record);
    QVariantMap map;

    record.writeTo(map);
    const Serials back(map);

    compareText(back.unit, record.unit);
    QCOMPARE(back.cb, record.cb);
    QCOMPARE(back.bf, record.bf);
    compareText(back.fpgaUid, record.fpgaUid);
    compareText(back.com, record.com);
    compareText(back.mac, record.mac);
}

QTEST_GUILESS_MAIN(TestSerials)

#include "tst_serials.moc"
