#include "signalhold.h"

namespace {

const int heldSignals[] = { SIGINT, SIGTERM, SIGHUP, SIGQUIT };
const char *const heldNames[] = { "SIGINT", "SIGTERM", "SIGHUP", "SIGQUIT" };

} // namespace

SignalHold::SignalHold()
{
    sigemptyset(&m_held);
    for (int signal : heldSignals)
        sigaddset(&m_held, signal);
    sigprocmask(SIG_BLOCK, &m_held, nullptr);
}

bool SignalHold::interrupted() const
{
    return signalName()[0] != '\0';
}

const char *SignalHold::signalName() const
{
    sigset_t pending;
    sigemptyset(&pending);
    sigpending(&pending);
    for (int i = 0; i < 4; ++i) {
        if (sigismember(&pending, heldSignals[i]) == 1)
            return heldNames[i];
    }
    return "";
}
