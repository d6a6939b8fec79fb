/* Helpers of the tool's unit tests and benchmarks: a sink that records what
 * readers find, the sample's messages, and builders of BGP messages and
 * capture files. */
#ifndef SRPOLICY_TOOL_TEST_SUPPORT_H
#define SRPOLICY_TOOL_TEST_SUPPORT_H

#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

#include "common/bytes.h"
#include "input/readers.h"

namespace srp_test {

using srp::Bytes;

struct Seen {
    std::string strKind; /* "msg", "rib", "error" */
    uint64_t ullOffset;
    Bytes vecData;
    std::string strSource;
};

class RecordingSink : public srp::InputSink {
public:
    void Message(const uint8_t *p, size_t n, const srp::Origin &o) override
    {
        vecSeen.push_back(Seen{"msg", o.ullOffset, Bytes(p, p + n), o.strSource});
    }
    void RibEntry(uint16_t, uint8_t, const uint8_t *pNlri, size_t ulNlri, const uint8_t *pAttrs, size_t ulAttrs,
                  const srp::Origin &o) override
    {
        Bytes v(pNlri, pNlri + ulNlri);
        v.insert(v.end(), pAttrs, pAttrs + ulAttrs);
        vecSeen.push_back(Seen{"rib", o.ullOffset, v, o.strSource});
    }
    void FramingError(const std::string &s, const srp::Origin &o) override
    {
        vecSeen.push_back(Seen{"error", o.ullOffset, Bytes(s.begin(), s.end()), o.strSource});
    }
    void Skipped() override { ulSkipped++; }

