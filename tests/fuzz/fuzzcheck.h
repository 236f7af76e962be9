#ifndef QORHWINFO_FUZZ_FUZZCHECK_H
#define QORHWINFO_FUZZ_FUZZCHECK_H

// An assertion that stays on in optimised builds and ends the run as a finding (libFuzzer reports the abort
// and keeps the input), and quiet for Qt's warnings (a refused seek on a buffer warns).
#include <QtCore/QByteArray>

#include <cstdio>
#include <cstdlib>

inline void expect(bool holds, const char *what, const QByteArray &input)
{
    if (!holds) {
        std::fprintf(stderr, "broken expectation: %s\ninput: %s\n", what, input.toHex().constData());
        std::abort();
    }
}

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    return 0;
}

#endif
