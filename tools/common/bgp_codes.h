/*
 * BGP code points the tool works with, in one place: address families, the
 * SR Policy SAFI, message types and the path attributes the walker and the
 * encoder handle.
 */
#ifndef SRPOLICY_TOOL_BGP_CODES_H
#define SRPOLICY_TOOL_BGP_CODES_H

#include <cstddef>
#include <cstdint>

namespace srp {

const uint16_t kAfiIpv4 = 1u;
const uint16_t kAfiIpv6 = 2u;
const uint8_t kSafiSrPolicy = 73u;

/* Message header: marker, length, type. */
const size_t kBgpHeaderLen = 19u;

/* Message types. */
const uint8_t kBgpOpen = 1u;
const uint8_t kBgpUpdate = 2u;
const uint8_t kBgpNotification = 3u;
const uint8_t kBgpKeepalive = 4u;
const uint8_t kBgpRouteRefresh = 5u;

/* OPEN optional parameters and capability codes. */
const uint8_t kParamCapabilities = 2u;
const uint8_t kParamExtendedLength = 255u; /* RFC 9072 */
const uint8_t kCapMultiprotocol = 1u;
const uint8_t kCapRouteRefresh = 2u;
const uint8_t kCapExtendedMessage = 6u;
const uint8_t kCapAs4 = 65u;

/* Path attribute flags and types. */
const uint8_t kAttrFlagOptional = 0x80u;
const uint8_t kAttrFlagTransitive = 0x40u;
const uint8_t kAttrFlagExtLen = 0x10u;
const uint8_t kAttrOrigin = 1u;
const uint8_t kAttrAsPath = 2u;
const uint8_t kAttrNextHop = 3u;
const uint8_t kAttrLocalPref = 5u;
const uint8_t kAttrMpReach = 14u;
const uint8_t kAttrMpUnreach = 15u;
const uint8_t kAttrTnlEncap = 23u;

/* An address family the SR Policy SAFI is defined for. */
inline bool IsSrPolicyFamily(uint16_t usAfi, uint8_t ucSafi)
{
    return (usAfi == kAfiIpv4 || usAfi == kAfiIpv6) && ucSafi == kSafiSrPolicy;
}

}  // namespace srp

#endif
