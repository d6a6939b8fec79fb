/* TCP stream reassembly for captured BGP sessions. */
#include "input/tcp_reassembly.h"

namespace srp {

TcpStream::TcpStream(DataFn fnData, GapFn fnGap, size_t ulMaxPending)
    : m_fnData(std::move(fnData)), m_fnGap(std::move(fnGap)), m_ulMaxPending(ulMaxPending)
{
}

void TcpStream::Deliver(uint64_t ullOff, const uint8_t *p, size_t n)
{
    /* Only what lies at or after the next expected byte is new. */
    uint64_t ullEnd = ullOff + n;
    if (ullEnd <= m_ullNext) {
        return;
    }
    size_t ulSkip = static_cast<size_t>(m_ullNext - ullOff);
    size_t ulNew = n - ulSkip;
    m_ullNext += ulNew;
    m_ulNextSeq += static_cast<uint32_t>(ulNew);
    m_fnData(p + ulSkip, ulNew);
}

void TcpStream::Drain()
{
    while (!m_mapPending.empty() && m_mapPending.begin()->first <= m_ullNext) {
        auto it = m_mapPending.begin();
        m_ulPending -= it->second.size();
        Bytes vec = std::move(it->second);
        uint64_t ullOff = it->first;
        m_mapPending.erase(it);
        Deliver(ullOff, vec.data(), vec.size());
    }
}

void TcpStream::SkipHole()
{
    if (m_mapPending.empty()) {
        return;
    }
    uint64_t ullFirst = m_mapPending.begin()->first;
    uint64_t ullLost = ullFirst - m_ullNext;
    m_ulNextSeq += static_cast<uint32_t>(ullLost);
    m_ullNext = ullFirst;
    m_fnGap(ullLost, false);
    Drain();
}

void TcpStream::Segment(uint32_t ulSeq, bool bSyn, const uint8_t *p, size_t n)
{
    uint32_t ulDataSeq = bSyn ? ulSeq + 1u : ulSeq;
    if (!m_bStarted) {
        if (!bSyn && n == 0u) {
            return; /* a bare ACK tells nothing about where the data starts */
        }
        m_bStarted = true;
        m_ulNextSeq = ulDataSeq;
        if (!bSyn) {
            m_fnGap(0u, true);
        }
    }
    if (n == 0u) {
        return;
    }
    /* The distance from the next expected byte, taken modulo 2^32 so that
     * sequence numbers may wrap. */
    int64_t llDelta = static_cast<int32_t>(ulDataSeq - m_ulNextSeq);
    if (llDelta < 0 && static_cast<uint64_t>(-llDelta) > m_ullNext) {
        return; /* before the start of the stream */
    }
    uint64_t ullOff = static_cast<uint64_t>(static_cast<int64_t>(m_ullNext) + llDelta);
    if (ullOff <= m_ullNext) {
        Deliver(ullOff, p, n);
        Drain();
        return;
    }
    auto it = m_mapPending.find(ullOff);
    if (it != m_mapPending.end()) {
        if (it->second.size() >= n) {
            return; /* a retransmission of data already waiting */
        }
        m_ulPending -= it->second.size();
        m_mapPending.erase(it);
    }
    m_mapPending.emplace(ullOff, Bytes(p, p + n));
    m_ulPending += n;
    while (m_ulPending > m_ulMaxPending) {
        SkipHole();
    }
}

void TcpStream::Finish()
{
    while (!m_mapPending.empty()) {
        SkipHole();
    }
}

}  // namespace srp
