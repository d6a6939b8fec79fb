/* Builders of BMP messages and the BGP messages inside them, for the BMP
 * tests. */
#ifndef SRPOLICY_TOOL_BMP_BUILDERS_H
#define SRPOLICY_TOOL_BMP_BUILDERS_H

#include <algorithm>
#include <string>
#include <vector>

#include "common/bytes.h"
#include "test_support.h"

namespace srp_test {

/* A BMP message: common header (version 3, length, type) and the body. */
inline Bytes Bmp(uint8_t ucType, const Bytes &vecBody)
{
    Bytes v{3u};
    srp::Put32(v, static_cast<uint32_t>(6u + vecBody.size()));
    v.push_back(ucType);
    v.insert(v.end(), vecBody.begin(), vecBody.end());
    return v;
}

/* A per-peer header; an IPv4 address sits in the last 4 of 16 bytes. Time
 * stamp 1700000000.000250. */
inline Bytes PeerHeader(uint8_t ucType, uint8_t ucFlags, uint32_t ulAddr, uint32_t ulAs, uint32_t ulBgpId = 0x0A0000FFu)
{
    Bytes v{ucType, ucFlags};
    v.insert(v.end(), 8u + 12u, 0u); /* distinguisher, address padding */
    srp::Put32(v, ulAddr);
    srp::Put32(v, ulAs);
    srp::Put32(v, ulBgpId);
    srp::Put32(v, 1700000000u);
    srp::Put32(v, 250u);
    return v;
}

/* Peer Up's local address 127.0.0.1, local port 179, remote port 50000. */
inline Bytes PeerUpFixed()
{
    Bytes v(12u, 0u);
    srp::Put32(v, 0x7F000001u);
    srp::Put16(v, 179u);
    srp::Put16(v, 50000u);
    return v;
}

inline Bytes Tlv(uint16_t usType, const Bytes &vecValue)
{
    Bytes v;
    srp::Put16(v, usType);
    srp::Put16(v, static_cast<uint32_t>(vecValue.size()));
    v.insert(v.end(), vecValue.begin(), vecValue.end());
    return v;
}
inline Bytes Tlv(uint16_t usType, const std::string &strValue)
{
    return Tlv(usType, Text(strValue));
}

/* An UPDATE with no withdrawn routes and no attributes. */
inline Bytes EmptyUpdate() { return Bgp(2u, Bytes{0, 0, 0, 0}); }

}  // namespace srp_test

#endif
