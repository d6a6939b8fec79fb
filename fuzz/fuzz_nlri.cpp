/*
 * A run of SR Policy NLRI through the packet-parse entry (types 14 and 15),
 * looped on the more flag the way a host walks MP_REACH/MP_UNREACH.
 *
 * Input: one control byte (bit 0: type 15 instead of 14; bits 1-4: the
 * allocation, counted from the start of the run, that fails; 0 = none), then
 * the NLRI bytes.
 *
 * Properties: an NLRI is refused exactly when its length byte names no
 * whole 12- or 24-byte body that is there; a decoded NLRI moves the cursor by 13 or 25 bytes, hands over
 * one key-only block whose key encodes back to the same bytes (with the
 * canonical length byte) and compares equal to itself; the more flag says
 * whether bytes remain; a refused NLRI leaves cursor, flag and output as they
 * were; a failed allocation gives 0x50001, moves past the length byte only
 * and hands nothing over; nothing leaks.
 */
#include <string.h>

#include "fuzz_host.h"

namespace {
int g_iHostCtx;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *pucData, size_t ulSize)
{
    if (ulSize < 1u) {
        return 0;
    }
    fz::Host &h = fz::Begin();
    const uint32_t ulType = (pucData[0] & 1u) ? BOL_SRPOLICY_PATTR_MP_UNREACH : BOL_SRPOLICY_PATTR_MP_REACH;
    const uint32_t ulFailNth = (pucData[0] >> 1) & 0x0Fu;
    tp::FailNthAlloc(ulFailNth);

    /* Exactly the NLRI bytes on the heap, so any read past them is caught. */
    const fz::Bytes vecIn(pucData + 1, pucData + ulSize);
    const std::unique_ptr<uint8_t[]> pucBuf = fz::HeapCopy(vecIn);
    uint8_t *const pucEnd = pucBuf.get() + vecIn.size();
    uint8_t *pucCur = pucBuf.get();
    void *const pvUntouched = &g_iHostCtx;

    for (uint32_t ulMore = 1u; ulMore != 0u;) {
        const uint32_t ulLeft = static_cast<uint32_t>(pucEnd - pucCur);
        uint8_t *const pucBefore = pucCur;
        const uint32_t ulFailedBefore = tp::FailedAllocs();
        void *pvOut = pvUntouched;
        ulMore = 77u;
        uint32_t ulRet = h.stTbl.pfnParsePkt(&pucCur, ulLeft, &g_iHostCtx, ulType, &pvOut, &ulMore, h.pstInst);
        /* Whole bytes of the length byte (its low three bits dropped) name a 12- or 24-byte body, which must be
         * there; a length byte alone is no NLRI. */
        const uint32_t ulNamed = ulLeft != 0u ? pucBefore[0] / 8u : 0u;
        const bool bFits = (ulNamed == 12u || ulNamed == 24u) && ulLeft - 1u >= ulNamed;
        FZ_CHECK((ulRet == BOL_ERR_NLRI_LEN) == !bFits);
        if (ulRet == BOL_ERR_NLRI_LEN) {
            FZ_CHECK(pucCur == pucBefore && ulMore == 77u && pvOut == pvUntouched);
            break;
        }
        const uint32_t ulBody = static_cast<uint32_t>(pucCur - pucBefore) - 1u;
        if (ulRet == BOL_ERR_MALLOC) {
            FZ_CHECK(tp::FailedAllocs() == ulFailedBefore + 1u);
            FZ_CHECK(pucCur == pucBefore + 1 && pvOut == pvUntouched);
            FZ_CHECK(ulMore == (ulLeft - 1u != (pucBefore[0] / 8u) ? 1u : 0u));
            break;
        }
        FZ_CHECK(ulRet == BOL_OK);
        FZ_CHECK(ulBody == 12u || ulBody == 24u);
        FZ_CHECK(pucBefore[0] / 8u == ulBody);
        FZ_CHECK(ulMore == (pucCur < pucEnd ? 1u : 0u));

        fz::Output o = fz::TakeOutput(pvOut);
        FZ_CHECK(o.stHdr.ulOutFlags == BOL_OUTPUT_FLAG_KEY && o.vecAttr.empty());
        BOL_SRPOLICY_NLRI_S stKey;
        memcpy(&stKey, o.vecKey.data(), sizeof(stKey));
        FZ_CHECK(stKey.ucNlriLen == ulBody * 8u);
        FZ_CHECK(stKey.aucReserved[0] == 0u && stKey.aucReserved[1] == 0u && stKey.aucReserved[2] == 0u);
        FZ_CHECK(h.stTbl.pfnCmpData(&stKey, 28u, &stKey, 28u, BOL_SRPOLICY_CMP_KEY) == 0);

        /* Encoding the key gives back the NLRI with its canonical length byte. */
        fz::Route rt;
        rt.SetKey(stKey);
        const fz::Written w = fz::Write(h, h.stTbl.pfnFormatPkt, rt, ulType, 25u);
        FZ_CHECK(w.ulRet == BOL_OK && w.ulMoved == 1u + ulBody);
        FZ_CHECK(w.vecBuf[1u + ulBody] == fz::kGuard);
        FZ_CHECK(w.vecBuf[0] == ulBody * 8u);
        FZ_CHECK(memcmp(w.vecBuf.data() + 1, pucBefore + 1, ulBody) == 0);
    }
    tp::FailNthAlloc(0u);
    fz::CheckNoLeak();
    return 0;
}
