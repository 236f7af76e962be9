#include "identitypage.h"

#include <QStringList>

IdentityPage::IdentityPage(QWidget *parent)
    : QWidget(parent)
    , m_progress(new QProgressBar(this))
    , m_serial(new QLabel(this))
{
    connect(&m_helper, SIGNAL(progressStepCountChanged(int)), this, SLOT(setStepCount(int)));
    connect(&m_helper, SIGNAL(progressCurStepChanged(int)), m_progress, SLOT(setValue(int)));
}

void IdentityPage::setStepCount(int stepCount)
{
    m_progress->setRange(0, stepCount - 1); // the steps run from 0 to stepCount - 1
}

void IdentityPage::identify()
{
    m_helper.discover(); // blocks; the signals arrive from inside the call (QProgressBar repaints at once)
    if (m_helper.status(QLatin1String("cb")) != hmi::HwInfoHelper::OK)
        qWarning("The carrier board's memory could not be read.");
    try {
        const QString serial = m_helper.unitSerial();
        if (serial.isNull()) // no candidate, or several: a person has to decide
            m_serial->setText(tr("Unknown (candidates: %1)")
                                  .arg(QStringList(m_helper.probableSerials()).join(QLatin1String(", "))));
        else
            m_serial->setText(serial);
    } catch (const hmi::HwInfoHelper::StatusFlags &status) {
        // The serial was adopted, but the serials cache file could not be written.
        const char *key = hmi::HwInfoHelper::statusMetaEnum().valueToKey(int(status));
        m_serial->setText(tr("Error %1 while keeping the serial").arg(QLatin1String(key)));
    }
}
