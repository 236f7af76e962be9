#ifndef PROBEMAIN_H
#define PROBEMAIN_H

#include <QCoreApplication>
#include <QTest>

/**
 * main() for a test executable that doubles as its own probe: started with "--probe NAME" (inside the
 * sandbox) it runs @p probeFunction(NAME), which prints a one-line report; otherwise it runs the tests.
 */
#define QOR_TEST_MAIN_WITH_PROBE(TestObject, probeFunction)                                                  \
    int main(int argc, char *argv[])                                                                         \
    {                                                                                                        \
        QCoreApplication app(argc, argv);                                                                    \
        if (argc == 3 && qstrcmp(argv[1], "--probe") == 0)                                                   \
            return probeFunction(QString::fromLocal8Bit(argv[2]));                                           \
        TestObject test;                                                                                     \
        return QTest::qExec(&test, argc, argv);                                                              \
    }

#endif
