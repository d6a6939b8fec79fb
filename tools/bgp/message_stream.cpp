/* BGP message framing over a byte stream. */
#include "bgp/message_stream.h"

#include <algorithm>

namespace srp {

namespace {

/* Smallest length of each message type (OPEN, UPDATE, NOTIFICATION,
 * KEEPALIVE, ROUTE-REFRESH). */
size_t MinLength(uint8_t ucType)
{
    switch (ucType) {
        case kBgpOpen: return 29u;
        case kBgpUpdate: return 23u;
        case kBgpNotification: return 21u;
        case kBgpKeepalive: return 19u;
        case 5: return 23u;
        default: return 0u;
    }
}

bool AllOnes(const uint8_t *p, size_t n)
{
    for (size_t i = 0; i < n; i++) {
        if (p[i] != 0xFFu) {
            return false;
        }
    }
    return true;
}

}  // namespace

bool IsPlausibleBgpHeader(const uint8_t *p)
{
    if (!AllOnes(p, 16u)) {
        return false;
    }
    size_t ulLen = Be16(p + 16);
    size_t ulMin = MinLength(p[18]);
    return ulMin != 0u && ulLen >= ulMin && (p[18] != 4u || ulLen == kBgpHeaderLen);
}

BgpStreamSplitter::BgpStreamSplitter(MessageFn fnMessage, ErrorFn fnError)
    : m_fnMessage(std::move(fnMessage)), m_fnError(std::move(fnError))
{
}

void BgpStreamSplitter::Feed(const uint8_t *p, size_t n)
{
    if (n == 0u) {
        return;
    }
    m_vecBuf.insert(m_vecBuf.end(), p, p + n);
    Process();
}

void BgpStreamSplitter::Consume(size_t n)
{
    m_ulRead += n;
    m_ullOffset += n;
    /* Keep the buffer from growing without bound: drop what was consumed
     * once it is the larger part. */
    if (m_ulRead > 65536u && m_ulRead * 2u > m_vecBuf.size()) {
        m_vecBuf.erase(m_vecBuf.begin(), m_vecBuf.begin() + static_cast<std::ptrdiff_t>(m_ulRead));
        m_ulRead = 0;
    }
}

void BgpStreamSplitter::Process()
{
    for (;;) {
        size_t ulAvail = m_vecBuf.size() - m_ulRead;
        const uint8_t *p = m_vecBuf.data() + m_ulRead;
        if (m_bResync) {
            /* Look for a plausible header; keep a tail that may be the start
             * of a marker cut by the end of the data so far. */
            size_t i = 0;
            while (i + kBgpHeaderLen <= ulAvail && !IsPlausibleBgpHeader(p + i)) {
                i++;
            }
            Consume(i);
            if (i + kBgpHeaderLen > ulAvail) {
                return;
            }
            m_bResync = false;
            continue;
        }
        if (ulAvail < kBgpHeaderLen) {
            return;
        }
        if (!AllOnes(p, 16u)) {
            m_fnError("bad BGP marker", m_ullOffset);
            m_bResync = true;
            Consume(1u);
            continue;
        }
        size_t ulLen = Be16(p + 16);
        size_t ulMin = MinLength(p[18]);
        if (ulLen < kBgpHeaderLen || (ulMin != 0u && ulLen < ulMin)) {
            m_fnError("impossible BGP message length " + std::to_string(ulLen) + " for type " +
                          std::to_string(p[18]),
                      m_ullOffset);
            m_bResync = true;
            Consume(1u);
            continue;
        }
        if (ulAvail < ulLen) {
            return;
        }
        m_fnMessage(p, ulLen, m_ullOffset);
        Consume(ulLen);
    }
}

void BgpStreamSplitter::Gap(uint64_t ullLost, bool bReport)
{
    size_t ulLeft = m_vecBuf.size() - m_ulRead;
    if (bReport && !m_bResync && ulLeft > 0u) {
        m_fnError("message cut by " + std::to_string(ullLost) + " missing bytes", m_ullOffset);
    }
    m_vecBuf.clear();
    m_ulRead = 0;
    m_ullOffset += ulLeft + ullLost;
    m_bResync = true;
}

void BgpStreamSplitter::Finish()
{
    size_t ulLeft = m_vecBuf.size() - m_ulRead;
    if (ulLeft == 0u) {
        return;
    }
    /* Bytes skipped while looking for a marker belong to an error already
     * reported (or to a capture that began mid-stream). */
    if (!m_bResync && ulLeft < kBgpHeaderLen) {
        m_fnError("truncated BGP header: " + std::to_string(ulLeft) + " of 19 bytes", m_ullOffset);
    } else if (!m_bResync) {
        const uint8_t *p = m_vecBuf.data() + m_ulRead;
        m_fnError("truncated BGP message: " + std::to_string(ulLeft) + " of " + std::to_string(Be16(p + 16)) +
                      " bytes",
                  m_ullOffset);
    }
    Consume(ulLeft);
}

}  // namespace srp
