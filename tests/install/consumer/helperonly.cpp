// An application that uses only what libqorhwinfo exports and links nothing but libqorhwinfo (pkg-config
// without qorutils): the loader must find libqorutils through libqorhwinfo alone.
#include <qorhwinfo/hwinfohelper.h>
#include <qorhwinfo/unitserialvalidator.h>

int main()
{
    QString text = QLatin1String("7");
    int pos = 1;
    UnitSerialValidator validator(0);
    validator.validate(text, pos);
    // Reads the cache file through libqorutils' framing; whatever it answers, the call must get there.
    hmi::HwInfoHelper::quickNonValidatedSerial();
    return text == QLatin1String("I000007") && hmi::HwInfoHelper::statusMetaEnum().keyToValue("ERROR") == 8
        ? 0
        : 1;
}
