/*
 * Output of a live command: printed blocks queue in memory and a thread of
 * their own writes them to the descriptor, so a slow reader of standard
 * output never holds up the sessions. The queue is bounded by the owner: it
 * asks Full() and stops taking input while it is.
 */
#ifndef SRPOLICY_TOOL_LIVE_OUTPUT_H
#define SRPOLICY_TOOL_LIVE_OUTPUT_H

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace srp {

class LiveOutput {
public:
    LiveOutput(int iFd, size_t ulLimit);
    /* Writes out everything queued, then ends the thread. */
    ~LiveOutput();
    LiveOutput(const LiveOutput &) = delete;
    LiveOutput &operator=(const LiveOutput &) = delete;

    /* Queues a block (taken over; strBlock comes back empty, with the room
     * of a block already written when there is one); false once a write
     * has failed. */
    bool Push(std::string &strBlock);
    size_t Pending() const;
    bool Full() const { return Pending() >= m_ulLimit; }
    size_t Limit() const { return m_ulLimit; }
    /* Waits until everything queued is written. */
    void Drain();

private:
    void Writer();

    int m_iFd;
    size_t m_ulLimit;
    mutable std::mutex m_mutex;
    std::condition_variable m_cvWork;
    std::condition_variable m_cvDone;
    std::deque<std::string> m_deqBlocks;
    /* Written blocks kept for their room, so that the owner's buffer is not
     * grown again after every hand-off. */
    static constexpr size_t kSpareBlocks = 4u;
    std::vector<std::string> m_vecSpare;
    size_t m_ulPending = 0;
    bool m_bStop = false;
    bool m_bFailed = false;
    std::thread m_thread;
};

}  // namespace srp

#endif
