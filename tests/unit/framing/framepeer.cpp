// framepeer FRAMEHEX...: reads each frame with ROMStorage and prints, one line each, the frame that
// ROMStorage writes for the payload it read, or "corrupted". cborcrosscheck.py hands it frames of another
// CBOR encoder.
#include <qorutils/romstorage.h>

#include <QBuffer>

#include <cstdio>

int main(int argc, char *argv[])
{
    for (int i = 1; i < argc; ++i) {
        QBuffer memory;
        memory.setData(QByteArray::fromHex(argv[i]));
        memory.open(QIODevice::ReadOnly);
        const ROMStorage read(memory);
        std::printf("%s\n",
                    read.isValid() ? ROMStorage(read.payload()).frame().toHex().constData() : "corrupted");
    }
    return 0;
}
