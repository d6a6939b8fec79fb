/*
 * The two decoders that turn a host-side record into a route key: the HA
 * prefix TLV (message types 3 and 5) and the configured prefix record
 * (configuration type 2), each through its dispatcher.
 *
 * Input: one control byte (bit 0: configured prefix instead of HA TLV;
 * bit 1: HA type 5 instead of 3; bit 2: the configured record is cut or
 * padded with zeros to its 89 bytes; bit 3: the output allocation fails),
 * then the record.
 *
 * Properties: the result follows from the length and the kind fields alone
 * (a configured record of another length is also reported); a key that is handed over holds exactly the record's fields and writes
 * back the record it came from; a refusal or failed allocation hands nothing
 * over; nothing leaks.
 */
#include <string.h>

#include "fuzz_host.h"

namespace {

uint32_t BigEndian32(const uint8_t *puc)
{
    return (static_cast<uint32_t>(puc[0]) << 24) | (static_cast<uint32_t>(puc[1]) << 16) |
           (static_cast<uint32_t>(puc[2]) << 8) | puc[3];
}

BOL_SRPOLICY_NLRI_S KeyOf(const fz::Output &o)
{
    FZ_CHECK(o.stHdr.ulOutFlags == BOL_OUTPUT_FLAG_KEY && o.vecAttr.empty());
    BOL_SRPOLICY_NLRI_S st;
    memcpy(&st, o.vecKey.data(), sizeof(st));
    FZ_CHECK(st.aucReserved[0] == 0u && st.aucReserved[1] == 0u && st.aucReserved[2] == 0u);
    return st;
}

/* What the caller's output pointer holds until a key is handed over. */
int g_iUntouched;
void *const kUntouched = &g_iUntouched;

/* A decoder's result is its refusal (BOL_OK for none), else 0x50001 when the
 * output allocation fails, else BOL_OK; a key is handed over exactly on
 * success. True when one was. */
bool KeyHandedOver(uint32_t ulRet, uint32_t ulRefusal, bool bFailAlloc, const void *pvOut)
{
    const uint32_t ulWant = (ulRefusal != BOL_OK) ? ulRefusal : (bFailAlloc ? BOL_ERR_MALLOC : BOL_OK);
    FZ_CHECK(ulRet == ulWant);
    FZ_CHECK(ulRet == BOL_OK || pvOut == kUntouched);
    return ulRet == BOL_OK;
}

void HaPrefix(const fz::Host &h, const fz::Bytes &vecIn, uint32_t ulType, bool bFailAlloc)
{
    void *pvOut = kUntouched;
    const uint32_t ulLen = static_cast<uint32_t>(vecIn.size());
    uint32_t ulRet = h.stTbl.pfnParseHaMsg(fz::HeapCopy(vecIn).get(), ulLen, ulType, &pvOut, h.pstInst);
    const uint32_t ulRefusal = (ulLen < 28u) ? BOL_ERR_HA_TLV_SHORT
                               : (vecIn[0] != 96u && vecIn[0] != 192u) ? BOL_ERR_HA_NLRI_LEN
                                                                       : BOL_OK;
    if (!KeyHandedOver(ulRet, ulRefusal, bFailAlloc, pvOut)) {
        return;
    }
    BOL_SRPOLICY_NLRI_S stKey = KeyOf(fz::TakeOutput(pvOut));
    FZ_CHECK(stKey.ucNlriLen == vecIn[0]);
    FZ_CHECK(stKey.ulDistinguisher == BigEndian32(&vecIn[4]) && stKey.ulPolicyColor == BigEndian32(&vecIn[8]));
    for (uint32_t i = 0; i < 4u; i++) {
        FZ_CHECK(stKey.aulEndpoint[i] == BigEndian32(&vecIn[12u + 4u * i]));
    }

    /* Written back: the record's 28 bytes with the reserved bytes zero. */
    fz::Route rt;
    rt.SetKey(stKey);
    const fz::Written w = fz::Write(h, h.stTbl.pfnFormatHaMsg, rt, ulType, 28u);
    FZ_CHECK(w.ulRet == BOL_OK && w.ulMoved == 28u);
    const uint8_t *pucBack = w.vecBuf.data();
    FZ_CHECK(pucBack[0] == vecIn[0] && pucBack[1] == 0u && pucBack[2] == 0u && pucBack[3] == 0u);
    FZ_CHECK(memcmp(pucBack + 4, &vecIn[4], 24u) == 0);
}

void CfgPrefix(const fz::Host &h, const fz::Bytes &vecIn, bool bFailAlloc)
{
    void *pvOut = kUntouched;
    const uint32_t ulLen = static_cast<uint32_t>(vecIn.size());
    /* An empty record is a null. */
    const std::unique_ptr<uint8_t[]> pucRec = fz::HeapCopy(vecIn);
    uint32_t ulRet =
        h.stTbl.pfnParseCfg(vecIn.empty() ? nullptr : pucRec.get(), ulLen, BOL_SRPOLICY_CFG_PREFIX, &pvOut, h.pstInst);
    const bool bWholeRecord = ulLen == BOL_SRPOLICY_CFG_PREFIX_LEN;
    BOL_SRPOLICY_CFG_PREFIX_S stRec;
    memset(&stRec, 0, sizeof(stRec));
    if (bWholeRecord) {
        memcpy(&stRec, vecIn.data(), sizeof(stRec));
    }
    /* A record of another length is reported. */
    FZ_CHECK(bWholeRecord || tp::Reports().size() == 1u);
    const uint32_t ulRefusal = !bWholeRecord                                        ? BOL_ERR_PARAM
                               : (stRec.ulCfgKind != BOL_SRPOLICY_CFG_PREFIX_KIND) ? BOL_ERR_CFG_TYPE
                                                                                   : BOL_OK;
    if (!KeyHandedOver(ulRet, ulRefusal, bFailAlloc, pvOut)) {
        return;
    }
    BOL_SRPOLICY_NLRI_S stKey = KeyOf(fz::TakeOutput(pvOut));
    const bool bV6 = stRec.ucEndpointIsV6 != 0u;
    FZ_CHECK(stKey.ucNlriLen == (bV6 ? 192u : 96u));
    FZ_CHECK(stKey.ulDistinguisher == stRec.ulDistinguisher && stKey.ulPolicyColor == stRec.ulPolicyColor);
    for (uint32_t i = 0; i < 4u; i++) {
        uint32_t ulWant = bV6 ? BigEndian32(&stRec.aucEndpointV6[4u * i]) : (i == 0u ? stRec.ulEndpointV4 : 0u);
        FZ_CHECK(stKey.aulEndpoint[i] == ulWant);
    }

    /* Written back over a copy of the record: only the family byte changes,
     * to 0 or 1. */
    fz::Route rt;
    rt.SetKey(stKey);
    fz::Bytes vecBack = vecIn;
    uint8_t *pucCur = vecBack.data();
    uint32_t ulOffset = 5u;
    uint32_t ulMore = 5u;
    FZ_CHECK(h.stTbl.pfnFormatCfg(&rt.stRt, BOL_SRPOLICY_CFG_PREFIX, &pucCur, BOL_SRPOLICY_CFG_PREFIX_LEN, &ulOffset,
                                  &ulMore) == BOL_OK);
    FZ_CHECK(ulOffset == 0u && ulMore == 0u);
    fz::Bytes vecWant = vecIn;
    vecWant[offsetof(BOL_SRPOLICY_CFG_PREFIX_S, ucEndpointIsV6)] = bV6 ? 1u : 0u;
    FZ_CHECK(vecBack == vecWant);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *pucData, size_t ulSize)
{
    if (ulSize < 1u) {
        return 0;
    }
    fz::Host &h = fz::Begin();
    const uint8_t ucCtl = pucData[0];
    const bool bFailAlloc = (ucCtl & 0x08u) != 0u;
    fz::Bytes vecIn(pucData + 1, pucData + ulSize);
    if (bFailAlloc) {
        tp::FailNthAlloc(1u);
    }
    if ((ucCtl & 0x01u) == 0u) {
        HaPrefix(h, vecIn, (ucCtl & 0x02u) ? BOL_SRPOLICY_HAMSG_PREFIX_ALT : BOL_SRPOLICY_HAMSG_PREFIX, bFailAlloc);
    } else {
        if ((ucCtl & 0x04u) != 0u) {
            vecIn.resize(BOL_SRPOLICY_CFG_PREFIX_LEN, 0u);
        }
        CfgPrefix(h, vecIn, bFailAlloc);
    }
    tp::FailNthAlloc(0u);
    fz::CheckNoLeak();
    return 0;
}
