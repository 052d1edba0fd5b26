#include "platform/process/SignalsBlocked.h"

#include <csignal>
#include <cstring>

namespace lumora {

SignalsBlocked::SignalsBlocked()
{
    sigset_t all;
    sigset_t former;
    sigfillset(&all);
    // A blocked fault would end the host without the handler it may have for it.
    for (const int fault : { SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGSEGV, SIGSYS, SIGTRAP })
        sigdelset(&all, fault);
    pthread_sigmask(SIG_BLOCK, &all, &former);
    static_assert(sizeof former <= sizeof m_former);
    std::memcpy(m_former.data(), &former, sizeof former);
}

SignalsBlocked::~SignalsBlocked()
{
    sigset_t former;
    std::memcpy(&former, m_former.data(), sizeof former);
    pthread_sigmask(SIG_SETMASK, &former, nullptr);
}

} // namespace lumora
