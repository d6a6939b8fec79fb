/*
 * Cuts a byte stream into BGP messages (19-byte header: 16-byte marker of all
 * ones, 2-byte length, 1-byte type). Input arrives in pieces (file blocks,
 * reassembled TCP data); a complete message is handed on as soon as its last
 * byte is in. A bad marker or an impossible length is reported once and the
 * splitter then looks for the next marker, so one broken message does not end
 * the stream.
 */
#ifndef SRPOLICY_TOOL_BGP_MESSAGE_STREAM_H
#define SRPOLICY_TOOL_BGP_MESSAGE_STREAM_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include "common/bgp_codes.h"
#include "common/bytes.h"

namespace srp {

const size_t kBgpMaxLen = 65535u; /* extended messages allow up to 65535 */

/* True when p (at least 19 bytes) starts a plausible BGP message header. */
bool IsPlausibleBgpHeader(const uint8_t *p);

class BgpStreamSplitter {
public:
    /* A whole message (header included) that starts at stream offset ullOffset. */
    using MessageFn = std::function<void(const uint8_t *p, size_t n, uint64_t ullOffset)>;
    /* A framing problem at stream offset ullOffset. */
    using ErrorFn = std::function<void(const std::string &strWhat, uint64_t ullOffset)>;

    BgpStreamSplitter(MessageFn fnMessage, ErrorFn fnError);

    void Feed(const uint8_t *p, size_t n);
    /* Bytes were lost before the next Feed: drop any partial message (an
     * error when bReport) and look for the next marker. ullLost bytes are
     * skipped in the offsets. */
    void Gap(uint64_t ullLost, bool bReport);
    /* The stream has ended: a partial message left over is reported. */
    void Finish();
    /* Start by looking for a marker (a capture that begins mid-stream). */
    void StartResync() { m_bResync = true; }

private:
    void Process();
    void Consume(size_t n);

    MessageFn m_fnMessage;
    ErrorFn m_fnError;
    Bytes m_vecBuf;
    size_t m_ulRead = 0;        /* first unconsumed byte in m_vecBuf */
    uint64_t m_ullOffset = 0;   /* stream offset of m_vecBuf[m_ulRead] */
    bool m_bResync = false;     /* looking for the next marker */
};

}  // namespace srp

#endif
