/*
 * The attribute message (type 47) both ways through its dispatchers: the
 * message a peer plug-in sent becomes path attribute 23 for the host, and a
 * stored attribute becomes the message again.
 *
 * Input: one control byte (bits 0-1: the allocation that fails, 0 = none),
 * then the message.
 *
 * Properties: the attribute handed over is the message, byte for byte; the
 * message written back from it is the same bytes, needs exactly their room
 * and writes nothing past the room it is given; a failed allocation gives its
 * code and hands nothing over; nothing leaks.
 */
#include "fuzz_host.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *pucData, size_t ulSize)
{
    if (ulSize < 1u || ulSize > 8192u) {
        return 0;
    }
    fz::Host &h = fz::Begin();
    const uint32_t ulFailNth = pucData[0] & 3u;
    const fz::Bytes vecMsg(pucData + 1, pucData + ulSize);
    const uint32_t ulLen = static_cast<uint32_t>(vecMsg.size());

    tp::FailNthAlloc(ulFailNth);
    void *pvOut = nullptr;
    uint32_t ulRet = h.stTbl.pfnParseAttrMsg(fz::HeapCopy(vecMsg).get(), ulLen, BOL_SRPOLICY_ATTRMSG_TNL_ENCAP, &pvOut,
                                             h.pstInst);
    /* A failed working copy is 3, also for an empty message, which needs a
     * block of size 0. */
    fz::CheckHandOver(ulRet, pvOut, tp::FailedAllocs() != 0u);
    tp::FailNthAlloc(0u);
    if (ulRet == BOL_OK) {
        fz::Output o = fz::TakeOutput(pvOut);
        FZ_CHECK(o.stHdr.ulOutFlags == BOL_OUTPUT_FLAG_ATTR && o.stHdr.ucAttrType == 23u);
        FZ_CHECK(o.vecAttr == vecMsg);

        fz::Route rt;
        rt.SetAttr(o.vecAttr);
        for (uint32_t ulRoom : {0u, ulLen / 2u, ulLen - 1u, ulLen, ulLen + 7u}) {
            if (ulRoom > ulLen + 7u) {
                continue; /* ulLen - 1 of an empty message */
            }
            const fz::Written w = fz::Write(h, h.stTbl.pfnFormatAttrMsg, rt, BOL_SRPOLICY_ATTRMSG_TNL_ENCAP, ulRoom);
            if (ulRoom >= ulLen) {
                FZ_CHECK(w.ulRet == BOL_OK && w.Out() == vecMsg);
            } else {
                FZ_CHECK(w.ulRet == BOL_SRPOLICY_ERR_BUF_SHORT && w.ulMoved == 0u);
            }
            for (size_t i = w.ulMoved; i < ulRoom; i++) {
                FZ_CHECK(w.vecBuf[i] == fz::kGuard);
            }
        }
    }
    fz::CheckNoLeak();
    return 0;
}
