/* A writer thread behind the live commands' output. */
#include "output/live_output.h"

#include <unistd.h>

#include <cerrno>
#include <utility>

namespace srp {

LiveOutput::LiveOutput(int iFd, size_t ulLimit) : m_iFd(iFd), m_ulLimit(ulLimit), m_thread([this] { Writer(); }) {}

LiveOutput::~LiveOutput()
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_bStop = true;
    }
    m_cvWork.notify_one();
    m_thread.join();
}

bool LiveOutput::Push(std::string &strBlock)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_bFailed) {
        return false;
    }
    m_ulPending += strBlock.size();
    m_deqBlocks.push_back(std::move(strBlock));
    strBlock.clear();
    /* The caller fills a block written earlier next: its room is kept. */
    if (!m_vecSpare.empty()) {
        strBlock.swap(m_vecSpare.back());
        m_vecSpare.pop_back();
    }
    m_cvWork.notify_one();
    return true;
}

size_t LiveOutput::Pending() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_ulPending;
}

void LiveOutput::Drain()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_cvDone.wait(lock, [this] { return m_ulPending == 0u || m_bFailed; });
}

void LiveOutput::Writer()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    while (true) {
        m_cvWork.wait(lock, [this] { return m_bStop || !m_deqBlocks.empty(); });
        if (m_deqBlocks.empty()) {
            return; /* stopping with nothing left */
        }
        std::string strBlock = std::move(m_deqBlocks.front());
        m_deqBlocks.pop_front();
        lock.unlock();
        size_t ulDone = 0;
        bool bFailed = false;
        while (ulDone < strBlock.size()) {
            ssize_t lRc = write(m_iFd, strBlock.data() + ulDone, strBlock.size() - ulDone);
            if (lRc < 0 && errno == EINTR) {
                continue;
            }
            if (lRc <= 0) {
                bFailed = true;
                break;
            }
            ulDone += static_cast<size_t>(lRc);
        }
        lock.lock();
        m_ulPending -= strBlock.size();
        if (m_vecSpare.size() < kSpareBlocks) {
            strBlock.clear();
            m_vecSpare.push_back(std::move(strBlock));
        }
        m_bFailed = m_bFailed || bFailed;
        if (m_ulPending == 0u || m_bFailed) {
            m_cvDone.notify_all();
        }
        if (m_bFailed) {
            m_deqBlocks.clear();
            m_ulPending = 0u;
            m_cvDone.notify_all();
        }
    }
}

}  // namespace srp
