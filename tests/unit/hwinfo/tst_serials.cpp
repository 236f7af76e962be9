#include <qorhwinfo/hwinfohelper.h>

#include "qtestcompat.h"

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
    void writesMap_data();
    void writesMap();
};

namespace {

QVariantMap entries(std::initializer_list<std::pair<const char *, QVariant> > list)
{
    QVariantMap map;
    for (const auto &entry : list)
        map.insert(QString::fromLatin1(entry.first), entry.second);
    return map;
}

// QCOMPARE takes a null and an empty QString, and QVariants of different types, as equal; the stored
// format does not.
QString describe(const QVariant &value)
{
    const QString text = value.toString();
    return QStringLiteral("%1:%2").arg(QString::fromLatin1(value.typeName()),
                                       text.isNull() ? QStringLiteral("(null)") : text);
}

QStringList describe(const QVariantMap &map)
{
    QStringList lines;
    for (auto it = map.constBegin(); it != map.constEnd(); ++it)
        lines.append(it.key() + QLatin1Char('=') + describe(it.value()));
    return lines;
}

QStringList describe(const Serials &record)
{
    return { describe(record.unit),    QString::number(record.cb), QString::number(record.bf),
             describe(record.fpgaUid), describe(record.com),       describe(record.mac) };
}

const Serials fullRecord(QStringLiteral("I004217"), 815u, 4711u, QStringLiteral("0a5f"),
                         QStringLiteral("COM-0042"), QStringLiteral("00:11:22:33:44:55"));

} // namespace

void TestSerials::readsMap_data()
{
    QTest::addColumn<QVariantMap>("map");
    QTest::addColumn<Serials>("record");

    QVariantMap full;
    fullRecord.writeTo(full);
    QVariantMap otherCase;
    for (auto it = full.constBegin(); it != full.constEnd(); ++it)
        otherCase.insert(it.key().toUpper(), it.value());
    full.insert(QStringLiteral("serial"), 99u);

    QTest::newRow("empty map") << QVariantMap() << Serials();
    QTest::newRow("record with board entries") << full << fullRecord;
    QTest::newRow("keys differing in case") << otherCase << Serials();
    QTest::newRow("numeric text under boards")
        << entries({ { "cb", QStringLiteral("1234") }, { "bf", QStringLiteral("4294967295") } })
        << Serials(QString(), 1234u, 4294967295u, QString(), QString(), QString());
}

void TestSerials::readsMap()
{
    QFETCH(QVariantMap, map);
    QFETCH(Serials, record);

    QCOMPARE(describe(Serials(map)), describe(record));
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
        << entries({ { "serial", 4711u }, { "unit", QStringLiteral("I999999") }, { "mac", QString() } })
        << fullRecord
        << entries({ { "serial", 4711u },
                     { "unit", QStringLiteral("I004217") },
                     { "cb", 815u },
                     { "bf", 4711u },
                     { "fpgaUid", QStringLiteral("0a5f") },
                     { "com", QStringLiteral("COM-0042") },
                     { "mac", QStringLiteral("00:11:22:33:44:55") } });
}

void TestSerials::writesMap()
{
    QFETCH(QVariantMap, before);
    QFETCH(Serials, record);
    QFETCH(QVariantMap, after);

    record.writeTo(before);

    QCOMPARE(describe(before), describe(after));
    QCOMPARE(describe(Serials(before)), describe(record));
}

QTEST_GUILESS_MAIN(TestSerials)

#include "tst_serials.moc"
