/* The encoder's code points that RFC 9830 receivers read differently. */
#include "encode/interop.h"

#include "bgp/tunnel_encap.h"
#include "common/bytes.h"

namespace srp {

namespace {

const uint8_t kSubTlvSrv6BindingSid = 20u;
const uint8_t kSegSrv6Host = 2u;     /* SRv6 SID segment, host code point */
const uint8_t kSegType13 = 13u;      /* path MTU when of length 6 */
const uint8_t kSegListBsid = 33u;
const uint8_t kSrv6BsidBFlag = 0x20u; /* behavior and structure follow */

/* One row per kind of warning: seen at most once per route. */
enum Kind { kWarnSrv6Segment, kWarnPathMtu, kWarnSegListBsid, kWarnFlag80, kWarnStructure, kKinds };

const char *const g_apcText[kKinds] = {
    "SRv6 segments written as segment sub-TLV 2; RFC 9830 gives SRv6 SID segments type 13 and receivers that "
    "follow it refuse the UPDATE",
    "path MTU written as segment sub-TLV 13 of length 6; RFC 9830 receivers read type 13 as an SRv6 SID segment "
    "and refuse the length",
    "segment-list binding SID written as segment sub-TLV 33, which RFC 9830 does not define",
    "segments written with flags 0x80; RFC 9830 receivers read 0x80 as the V-flag (verify the SID)",
    "SRv6 binding SID with the B-flag whose SID structure lengths add up to more than 128 bits: written as "
    "configured, and receivers that check the structure (this plug-in's decoder among them) refuse it",
};

void SegmentList(const uint8_t *p, size_t n, bool *pbSeen)
{
    Reader rd(p, n);
    if (!rd.Skip(1u)) { /* reserved */
        return;
    }
    while (rd.Left() > 0u) {
        uint8_t ucType = 0;
        uint8_t ucLen = 0;
        const uint8_t *pValue = nullptr;
        if (!rd.U8(ucType) || !rd.U8(ucLen) || !rd.Take(ucLen, pValue)) {
            return;
        }
        pbSeen[kWarnSrv6Segment] |= ucType == kSegSrv6Host;
        pbSeen[kWarnPathMtu] |= ucType == kSegType13 && ucLen == 6u;
        pbSeen[kWarnSegListBsid] |= ucType == kSegListBsid;
        bool bSegment = ucType != kSegListBsid && !(ucType == kSegType13 && ucLen == 6u) && ucType != 9u;
        pbSeen[kWarnFlag80] |= bSegment && ucLen > 0u && pValue[0] == 0x80u;
    }
}

}  // namespace

std::vector<std::string> InteropWarnings(const uint8_t *p, size_t n)
{
    TunnelEncapView stView;
    ScanTunnelEncap(p, n, stView);
    bool abSeen[kKinds] = {false, false, false, false, false};
    for (const SubTlv &st : stView.vecSubTlvs) {
        if (st.ucType == kSubTlvSegmentList) {
            SegmentList(st.pValue, st.usLen, abSeen);
        } else if (st.ucType == kSubTlvSrv6BindingSid && st.usLen == 26u && (st.pValue[0] & kSrv6BsidBFlag) != 0u) {
            const uint8_t *puc = st.pValue + 22; /* LB, LN, Func, Args */
            abSeen[kWarnStructure] |= puc[0] + puc[1] + puc[2] + puc[3] > 128;
        }
    }
    std::vector<std::string> vec;
    for (int i = 0; i < kKinds; i++) {
        if (abSeen[i]) {
            vec.push_back(g_apcText[i]);
        }
    }
    return vec;
}

}  // namespace srp
