#ifndef SERIALENTRYWINDOW_H
#define SERIALENTRYWINDOW_H

#include <QWidget>

class QLabel;
class QLineEdit;

/**
 * A window in which a person types a unit serial: the field takes only what can become a serial, and
 * the line beneath tells whether the text is a complete one yet.
 */
class SerialEntryWindow : public QWidget
{
    Q_OBJECT

public:
    explicit SerialEntryWindow(QWidget *parent = 0);

    QLineEdit *serialField() const;

private Q_SLOTS:
    void showCompleteness();

private:
    QLineEdit *m_serialField;
    QLabel *m_state;
};

#endif
