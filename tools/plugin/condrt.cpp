/* Reading the plug-in's conditional-route attribute message. */
#include "plugin/condrt.h"

#include "bol_srpolicy.h"

namespace srp {

namespace {

/* Segment sub-TLV types with fields of their own. */
const uint8_t kSegLabel = 1u;
const uint8_t kSegSrv6 = 2u;
const uint8_t kSegWeight = 9u;
const uint8_t kSegSrv6OrMtu = 13u;
const uint8_t kSegListBsid = 33u;
const uint8_t kSegPathMtu = 220u;

const size_t kSrv6EntryLen = 28u;

/* Segment-list binding SID layout: flags, reserved, then one SID or two.
 * Flag 0x80: each SID is 16 bytes (an SRv6 SID, the only form shown), else
 * 4; flag 0x40: each SID is followed by 8 bytes of behavior and structure. */
const uint8_t kSlBsidFlagSrv6 = 0x80u;
const uint8_t kSlBsidFlagExt = 0x40u;
const size_t kSlBsidHdrLen = 2u;

size_t SlBsidEntryLen(uint8_t ucFlags)
{
    return ((ucFlags & kSlBsidFlagSrv6) != 0u ? 16u : 4u) + ((ucFlags & kSlBsidFlagExt) != 0u ? 8u : 0u);
}

/* Fills stSeg (an element kept from an earlier attribute: its buffers are
 * reused) from one segment sub-TLV. */
void ParseSegment(uint8_t ucType, const uint8_t *p, size_t n, SegmentListField &stList, SegmentField &stSeg)
{
    stSeg.ucType = ucType;
    stSeg.ucFlags = n >= 1u ? p[0] : 0u;
    stSeg.vecValue.assign(p, p + n);
    stSeg.oLabel.reset();
    stSeg.strSid.clear();
    stSeg.vecBindingSids.clear();
    /* A list holds at most one weight; of its path MTUs (types 13 and 220)
     * the first is the list's, all stay in the segments. */
    if (ucType == kSegWeight && n >= 6u) {
        stList.oWeight = Be32(p + 2);
    } else if ((ucType == kSegPathMtu || ucType == kSegSrv6OrMtu) && n == 6u) {
        if (!stList.oPathMtu) {
            stList.oPathMtu = Be32(p + 2);
        }
    } else if (ucType == kSegLabel && n >= 6u) {
        stSeg.oLabel = Be32(p + 2) >> 12;
    } else if ((ucType == kSegSrv6 || ucType == kSegSrv6OrMtu) && n >= 18u) {
        stSeg.strSid = Ipv6Text(p + 2);
    } else if (ucType == kSegListBsid && n >= kSlBsidHdrLen && (p[0] & kSlBsidFlagSrv6) != 0u) {
        for (size_t i = kSlBsidHdrLen; i + 16u <= n; i += SlBsidEntryLen(p[0])) {
            stSeg.vecBindingSids.push_back(Ipv6Text(p + i));
        }
    }
}

/* Value of a preference, template id or slice id TLV: flags, three
 * reserved bytes, the 32-bit value. */
std::optional<uint32_t> FlaggedValue(const uint8_t *p, size_t n)
{
    if (n < 8u) {
        return std::nullopt;
    }
    return Be32(p + 4);
}

std::string Text(const uint8_t *p, size_t n) { return std::string(reinterpret_cast<const char *>(p), n); }

}  // namespace

void ParseSegmentList(const uint8_t *p, size_t n, SegmentListField &stList)
{
    stList.oWeight.reset();
    stList.oPathMtu.reset();
    stList.bMalformed = false;
    stList.vecRaw.assign(p, p + n);
    size_t ulCount = 0;
    Reader rd(p, n);
    if (rd.Skip(1u)) {
        while (rd.Left() > 0u) {
            uint8_t ucType = 0;
            uint8_t ucLen = 0;
            const uint8_t *pValue = nullptr;
            if (!rd.U8(ucType) || !rd.U8(ucLen) || !rd.Take(ucLen, pValue)) {
                stList.bMalformed = true;
                break;
            }
            if (ulCount == stList.vecSegments.size()) {
                stList.vecSegments.emplace_back();
            }
            ParseSegment(ucType, pValue, ucLen, stList, stList.vecSegments[ulCount++]);
        }
    }
    stList.vecSegments.resize(ulCount);
}

SegmentListField ParseSegmentList(const uint8_t *p, size_t n)
{
    SegmentListField stList;
    ParseSegmentList(p, n, stList);
    return stList;
}

namespace {

/* The message's TLVs into their fields; ulLists counts the segment lists
 * filled. */
bool ReadCondRtTlvs(const Bytes &vecMsg, AttrFields &stFields, size_t &ulLists, std::string &strError)
{
    Reader rd(vecMsg.data(), vecMsg.size());
    while (rd.Left() > 0u) {
        uint32_t ulType = 0;
        uint32_t ulLen = 0;
        const uint8_t *p = nullptr;
        if (!rd.U32(ulType) || !rd.U32(ulLen) || !rd.Take(ulLen, p)) {
            strError = "attribute message TLV overruns the message";
            return false;
        }
        switch (ulType) {
            case BOL_SRPOLICY_CONDRT_TLV_PREF:
                stFields.oPreference = FlaggedValue(p, ulLen);
                break;
            case BOL_SRPOLICY_CONDRT_TLV_CFG_MODULE_ID:
                stFields.oTemplateId = FlaggedValue(p, ulLen);
                break;
            case BOL_SRPOLICY_CONDRT_TLV_SLICE_ID:
                stFields.oSliceId = FlaggedValue(p, ulLen);
                break;
            case BOL_SRPOLICY_CONDRT_TLV_BSID:
                if (ulLen >= 20u) {
                    BindingSid stBsid;
                    stBsid.ucFlags = p[0];
                    stBsid.ucType = p[1];
                    if (stBsid.ucType == 1u) {
                        stBsid.ulLabel = Be32(p + 4) >> 12;
                    } else if (stBsid.ucType == 2u) {
                        stBsid.strSid = Ipv6Text(p + 4);
                    }
                    stFields.oBindingSid = stBsid;
                }
                break;
            case BOL_SRPOLICY_CONDRT_TLV_SRV6_BSID:
                for (size_t i = 0; i + kSrv6EntryLen <= ulLen; i += kSrv6EntryLen) {
                    Srv6BindingSid stSid;
                    stSid.ucFlags = p[i];
                    stSid.strSid = Ipv6Text(p + i + 4u);
                    stSid.usBehavior = Be16(p + i + 20u);
                    for (size_t k = 0; k < 4u; k++) {
                        stSid.aucStructure[k] = p[i + 24u + k];
                    }
                    stFields.vecSrv6BindingSids.push_back(stSid);
                }
                break;
            case BOL_SRPOLICY_CONDRT_TLV_SEGLIST: {
                Reader rdList(p, ulLen);
                while (rdList.Left() > 0u) {
                    uint16_t usLen = 0;
                    const uint8_t *pList = nullptr;
                    if (!rdList.U16(usLen) || !rdList.Skip(1u) || !rdList.Take(usLen, pList)) {
                        strError = "segment-list entry overruns its TLV";
                        return false;
                    }
                    if (ulLists == stFields.vecSegmentLists.size()) {
                        stFields.vecSegmentLists.emplace_back();
                    }
                    ParseSegmentList(pList, usLen, stFields.vecSegmentLists[ulLists++]);
                }
                break;
            }
            case BOL_SRPOLICY_CONDRT_TLV_CPATH_NAME:
                stFields.oCandidatePathName = Text(p, ulLen);
                break;
            case BOL_SRPOLICY_CONDRT_TLV_POLICY_NAME:
                stFields.oPolicyName = Text(p, ulLen);
                break;
            default:
                break;
        }
    }
    return true;
}

}  // namespace

bool ParseCondRtAttr(const Bytes &vecMsg, AttrFields &stFields, std::string &strError)
{
    stFields.oPreference.reset();
    stFields.oTemplateId.reset();
    stFields.oSliceId.reset();
    stFields.oBindingSid.reset();
    stFields.vecSrv6BindingSids.clear();
    stFields.oCandidatePathName.reset();
    stFields.oPolicyName.reset();
    /* Segment lists are refilled in place: their buffers serve the next
     * attribute too. */
    size_t ulLists = 0;
    bool bOk = ReadCondRtTlvs(vecMsg, stFields, ulLists, strError);
    stFields.vecSegmentLists.resize(ulLists);
    return bOk;
}

}  // namespace srp
