/*
 * The tool's own look at a Tunnel Encapsulation attribute value: the tunnel
 * TLVs it holds and the sub-TLVs of the first one. The plug-in decodes only
 * the first tunnel, and only of type 15; this view tells the user what else
 * the value carried, and reads the sub-TLVs of the normalised value that the
 * plug-in keeps without a field of its own.
 */
#ifndef SRPOLICY_TOOL_TUNNEL_ENCAP_H
#define SRPOLICY_TOOL_TUNNEL_ENCAP_H

#include <cstdint>
#include <string>
#include <vector>

#include "common/bytes.h"

namespace srp {

const uint16_t kTunnelSrPolicy = 15u;

/* Sub-TLV types of an SR Policy tunnel. */
const uint8_t kSubTlvEnlp = 14u;
const uint8_t kSubTlvPriority = 15u;
const uint8_t kSubTlvSegmentList = 128u;
const uint8_t kSubTlvCandidatePathName = 129u;
const uint8_t kSubTlvPolicyName = 130u;

struct TunnelTlv {
    uint16_t usType = 0;
    uint16_t usLen = 0;
};

struct SubTlv {
    uint8_t ucType = 0;
    const uint8_t *pValue = nullptr; /* inside the scanned value */
    uint16_t usLen = 0;
};

struct TunnelEncapView {
    std::vector<TunnelTlv> vecTunnels; /* every tunnel TLV, in order */
    std::vector<SubTlv> vecSubTlvs;    /* the sub-TLVs of the first tunnel */
};

/* Scans a Tunnel Encapsulation attribute value (types < 128 have a 1-byte
 * sub-TLV length, the others 2 bytes), replacing what stView held. */
void ScanTunnelEncap(const uint8_t *p, size_t n, TunnelEncapView &stView);

/* True for the sub-TLV types the plug-in decodes into fields. */
bool IsDecodedSubTlv(uint8_t ucType);

/* A name sub-TLV as received: its name length on the wire (the value less
 * its reserved byte), which the plug-in may have cut to 255. */
struct WireName {
    uint8_t ucType = 0;
    uint16_t usLen = 0;
};

/* What the received value says that its normalised form cannot. */
struct WireNotes {
    std::vector<std::string> vecWarnings; /* tunnels the plug-in leaves out */
    std::vector<WireName> vecNames;
    void Clear()
    {
        vecWarnings.clear();
        vecNames.clear();
    }
};

/* Notes of a received value (before the plug-in changes it): a first tunnel
 * that is not SR Policy, tunnels after the first, the names' wire lengths. */
void NoteWireValue(const uint8_t *p, size_t n, WireNotes &stNotes);

}  // namespace srp

#endif
