#include "serialentrywindow.h"

#include <qorhwinfo/unitserialvalidator.h>

#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QRegularExpression>

namespace {

// The validator rewrites every text it accepts, but an emptied field, or one set by the program, may
// still hold something else: only "I" and six digits is a serial.
bool isCompleteSerial(const QString &text)
{
    static const QRegularExpression serial(QStringLiteral("\\AI[0-9]{6}\\z"));
    return serial.match(text).hasMatch();
}

} // namespace

SerialEntryWindow::SerialEntryWindow(QWidget *parent)
    : QWidget(parent)
    , m_serialField(new QLineEdit(this))
    , m_state(new QLabel(this))
{
    setWindowTitle(tr("Serial entry"));

    m_serialField->setValidator(new UnitSerialValidator(m_serialField));
    m_serialField->setPlaceholderText(tr("I000000"));
    m_serialField->setClearButtonEnabled(true);

    auto *layout = new QFormLayout(this);
    layout->addRow(tr("Unit serial:"), m_serialField);
    layout->addRow(m_state);

    connect(m_serialField, &QLineEdit::textChanged, this, &SerialEntryWindow::showCompleteness);
    showCompleteness();
}

QLineEdit *SerialEntryWindow::serialField() const
{
    return m_serialField;
}

void SerialEntryWindow::showCompleteness()
{
    const QString text = m_serialField->text();
    if (isCompleteSerial(text)) {
        m_state->setText(tr("Complete serial: %1").arg(text));
    } else {
        m_state->setText(tr("Type the digits of the serial; the I and the leading zeros are added for you."));
    }
}
