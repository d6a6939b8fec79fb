/*
 * What an RFC 9830 receiver makes of the encoder's output. The plug-in writes
 * its host's code points, and some of them mean something else there (or
 * nothing): the encoder tells its users, per route, which ones it wrote.
 */
#ifndef SRPOLICY_TOOL_INTEROP_H
#define SRPOLICY_TOOL_INTEROP_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace srp {

/* Warnings for a Tunnel Encapsulation attribute value as written: SRv6
 * segments as sub-TLV 2, path MTU as sub-TLV 13 of length 6, segment-list
 * binding SIDs as sub-TLV 33, segments with flags 0x80, and SRv6 binding SIDs
 * with the B-flag whose structure lengths add up past 128 bits. */
std::vector<std::string> InteropWarnings(const uint8_t *p, size_t n);

}  // namespace srp

#endif
