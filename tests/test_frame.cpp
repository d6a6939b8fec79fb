/*
 * The plug-in frame as a host meets it: construction, the procedure table,
 * the memory helpers, the dispatchers and the output records.
 */
#include <gtest/gtest.h>
#include <string.h>

#include "bol_srpolicy.h"
#include "bol_srpolicy_priv.h"
#include "fixture.h"
#include "fuzz_host.h"

using bt::Bytes;
using bt::kCanary;
using bt::kModule;

namespace {

/* ---- Construction ---------------------------------------------------------- */

/* A refused or failed construction reports, leaves nothing allocated and
 * the host's table untouched. */
TEST(Construct, RefusalsAndAllocationFailureLeaveTheTableUntouched)
{
    struct Case {
        const char *pcName;
        bool bTable;
        uint32_t ulModule;
        uint32_t ulFailNth; /* also the allocations attempted */
    } const astCases[] = {
        {"null table", false, kModule, 0}, {"module 0", true, 0u, 0}, {"instance allocation fails", true, kModule, 1}};
    for (const Case &c : astCases) {
        SCOPED_TRACE(c.pcName);
        tp::Reset();
        BOL_PROC_TBL_S stTbl;
        memset(&stTbl, kCanary, sizeof(stTbl));
        tp::FailNthAlloc(c.ulFailNth);
        EXPECT_EQ(BOL_SRPOLICY_Construct(c.bTable ? &stTbl : nullptr, c.ulModule), nullptr);
        EXPECT_EQ(tp::Reports().size(), 1u);
        EXPECT_EQ(tp::AllocCalls(), c.ulFailNth);
        EXPECT_EQ(tp::LiveBlocksAll(), 0u);
        for (size_t i = 0; i < sizeof(stTbl); i++) {
            ASSERT_EQ(reinterpret_cast<uint8_t *>(&stTbl)[i], kCanary) << "byte " << i;
        }
    }
}

class ProcTable : public bt::PluginTest {};

/* The bytes the plug-in writes into the table, everything else keeping the
 * host's canary; an instance of the module, zeroed (its block came filled
 * with 0xA5), and a release of no instance reported. */
TEST_F(ProcTable, WritesExactlyTheContractBytesAndAZeroedInstance)
{
    EXPECT_EQ(m_pstInst->ulMemModuleId, kModule);
    EXPECT_EQ(m_pstInst->ulScratchInUse, 0u);
    for (uint8_t uc : m_pstInst->aucScratch) {
        ASSERT_EQ(uc, 0u);
    }
    EXPECT_EQ(tp::LiveBytes(kModule), sizeof(BOL_SRPOLICY_INSTANCE_S));
    BOL_SRPOLICY_Destruct(nullptr);
    ASSERT_EQ(ReportCount(), 1u);
    EXPECT_EQ(tp::Reports()[0].strModule, "bol_srpolicy");

    BOL_PROC_TBL_S stWant;
    memset(&stWant, kCanary, sizeof(stWant));
    const uint8_t aucHdr[] = {0, 0, 0, 0, 0x01, 0x03, 0x02, 0x01};
    memcpy(&stWant, aucHdr, sizeof(aucHdr));
    stWant.usHdrHalf = 1u;
    stWant.ucHdrByte = 0u;
    const uint32_t aulPktTypes[] = {14, 15, 23};
    const uint32_t aulMsgTypes[] = {119, 121, 122};
    const uint32_t aulHaTypes[] = {3, 5};
    memcpy(stWant.aulPktAttrType, aulPktTypes, sizeof(aulPktTypes));
    memcpy(stWant.aulMsgType, aulMsgTypes, sizeof(aulMsgTypes));
    memcpy(stWant.aulHaMsgType, aulHaTypes, sizeof(aulHaTypes));
    stWant.aulAttrMsgType[0] = 47u;
    memset(stWant.aulZero0, 0, sizeof(stWant.aulZero0));
    memset(stWant.aulZero1, 0, sizeof(stWant.aulZero1));
    stWant.pfnParsePkt = BOL_SRPOLICY_ParsePkt;
    stWant.pfnFormatPkt = BOL_SRPOLICY_FormatPkt;
    stWant.pfnSetAttr = BOL_SRPOLICY_SetAttr;
    stWant.pfnParseMsg = BOL_SRPOLICY_ParseMsg;
    stWant.pfnFormatMsg = BOL_SRPOLICY_FormatMsg;
    stWant.pfnParseHaMsg = BOL_SRPOLICY_ParseHaMsg;
    stWant.pfnFormatHaMsg = BOL_SRPOLICY_FormatHaMsg;
    stWant.pfnParseAttrMsg = BOL_SRPOLICY_ParseAttrMsg;
    stWant.pfnFormatAttrMsg = BOL_SRPOLICY_FormatAttrMsg;
    stWant.pfnParseCfg = BOL_SRPOLICY_ParseCfg;
    stWant.pfnFormatCfg = BOL_SRPOLICY_FormatCfg;
    stWant.pfnConstructRtpEntry = BOL_SRPOLICY_ConstructRtpEntry;
    stWant.pfnNone588 = nullptr;
    stWant.pfnNone596 = nullptr;
    stWant.apfnNone604[0] = stWant.apfnNone604[1] = stWant.apfnNone604[2] = nullptr;
    stWant.pfnCmpData = BOL_SRPOLICY_CmpData;
    stWant.pfnData2Str = BOL_SRPOLICY_Data2Str;
    stWant.pfnSetRtCount = BOL_SRPOLICY_SetRtCount;
    stWant.pfnGetRtCount = BOL_SRPOLICY_GetRtCount;
    stWant.pfnCheckRoute = BOL_SRPOLICY_CheckRoute;
    stWant.apfnNone648[0] = stWant.apfnNone648[1] = nullptr;
    stWant.pfnConstructSubsKey = BOL_SRPOLICY_ConstructSubsKey;
    const uint8_t *pucGot = reinterpret_cast<const uint8_t *>(&m_stTbl);
    EXPECT_EQ(bt::ToHex(pucGot, sizeof(m_stTbl)), bt::ToHex(reinterpret_cast<const uint8_t *>(&stWant), sizeof(stWant)));
}

/* The flags half-word at offset 2 of the host's entry, here at an odd
 * address: 0x000A is ORed in, every other bit and byte is kept, and nothing
 * there depends on a platform copy succeeding. */
TEST_F(ProcTable, ConstructRtpEntryOrsKeyAndAttrBits)
{
    const uint16_t usFlags = 0x4001u;
    const uint16_t usWant = 0x400Bu;
    uint8_t aucBuf[8];
    uint8_t aucWant[8];
    memset(aucBuf, 0xEE, sizeof(aucBuf));
    memset(aucWant, 0xEE, sizeof(aucWant));
    memcpy(aucBuf + 3, &usFlags, 2);
    memcpy(aucWant + 3, &usWant, 2);
    int iHost = 0;
    tp::FailMemcpyS(true);
    EXPECT_EQ(m_stTbl.pfnConstructRtpEntry(&iHost, aucBuf + 1), BOL_OK);
    tp::FailMemcpyS(false);
    EXPECT_EQ(bt::ToHex(aucBuf, sizeof(aucBuf)), bt::ToHex(aucWant, sizeof(aucWant)));
    EXPECT_EQ(ReportCount(), 0u);
}

/* ---- Memory helpers -------------------------------------------------------- */

class Memory : public bt::PluginTest {};

TEST_F(Memory, ScratchIsLentOnceAndLargerRequestsUseTheModule)
{
    void *pv1 = BOL_SRPOLICY_Malloc(m_pstInst, 256);
    EXPECT_EQ(pv1, m_pstInst->aucScratch);
    EXPECT_EQ(m_pstInst->ulScratchInUse, 1u);
    EXPECT_EQ(tp::AllocCalls(), 0u);

    void *pv2 = BOL_SRPOLICY_Malloc(m_pstInst, 256);
    ASSERT_NE(pv2, nullptr);
    EXPECT_NE(pv2, m_pstInst->aucScratch);
    EXPECT_EQ(tp::LiveBlocks(kModule), 2u);  // instance + heap block

    BOL_SRPOLICY_Free(&pv2, m_pstInst);
    EXPECT_EQ(pv2, nullptr);
    EXPECT_EQ(m_pstInst->ulScratchInUse, 1u);
    BOL_SRPOLICY_Free(&pv1, m_pstInst);
    EXPECT_EQ(pv1, nullptr);
    EXPECT_EQ(m_pstInst->ulScratchInUse, 0u);

    EXPECT_EQ(BOL_SRPOLICY_Malloc(m_pstInst, 0), nullptr);
    void *pv3 = BOL_SRPOLICY_Malloc(m_pstInst, 257);
    EXPECT_NE(pv3, m_pstInst->aucScratch);
    EXPECT_EQ(m_pstInst->ulScratchInUse, 0u);
    BOL_SRPOLICY_Free(&pv3, m_pstInst);
    EXPECT_TRUE(tp::Reports().empty());
}

/* ---- Dispatchers ------------------------------------------------------------ */

class Dispatch : public bt::PluginTest {};

/* Each dispatcher's answer for a type that has no handler (and the
 * subscription key handler's for the one it has). */
TEST_F(Dispatch, TypesWithoutHandlerGetEachDispatchersOwnResult)
{
    uint8_t aucBuf[64] = {0};
    uint8_t *pucCur = aucBuf;
    void *pvOut = reinterpret_cast<void *>(0x1);
    uint32_t ulMore = 77, ulOffset = 0;
    int iHost = 0;
    bt::Route rt;
    char acText[64];

    struct Case {
        const char *pcName;
        uint32_t ulGot;
        uint32_t ulWant;
    } astCases[] = {
        {"ParsePkt 16", m_stTbl.pfnParsePkt(&pucCur, 13, &iHost, 16, &pvOut, &ulMore, m_pstInst), BOL_ERR_PARAM},
        {"FormatPkt 16", m_stTbl.pfnFormatPkt(&rt.stRt, 16, &pucCur, 64, m_pstInst), BOL_ERR_NO_HANDLER},
        {"SetAttr 24", m_stTbl.pfnSetAttr(&rt.stRt, 24, 0, &pvOut, m_pstInst), BOL_ERR_NO_HANDLER},
        {"ParseMsg 121", m_stTbl.pfnParseMsg(aucBuf, 4, 121, &pvOut, m_pstInst), BOL_ERR_NO_HANDLER},
        {"FormatMsg 120", m_stTbl.pfnFormatMsg(&rt.stRt, 120, &pucCur, 64, m_pstInst), BOL_ERR_NO_HANDLER},
        {"ParseHaMsg 4", m_stTbl.pfnParseHaMsg(aucBuf, 28, 4, &pvOut, m_pstInst), BOL_ERR_NO_HANDLER},
        {"FormatHaMsg 4", m_stTbl.pfnFormatHaMsg(&rt.stRt, 4, &pucCur, 64, m_pstInst), BOL_ERR_NO_HANDLER},
        {"ParseAttrMsg 46", m_stTbl.pfnParseAttrMsg(aucBuf, 4, 46, &pvOut, m_pstInst), BOL_ERR_NO_HANDLER},
        {"FormatAttrMsg 46", m_stTbl.pfnFormatAttrMsg(&rt.stRt, 46, &pucCur, 64, m_pstInst), BOL_ERR_NO_HANDLER},
        {"ParseCfg 3", m_stTbl.pfnParseCfg(aucBuf, 89, 3, &pvOut, m_pstInst), BOL_SRPOLICY_ERR_PARA},
        {"FormatCfg 3", m_stTbl.pfnFormatCfg(&rt.stRt, 3, &pucCur, 64, &ulOffset, &ulMore), BOL_ERR_NO_HANDLER},
        {"Data2Str 2", m_stTbl.pfnData2Str(&rt.stRt, 2, acText, 64, &ulOffset, &ulMore, m_pstInst),
         BOL_ERR_NO_STR_HANDLER},
        {"ConstructSubsKey 120", m_stTbl.pfnConstructSubsKey(&iHost, 120, &iHost, &iHost, &iHost),
         BOL_SRPOLICY_ERR_PARA},
        {"ConstructSubsKey 119 (handled)", m_stTbl.pfnConstructSubsKey(&iHost, 119, &iHost, &iHost, &iHost), BOL_OK},
    };
    for (const Case &c : astCases) {
        EXPECT_EQ(c.ulGot, c.ulWant) << c.pcName;
    }
    EXPECT_EQ(m_stTbl.pfnCmpData(aucBuf, 28, aucBuf, 28, 4), BOL_CMP_ERR);
    /* A missing handler is not a failed check: nothing reported or moved. */
    EXPECT_EQ(ReportCount(), 0u);
    EXPECT_EQ(pucCur, aucBuf);
    EXPECT_EQ(pvOut, reinterpret_cast<void *>(0x1));
    EXPECT_EQ(ulMore, 77u);
}

/* The exported tables hold their rows' types in order (the key columns the
 * code does not consult included), and the walk's type index finds the row
 * the search finds, for every type. */
TEST(Lookup, TablesHoldTheContractTypesInOrder)
{
    const uint32_t aulSubTlv[] = {12, 13, 128, 127, 126, 20, 129, 130, 123};
    const uint32_t aulCondRt[] = {2, 3, 4, 5, 7, 8, 9, 10};
    for (uint32_t i = 0; i < 9u; i++) {
        EXPECT_EQ(g_astBOL_SRPOLICY_TUNENCAPSUBTLV_PARSE_TBL[i].ulType, aulSubTlv[i]);
        EXPECT_EQ(g_astBOL_SRPOLICY_OUTPUT_TNLENCAP_TBL[i].ulType, aulSubTlv[i]);
        EXPECT_EQ(g_astBOL_SRPOLICY_CHECK_SUBTLV_TBL[i].ulType, i);
    }
    for (uint32_t i = 0; i < 8u; i++) {
        EXPECT_EQ(g_astBOL_SRPOLICY_FORMAT_CONDRTATTR_TBL[i].ulType, aulCondRt[i]);
    }
    for (uint32_t ulType = 0; ulType < 256; ulType++) {
        SCOPED_TRACE(ulType);
        EXPECT_EQ(bol::SubTlvParseRow(static_cast<uint8_t>(ulType)),
                  BOL_SRPOLICY_GetTunEncapSubTlvParseEntry(ulType));
    }
}

/* ---- Output records ------------------------------------------------------- */

class OutputRecord : public bt::PluginTest {};

/* A key and an attribute in one block, and an attribute alone (the
 * decoders hand over their blocks by other paths; the output checks of every
 * block handed over are the fuzz host's). */
TEST_F(OutputRecord, KeyAndAttributeOrAttributeAlone)
{
    BOL_SRPOLICY_NLRI_S stKey = bt::KeyV4(1, 100, 0x0A000001u);
    Bytes vecAttr = bt::Hex("01 02 03 04 05");
    for (bool bKey : {true, false}) {
        SCOPED_TRACE(bKey ? "key and attribute" : "attribute alone");
        BOL_PARSE_DESC_S stDesc;
        memset(&stDesc, 0, sizeof(stDesc));
        stDesc.ulKeyLen = 28;
        stDesc.pvKey = bKey ? &stKey : nullptr;
        stDesc.ucAttrType = 23;
        stDesc.usAttrLen = 5;
        stDesc.pucAttr = vecAttr.data();
        void *pvOut = nullptr;
        ASSERT_EQ(BOL_SRPOLICY_OutputData(&pvOut, &stDesc, kModule), BOL_OK);
        fz::Output o = fz::TakeOutput(pvOut);
        EXPECT_EQ(o.stHdr.ulOutFlags, (bKey ? BOL_OUTPUT_FLAG_KEY : 0u) | BOL_OUTPUT_FLAG_ATTR);
        EXPECT_EQ(o.stHdr.ucAttrType, 23u);
        EXPECT_EQ(o.vecKey.size(), bKey ? 28u : 0u);
        EXPECT_TRUE(!bKey || memcmp(o.vecKey.data(), &stKey, 28) == 0);
        EXPECT_EQ(o.vecAttr, vecAttr);
    }
    EXPECT_EQ(ReportCount(), 0u);
}

TEST_F(OutputRecord, RefusalsAndAllocationFailureLeaveTheOutArgument)
{
    BOL_SRPOLICY_NLRI_S stKey = bt::KeyV4(1, 2, 3);
    uint8_t aucAttr[4] = {0};
    struct Case {
        const char *pcName;
        uint32_t ulKeyLen;
        bool bKey;
        bool bAttr;
        uint32_t ulModule;
        uint32_t ulFailNth;
        uint32_t ulWant;
        size_t ulReports;
    } astCases[] = {
        {"empty descriptor", 0, false, false, kModule, 0, BOL_ERR_PARAM, 0},
        {"zero-length key only: nothing to output", 0, true, false, kModule, 0, BOL_ERR_PARAM, 0},
        {"key of 27 bytes", 27, true, false, kModule, 0, BOL_ERR_PARAM, 1},
        {"module 0", 28, true, false, 0u, 0, BOL_ERR_PARAM, 1},
        {"key of 27 bytes, module 0", 27, true, false, 0u, 0, BOL_ERR_PARAM, 1},
        {"allocation fails", 28, true, false, kModule, 1, BOL_ERR_MALLOC, 1},
    };
    for (const Case &c : astCases) {
        SCOPED_TRACE(c.pcName);
        tp::Reset();
        tp::FailNthAlloc(c.ulFailNth);
        BOL_PARSE_DESC_S stDesc;
        memset(&stDesc, 0, sizeof(stDesc));
        stDesc.ulKeyLen = c.ulKeyLen;
        stDesc.pvKey = c.bKey ? &stKey : nullptr;
        stDesc.pucAttr = c.bAttr ? aucAttr : nullptr;
        void *pvOut = reinterpret_cast<void *>(0x10);
        EXPECT_EQ(BOL_SRPOLICY_OutputData(&pvOut, &stDesc, c.ulModule), c.ulWant);
        EXPECT_EQ(pvOut, reinterpret_cast<void *>(0x10));
        EXPECT_EQ(tp::AllocCalls(), c.ulFailNth);
        EXPECT_EQ(ReportCount(), c.ulReports);
    }
}

}  // namespace
