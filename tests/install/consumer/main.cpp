#include <qorhwinfo/hwinfohelper.h>
#include <qorhwinfo/unitserialvalidator.h>
#include <qorutils/romstorage.h>

#include <QBuffer>

int main()
{
    QString text = QStringLiteral("12");
    int pos = 2;
    UnitSerialValidator validator(nullptr);
    if (validator.validate(text, pos) != QValidator::Acceptable || text != QLatin1String("I000012"))
        return 1;

    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    ROMStorage(QVariant(QVariantMap { { QStringLiteral("unit"), QStringLiteral("I000012") } }))
        .saveTo(buffer, 112);
    buffer.close();
    buffer.open(QIODevice::ReadOnly);
    const hmi::HwInfoHelper::Serials serials(ROMStorage(buffer).payload().toMap());
    return serials.unit == text ? 0 : 1;
}
