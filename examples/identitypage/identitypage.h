#ifndef IDENTITYPAGE_H
#define IDENTITYPAGE_H

// A page of an instrument's application that establishes the unit's identity and shows it, with discovery's
// progress. C++98 against Qt 4, as on the instrument; the same source builds against Qt 5 and 6.
#include <qorhwinfo/hwinfohelper.h>

#include <QLabel>
#include <QProgressBar>

class IdentityPage : public QWidget
{
    Q_OBJECT

public:
    explicit IdentityPage(QWidget *parent = 0);

public Q_SLOTS:
    /** Runs discovery (it blocks) and shows the unit serial, the candidates or the unit-level status. */
    void identify();

private Q_SLOTS:
    void setStepCount(int stepCount);

private:
    hmi::HwInfoHelper m_helper; // one helper, used from this (the GUI) thread only
    QProgressBar *m_progress;
    QLabel *m_serial;
};

#endif
