/*
 * Signals taken into a poll loop: the handler only writes the signal's
 * number into a pipe, whose read end the loop polls with its sockets. One
 * per process (the handler has nowhere else to write).
 */
#ifndef SRPOLICY_TOOL_SIGNAL_PIPE_H
#define SRPOLICY_TOOL_SIGNAL_PIPE_H

#include <initializer_list>
#include <string>
#include <vector>

namespace srp {

class SignalPipe {
public:
    SignalPipe() = default;
    SignalPipe(const SignalPipe &) = delete;
    SignalPipe &operator=(const SignalPipe &) = delete;
    /* Puts the signals back to their default handling and closes the pipe. */
    ~SignalPipe();

    /* Catches the signals (unblocking them: a parent may have blocked them)
     * and ignores SIGPIPE. False with the reason when the pipe cannot be made. */
    bool Open(std::initializer_list<int> ilSignals, std::string &strError);
    /* The end to poll for reading. */
    int Fd() const;
    /* The signals that arrived since the last call, in order. */
    std::vector<int> Take();

private:
    std::vector<int> m_vecSignals;
};

}  // namespace srp

#endif
