#ifndef QORHWINFO_TESTS_QTESTCOMPAT_H
#define QORHWINFO_TESTS_QTESTCOMPAT_H

// What Qt Test spells differently under Qt 4, for the tests that build against every Qt major.

#include "qtcompat.h"

#include <QtCore/QVariantMap>
#include <QtTest/QtTest>

#include <initializer_list>
#include <utility>

#if QT_VERSION < 0x050000
#define QVERIFY_EXCEPTION_THROWN(expression, exceptiontype)                                                  \
    do {                                                                                                     \
        bool caught = false;                                                                                 \
        try {                                                                                                \
            expression;                                                                                      \
        } catch (const exceptiontype &) {                                                                    \
            caught = true;                                                                                   \
        } catch (...) { }                                                                                    \
        QVERIFY2(caught, "Expected exception of type " #exceptiontype " to be thrown");                      \
    } while (false)
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

#endif
