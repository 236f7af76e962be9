#include "serialentrywindow.h"

#include <qorhwinfo/unitserialvalidator.h>

#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>

namespace {

// The validator rewrites every text it accepts, but an emptied field, or one set by the program, may
// still hold something else: only "I" and six digits is a serial.
bool isCompleteSerial(const QString &text)
{
    if (text.length() != 7 || text.at(0) != QLatin1Char('I'))
        return false;
    for (int i = 1; i < text.length(); ++i) {
        if (text.at(i) < QLatin1Char('0') || text.at(i) > QLatin1Char('9'))
            return false;
    }
    return true;
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
#if QT_VERSION >= 0x050200
    m_serialField->setClearButtonEnabled(true);
#endif

    QFormLayout *layout = new QFormLayout(this);
    layout->addRow(tr("Unit serial:"), m_serialField);
    layout->addRow(m_state);

    connect(m_serialField, SIGNAL(textChanged(QString)), this, SLOT(showCompleteness()));
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
