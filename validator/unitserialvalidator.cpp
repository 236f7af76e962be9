#include "unitserialvalidator.h"

UnitSerialValidator::UnitSerialValidator(QObject *parent)
    : QValidator(parent)
{ }

UnitSerialValidator::~UnitSerialValidator() { }

QValidator::State UnitSerialValidator::validate(QString &, int &) const
{
    return Invalid;
}
