/*
 * Fields of a Tunnel Encapsulation attribute as the plug-in itself lays them
 * out in its conditional-route attribute message (TLVs with 4-byte type and
 * length). The tool reads the attribute's fields from that message instead of
 * decoding the attribute a second time; only the segment sub-TLVs inside a
 * segment list, which the message carries as stored bytes, are split here.
 */
#ifndef SRPOLICY_TOOL_CONDRT_H
#define SRPOLICY_TOOL_CONDRT_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "common/bytes.h"

namespace srp {

struct BindingSid {
    uint8_t ucFlags = 0; /* 0x80 S-flag, 0x40 I-flag */
    uint8_t ucType = 0;  /* 0 none, 1 MPLS label, 2 SRv6 SID */
    uint32_t ulLabel = 0;
    std::string strSid;
};

struct Srv6BindingSid {
    uint8_t ucFlags = 0;
    std::string strSid;
    uint16_t usBehavior = 0;
    uint8_t aucStructure[4] = {0, 0, 0, 0}; /* LB, LN, Func, Args */
};

/* One segment sub-TLV of a segment list. */
struct SegmentField {
    uint8_t ucType = 0;
    uint8_t ucFlags = 0;
    Bytes vecValue;                 /* the whole value */
    std::optional<uint32_t> oLabel; /* type 1 */
    std::string strSid;             /* types 2 and 13 (SID form) */
    std::vector<std::string> vecBindingSids; /* type 33 with SRv6 SIDs */
};

struct SegmentListField {
    std::optional<uint32_t> oWeight;
    std::optional<uint32_t> oPathMtu;
    std::vector<SegmentField> vecSegments; /* every segment sub-TLV, in order */
    Bytes vecRaw;                          /* the stored value */
    bool bMalformed = false;               /* sub-TLVs overran the value */
};

struct AttrFields {
    std::optional<uint32_t> oPreference;
    std::optional<uint32_t> oTemplateId;
    std::optional<uint32_t> oSliceId;
    std::optional<BindingSid> oBindingSid;
    std::vector<Srv6BindingSid> vecSrv6BindingSids;
    std::vector<SegmentListField> vecSegmentLists;
    std::optional<std::string> oCandidatePathName;
    std::optional<std::string> oPolicyName;
};

/* Reads a conditional-route attribute message into stFields, replacing what
 * it held and reusing its buffers. False (with a reason) when a TLV overruns
 * the message. */
bool ParseCondRtAttr(const Bytes &vecMsg, AttrFields &stFields, std::string &strError);

/* Splits one stored Segment List value (reserved byte first); the second
 * form refills stList, reusing its buffers. */
SegmentListField ParseSegmentList(const uint8_t *p, size_t n);
void ParseSegmentList(const uint8_t *p, size_t n, SegmentListField &stList);

}  // namespace srp

#endif
