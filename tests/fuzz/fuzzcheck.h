#ifndef QORHWINFO_FUZZ_FUZZCHECK_H
#define QORHWINFO_FUZZ_FUZZCHECK_H

#include <QtCore/QByteArray>

/**
 * What the fuzz targets share: an assertion that stays on in optimised builds and ends the run as a
 * finding, and quiet for Qt's own warnings (a refused seek on a buffer warns), which would otherwise
 * drown the fuzzer's output.
 */
class FuzzCheck
{
public:
    /** Aborts, which libFuzzer reports as a crash and saves the input for, when @p holds is false. */
    static void expect(bool holds, const char *what);
    /** As expect(), with the input shown in hex. */
    static void expect(bool holds, const char *what, const QByteArray &input);

    static void silenceQtMessages();

    /** The input as a byte array that shares libFuzzer's buffer. */
    static QByteArray bytes(const unsigned char *data, size_t size);
};

#endif
