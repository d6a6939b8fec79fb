/* Signals into a poll loop through a non-blocking pipe. */
#include "common/signal_pipe.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>

namespace srp {

namespace {

int g_aiPipe[2] = {-1, -1};

void OnSignal(int iSignal)
{
    int iSaved = errno;
    unsigned char uc = static_cast<unsigned char>(iSignal);
    ssize_t lRc = write(g_aiPipe[1], &uc, 1u);
    (void)lRc;
    errno = iSaved;
}

}  // namespace

bool SignalPipe::Open(std::initializer_list<int> ilSignals, std::string &strError)
{
    if (pipe2(g_aiPipe, O_CLOEXEC | O_NONBLOCK) != 0) {
        strError = std::string("pipe: ") + std::strerror(errno);
        return false;
    }
    struct sigaction sa;
    std::memset(&sa, 0, sizeof(sa));
    sa.sa_handler = OnSignal;
    sa.sa_flags = SA_RESTART;
    sigemptyset(&sa.sa_mask);
    sigset_t stSet;
    sigemptyset(&stSet);
    for (int iSignal : ilSignals) {
        sigaction(iSignal, &sa, nullptr);
        sigaddset(&stSet, iSignal);
        m_vecSignals.push_back(iSignal);
    }
    sigprocmask(SIG_UNBLOCK, &stSet, nullptr);
    signal(SIGPIPE, SIG_IGN);
    return true;
}

SignalPipe::~SignalPipe()
{
    for (int iSignal : m_vecSignals) {
        signal(iSignal, SIG_DFL);
    }
    for (int &iFd : g_aiPipe) {
        if (iFd >= 0) {
            close(iFd);
            iFd = -1;
        }
    }
}

int SignalPipe::Fd() const { return g_aiPipe[0]; }

std::vector<int> SignalPipe::Take()
{
    std::vector<int> vec;
    unsigned char auc[16];
    ssize_t lRc;
    while ((lRc = read(g_aiPipe[0], auc, sizeof(auc))) > 0) {
        vec.insert(vec.end(), auc, auc + lRc);
    }
    return vec;
}

}  // namespace srp
