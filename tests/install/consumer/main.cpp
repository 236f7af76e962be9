// An application of the instrument: C++98 under Qt 4, and whatever its Qt needs under Qt 5 and 6. It
// includes every installed header, so that each of them is compiled the way such an application would.
// Built with QOR_HELPER_ONLY it uses libqorhwinfo alone, which must find libqorutils by itself.
#include <qorhwinfo/hwinfohelper.h>
#include <qorhwinfo/unitserialvalidator.h>
#include <qorutils/devicedescriptor.h>
#include <qorutils/exception.h>
#include <qorutils/frameheader.h>
#include <qorutils/piciodevice.h>
#include <qorutils/romstorage.h>
#include <qorutils/sysfsfile.h>
#include <qorutils/uiodevice.h>

#include <QtCore/QBuffer>

int main()
{
    QString text = QLatin1String("12");
    int pos = 2;
    UnitSerialValidator validator(0);
    if (validator.validate(text, pos) != QValidator::Acceptable || text != QLatin1String("I000012"))
        return 1;
    // Reads the cache file through libqorutils' framing; whatever it answers, the call must get there.
    hmi::HwInfoHelper::quickNonValidatedSerial();
#ifndef QOR_HELPER_ONLY
    hmi::HwInfoHelper::Serials written;
    written.unit = text;
    QVariantMap record;
    written.writeTo(record);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    ROMStorage(QVariant(record)).saveTo(buffer, 112);
    buffer.close();
    buffer.open(QIODevice::ReadOnly);
    text = hmi::HwInfoHelper::Serials(ROMStorage(buffer).payload().toMap()).unit;
    if (!FrameHeader(bytes).isComplete())
        return 1;
    try {
        throw hmi::Exception(QLatin1String("thrown and caught across the library boundary"));
    } catch (const hmi::Exception &) { }
#endif
    return text == QLatin1String("I000012") && hmi::HwInfoHelper::statusMetaEnum().isValid() ? 0 : 1;
}
