#ifndef QORHWINFO_TESTS_QTESTCOMPAT_H
#define QORHWINFO_TESTS_QTESTCOMPAT_H

// What Qt Test spells differently under Qt 4, for the tests that build against every Qt major.

#include "qtcompat.h"

#include <QtCore/QVariantMap>
#include <QtTest/QtTest>

#include <exception>
#include <functional>
#include <initializer_list>
#include <utility>

#if QT_VERSION < 0x050000
#define QTEST_GUILESS_MAIN(TestObject)                                                                       \
    int main(int argc, char *argv[])                                                                         \
    {                                                                                                        \
        QCoreApplication app(argc, argv);                                                                    \
        TestObject tc;                                                                                       \
        return QTest::qExec(&tc, argc, argv);                                                                \
    }
#define QOR_SKIP(message) QSKIP(message, SkipSingle)
#else
#define QOR_SKIP(message) QSKIP(message)
#endif

/** A QMap or QHash from a braced list, which Qt 4's containers cannot take directly. */
template<typename Map>
Map mapOf(std::initializer_list<std::pair<typename Map::key_type, typename Map::mapped_type> > entries)
{
    Map map;
    for (const auto &entry : entries)
        map.insert(entry.first, entry.second);
    return map;
}

inline QVariantMap variantMap(std::initializer_list<std::pair<QString, QVariant> > entries)
{
    return mapOf<QVariantMap>(entries);
}

/** What @p call throws: a QString, what() of a std::exception, or "something else"; empty if nothing. */
inline QString thrownBy(const std::function<void()> &call)
{
    try {
        call();
    } catch (const QString &message) {
        return message;
    } catch (const std::exception &exception) {
        return QString("std::exception: ") + exception.what();
    } catch (...) {
        return "something else";
    }
    return QString();
}

/** A data row from its values in column order, in one call that reads as a table line. */
template<typename... Values> void dataRow(const QString &name, const Values &...values)
{
    QTestData &row = QTest::newRow(qPrintable(name));
    (void)std::initializer_list<int> { ((void)(row << values), 0)... };
}

#endif
