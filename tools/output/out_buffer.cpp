/* Block writes of printed output. */
#include "output/out_buffer.h"

#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <utility>

namespace srp {

OutBuffer::OutBuffer(int iFd, size_t ulCapacity) : m_iFd(iFd), m_ulCapacity(ulCapacity)
{
    m_strBuf.reserve(ulCapacity + 4096u);
    m_bInteractive = isatty(iFd) == 1;
}

OutBuffer::OutBuffer(Sink fnSink, size_t ulCapacity) : m_iFd(-1), m_fnSink(std::move(fnSink)), m_ulCapacity(ulCapacity)
{
    m_strBuf.reserve(ulCapacity + 4096u);
}

OutBuffer::~OutBuffer() { Flush(); }

void OutBuffer::Write(const char *p, size_t n)
{
    if (m_strBuf.size() + n > m_ulCapacity) {
        Flush();
        if (n >= m_ulCapacity) { /* a block larger than the buffer goes straight out */
            m_strBuf.assign(p, n);
            Flush();
            return;
        }
    }
    m_strBuf.append(p, n);
}

OutBuffer &OutBuffer::operator<<(uint64_t ull)
{
    char ac[24];
    std::to_chars_result r = std::to_chars(ac, ac + sizeof(ac), ull);
    Write(ac, static_cast<size_t>(r.ptr - ac));
    return *this;
}

bool OutBuffer::Flush()
{
    if (m_fnSink) {
        if (!m_strBuf.empty() && !m_bFailed) {
            m_bFailed = !m_fnSink(m_strBuf);
        }
        m_strBuf.clear();
        if (m_strBuf.capacity() < m_ulCapacity) { /* the sink kept the block and its room */
            m_strBuf.reserve(m_ulCapacity + 4096u);
        }
        return !m_bFailed;
    }
    size_t ulDone = 0;
    while (!m_bFailed && ulDone < m_strBuf.size()) {
        ssize_t lRc = write(m_iFd, m_strBuf.data() + ulDone, m_strBuf.size() - ulDone);
        if (lRc < 0 && errno == EINTR) {
            continue;
        }
        if (lRc <= 0) {
            m_bFailed = true;
            break;
        }
        ulDone += static_cast<size_t>(lRc);
    }
    m_strBuf.clear();
    return !m_bFailed;
}

}  // namespace srp
