/*
 * One direction of a TCP connection put back in order. Segments may come out
 * of order, twice, or overlapping; the stream hands on each byte once, in
 * sequence order. A hole that is never filled (a segment missing from the
 * capture) is skipped when too much data waits behind it or when the stream
 * ends, and reported as a gap.
 */
#ifndef SRPOLICY_TOOL_TCP_REASSEMBLY_H
#define SRPOLICY_TOOL_TCP_REASSEMBLY_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>

#include "common/bytes.h"

namespace srp {

class TcpStream {
public:
    using DataFn = std::function<void(const uint8_t *p, size_t n)>;
    /* ullLost bytes are missing before the next data; bMidStream is set when
     * the capture joined a connection already running (no SYN seen). */
    using GapFn = std::function<void(uint64_t ullLost, bool bMidStream)>;

    TcpStream(DataFn fnData, GapFn fnGap, size_t ulMaxPending = 4u << 20);

    void Segment(uint32_t ulSeq, bool bSyn, const uint8_t *p, size_t n);
    /* End of capture: skip any hole and hand on what waits behind it. */
    void Finish();

    uint64_t Delivered() const { return m_ullNext; }
    size_t PendingBytes() const { return m_ulPending; }

private:
    void Deliver(uint64_t ullOff, const uint8_t *p, size_t n);
    void Drain();
    void SkipHole();

    DataFn m_fnData;
    GapFn m_fnGap;
    size_t m_ulMaxPending;
    bool m_bStarted = false;
    uint32_t m_ulNextSeq = 0; /* sequence number of the next byte to hand on */
    uint64_t m_ullNext = 0;   /* its offset in the stream */
    std::map<uint64_t, Bytes> m_mapPending; /* out-of-order data by stream offset */
    size_t m_ulPending = 0;
};

}  // namespace srp

#endif
