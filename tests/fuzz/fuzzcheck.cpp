#include "fuzzcheck.h"

#include <QtCore/QtGlobal>

#include <cstdio>
#include <cstdlib>

namespace {

void discardMessage(QtMsgType, const QMessageLogContext &, const QString &) { }

} // namespace

void FuzzCheck::expect(bool holds, const char *what)
{
    if (holds)
        return;
    std::fprintf(stderr, "broken expectation: %s\n", what);
    std::abort();
}

void FuzzCheck::expect(bool holds, const char *what, const QByteArray &input)
{
    if (holds)
        return;
    std::fprintf(stderr, "broken expectation: %s\ninput: %s\n", what, input.toHex().constData());
    std::abort();
}

void FuzzCheck::silenceQtMessages()
{
    qInstallMessageHandler(discardMessage);
}

QByteArray FuzzCheck::bytes(const unsigned char *data, size_t size)
{
    // Not a copy: a read past the end of the input then runs off libFuzzer's exact-size buffer, which ASan
    // sees.
    return QByteArray::fromRawData(reinterpret_cast<const char *>(data), int(size));
}
