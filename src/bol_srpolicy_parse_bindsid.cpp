/*
 * The SRv6 Binding SID sub-TLV decoder.
 */
#define BOL_THIS_MODULE BOL_MOD_PARSE_BINDSID

#include <stddef.h>
#include <stdint.h>

#include "bol_platform.h"
#include "bol_srpolicy.h"
#include "bol_srpolicy_priv.h"
#include "bol_srpolicy_wire.h"

/* ======================================================================== */
/* SRv6 Binding SID decoder                                                 */
/* ======================================================================== */

namespace {

/* Value: flags (1), reserved (1), SID (16); with the B-flag also endpoint
 * behavior (2), reserved (2) and the four SID structure lengths. */
const uint32_t kSidOnlyLen = 18u;
const uint32_t kWithBehaviorLen = 26u;
const uint32_t kSidOff = 2u;
const uint32_t kBehaviorOff = 18u;
const uint32_t kBehaviorPartLen = kWithBehaviorLen - kBehaviorOff;
const uint8_t kFlagsKept = 0xE0u; /* S, I and B flags */
const uint8_t kFlagB = 0x20u;     /* behavior and SID structure present */
const uint32_t kSidBits = 128u;   /* the structure lengths may not exceed the SID */

} /* namespace */

extern "C" {

/* Every SRv6 Binding SID adds a node; the node is linked before the value is
 * judged, so a refused one leaves with the record. */
uint32_t BOL_SRPOLICY_ParseSubTlv_SRv6BSID(BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr, uint8_t *pucValue,
                                           uint32_t ulLen, BOL_SRPOLICY_INSTANCE_S *pstInst)
{
    BOL_CHECK_PTR(pstAttr, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pucValue, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pstInst, BOL_ERR_PARAM);

    if (ulLen != kSidOnlyLen && ulLen != kWithBehaviorLen) {
        return BOL_ERR_SUBTLV_INVALID;
    }
    uint32_t ulSize = static_cast<uint32_t>(sizeof(BOL_SRPOLICY_SRV6_BSID_NODE_S));
    BOL_SRPOLICY_LIST_NODE_S *pstLink = BOL_APPEND_NEW_NODE(&pstAttr->stSRv6BsidList, ulSize, pstInst);
    if (pstLink == nullptr) {
        BOL_REPORT(ulSize);
        return BOL_ERR_MALLOC;
    }
    BOL_SRPOLICY_SRV6_BSID_NODE_S *pstNode = reinterpret_cast<BOL_SRPOLICY_SRV6_BSID_NODE_S *>(pstLink);

    bol::View stValue = bol::MakeView(pucValue, ulLen);
    bool bHasBehavior = (bol::GetU8(stValue, 0u) & kFlagB) != 0u;
    if (bHasBehavior != (ulLen == kWithBehaviorLen)) {
        return BOL_ERR_SUBTLV_INVALID;
    }
    BOL_SRPOLICY_SaveSRv6BSID(pucValue, pstNode, pstInst);
    if (!bHasBehavior) {
        return BOL_OK;
    }
    BOL_SRPOLICY_SaveSRv6BSIDEndPoint(bol::SubView(stValue, kBehaviorOff, kBehaviorPartLen).puc, pstNode, pstInst);
    uint32_t ulBits = static_cast<uint32_t>(pstNode->ucLbLen) + pstNode->ucLnLen + pstNode->ucFunLen +
                      pstNode->ucArgLen;
    return (ulBits > kSidBits) ? BOL_ERR_SUBTLV_INVALID : BOL_OK;
}

/* Flags (ignored bits cleared), reserved byte cleared, and the SID. */
void BOL_SRPOLICY_SaveSRv6BSID(uint8_t *pucValue, BOL_SRPOLICY_SRV6_BSID_NODE_S *pstNode,
                               BOL_SRPOLICY_INSTANCE_S *pstInst)
{
    (void)pstInst;
    BOL_CHECK_PTR(pucValue, );
    BOL_CHECK_PTR(pstNode, );

    bol::View stValue = bol::MakeView(pucValue, kSidOnlyLen);
    pstNode->ucFlags = static_cast<uint8_t>(bol::GetU8(stValue, 0u) & kFlagsKept);
    bol::SetU8(stValue, 0u, pstNode->ucFlags);
    bol::SetU8(stValue, 1u, 0u);
    bol::GetWords4(stValue, kSidOff, pstNode->aulSid);
}

/* pucBehavior stands on value byte 18: behavior (2), reserved (2, cleared),
 * locator block, locator node, function and argument lengths. */
void BOL_SRPOLICY_SaveSRv6BSIDEndPoint(uint8_t *pucBehavior, BOL_SRPOLICY_SRV6_BSID_NODE_S *pstNode,
                                       BOL_SRPOLICY_INSTANCE_S *pstInst)
{
    (void)pstInst;
    BOL_CHECK_PTR(pucBehavior, );
    BOL_CHECK_PTR(pstNode, );

    bol::View stPart = bol::MakeView(pucBehavior, kBehaviorPartLen);
    pstNode->usEndpointBehavior = bol::GetU16(stPart, 0u);
    bol::SetU16(stPart, 2u, 0u);
    pstNode->ucLbLen = bol::GetU8(stPart, 4u);
    pstNode->ucLnLen = bol::GetU8(stPart, 5u);
    pstNode->ucFunLen = bol::GetU8(stPart, 6u);
    pstNode->ucArgLen = bol::GetU8(stPart, 7u);
}

} /* extern "C" */
