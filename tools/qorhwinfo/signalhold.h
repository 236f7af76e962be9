#ifndef QORHWINFO_TOOL_SIGNALHOLD_H
#define QORHWINFO_TOOL_SIGNALHOLD_H

#include <signal.h>

/**
 * Holds SIGINT, SIGTERM, SIGHUP and SIGQUIT while a sequence of store writes runs, so that a technician's
 * Ctrl-C or a closing terminal cannot stop it in the middle of a store: the sequence asks between stores
 * whether one arrived and stops there. The signals stay held until the process exits with its own status,
 * so one that arrived is never delivered.
 */
class SignalHold
{
public:
    SignalHold();

    /** Whether one of the held signals arrived since the hold began. */
    bool interrupted() const;
    /** The signal's name, e.g. "SIGINT"; empty when none arrived. */
    const char *signalName() const;

private:
    SignalHold(const SignalHold &);
    SignalHold &operator=(const SignalHold &);

    sigset_t m_held;
};

#endif