    std::string Kinds() const
    {
        std::string s;
        for (const Seen &st : vecSeen) {
            s += (s.empty() ? "" : " ") + st.strKind;
        }
        return s;
    }
    std::vector<Seen> vecSeen;
    size_t ulSkipped = 0;
};

inline Bytes Text(const std::string &s) { return Bytes(s.begin(), s.end()); }

/* Bytes of hex text (fields may be spaced); bad text throws, which fails
 * the test. */
inline Bytes Hex(const char *pc)
{
    Bytes v;
    std::string strError;
    if (!srp::ParseHex(pc, v, strError)) {
        throw std::invalid_argument(std::string(pc) + ": " + strError);
    }
    return v;
}

/* A BGP message: marker, length, type and the body. */
inline Bytes Bgp(uint8_t ucType, const Bytes &vecBody)
{
    Bytes v(16u, 0xFFu);
    srp::Put16(v, static_cast<uint32_t>(19u + vecBody.size()));
    v.push_back(ucType);
    v.insert(v.end(), vecBody.begin(), vecBody.end());
    return v;
}

/* A BGP message of the given type whose body is n bytes of fill. */
inline Bytes BgpMessage(uint8_t ucType, size_t n, uint8_t ucFill) { return Bgp(ucType, Bytes(n, ucFill)); }

inline Bytes Concat(const std::vector<Bytes> &vec)
{
    Bytes v;
    for (const Bytes &b : vec) {
        v.insert(v.end(), b.begin(), b.end());
    }
    return v;
}

/* One OPEN capability (code, length, value); the Multiprotocol and 4-octet
 * AS ones. */
inline Bytes Cap(uint8_t ucCode, const Bytes &vecValue)
{
    return Concat({{ucCode, static_cast<uint8_t>(vecValue.size())}, vecValue});
}
inline Bytes CapMp(uint16_t usAfi, uint8_t ucSafi)
{
    return Cap(1u, {static_cast<uint8_t>(usAfi >> 8), static_cast<uint8_t>(usAfi), 0u, ucSafi});
}
inline Bytes CapAs4(uint32_t ulAs)
{
    Bytes v;
    srp::Put32(v, ulAs);
    return Cap(65u, v);
}

/* An OPEN with one optional parameter of type ucParam (2: capabilities)
 * holding the capabilities; with the extended parameter lengths (255, 255,
 * then 2-byte lengths) when bExtended. */
struct OpenSpec {
    uint8_t ucVersion = 4;
    uint16_t usAs = 65001;
    uint16_t usHold = 90;
    uint32_t ulId = 0x7F000002u;
    std::vector<Bytes> vecCaps{CapMp(1u, 73u)};
    uint8_t ucParam = 2;
    bool bExtended = false;
};
inline Bytes BgpOpen(const OpenSpec &st)
{
    Bytes vecCaps = Concat(st.vecCaps);
    Bytes v{st.ucVersion};
    srp::Put16(v, st.usAs);
    srp::Put16(v, st.usHold);
    srp::Put32(v, st.ulId);
    if (st.bExtended) {
        v.insert(v.end(), {255u, 255u});
        srp::Put16(v, static_cast<uint32_t>(vecCaps.size() + 3u));
        v.push_back(st.ucParam);
        srp::Put16(v, static_cast<uint32_t>(vecCaps.size()));
    } else {
        v.push_back(static_cast<uint8_t>(vecCaps.size() + 2u));
        v.push_back(st.ucParam);
        v.push_back(static_cast<uint8_t>(vecCaps.size()));
    }
    v.insert(v.end(), vecCaps.begin(), vecCaps.end());
    return Bgp(1u, v);
}

/* Capture files are little-endian here. */
inline void PutLe(Bytes &v, uint32_t x, int iBytes)
{
    for (int i = 0; i < iBytes; i++) {
        v.push_back(static_cast<uint8_t>(x >> (8 * i)));
    }
}

/* The messages of the hand-checked sample, back to back. */
inline Bytes SampleStream()
{
    std::ifstream is(SRPOLICY_SAMPLES_DIR "/all_subtlvs.hex");
    std::string strText((std::istreambuf_iterator<char>(is)), std::istreambuf_iterator<char>());
    Bytes vec;
    std::string strError;
    srp::ParseHex(strText, vec, strError);
    return vec;
}

/* A classic pcap file (microsecond; Ethernet unless told) holding the frames. */
inline Bytes PcapFile(const std::vector<Bytes> &vecFrames, uint32_t ulLinkType = 1u)
{
    Bytes v;
    auto le32 = [&](uint32_t x) { PutLe(v, x, 4); };
    auto le16 = [&](uint32_t x) { PutLe(v, x, 2); };
    le32(0xA1B2C3D4u);
    le16(2u);
    le16(4u);
    le32(0u);
    le32(0u);
    le32(65535u);
    le32(ulLinkType);
    for (size_t i = 0; i < vecFrames.size(); i++) {
        le32(static_cast<uint32_t>(1000u + i));
        le32(0u);
        le32(static_cast<uint32_t>(vecFrames[i].size()));
        le32(static_cast<uint32_t>(vecFrames[i].size()));
        v.insert(v.end(), vecFrames[i].begin(), vecFrames[i].end());
    }
    return v;
}

/* The same frames in a pcapng file: section header, one Ethernet
 * interface, one enhanced packet block per frame. */
inline Bytes PcapngFile(const std::vector<Bytes> &vecFrames)
{
    Bytes v;
    auto le32 = [&](uint32_t x) { PutLe(v, x, 4); };
    auto block = [&](uint32_t ulType, const Bytes &vecBody) {
        uint32_t ulLen = static_cast<uint32_t>(12u + ((vecBody.size() + 3u) & ~size_t(3)));
        le32(ulType);
        le32(ulLen);
        v.insert(v.end(), vecBody.begin(), vecBody.end());
        v.insert(v.end(), (4u - vecBody.size() % 4u) % 4u, 0u);
        le32(ulLen);
    };
    block(0x0A0D0D0Au, Bytes{0x4D, 0x3C, 0x2B, 0x1A, 1, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF});
    block(1u, Bytes{1, 0, 0, 0, 0xFF, 0xFF, 0, 0});
    for (const Bytes &vecFrame : vecFrames) {
        Bytes vecBody(12u, 0u);
        PutLe(vecBody, static_cast<uint32_t>(vecFrame.size()), 4); /* captured */
        PutLe(vecBody, static_cast<uint32_t>(vecFrame.size()), 4); /* on the wire */
        vecBody.insert(vecBody.end(), vecFrame.begin(), vecFrame.end());
        block(6u, vecBody);
    }
    return v;
}

}  // namespace srp_test

#endif
