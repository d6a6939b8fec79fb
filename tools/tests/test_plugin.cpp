/* The tool's hold on the plug-in: text joined over several calls and nothing
 * left allocated; the conditional-route attribute message read into fields
 * (its well-formed messages are read end to end by decode --json of the
 * samples; here, the overruns the plug-in never writes). */
#include <gtest/gtest.h>

#include <cstring>

#include "bgp/message_stream.h"
#include "plugin/condrt.h"
#include "plugin/describer.h"
#include "plugin/plugin_host.h"
#include "test_support.h"

namespace {

using srp::Bytes;
using srp_test::Hex;

/* The Tunnel Encapsulation attribute of the first message of the
 * hand-checked sample (written there in its normalised form): after the
 * header, the two length fields, ORIGIN 4, AS_PATH 9 and MP_REACH_NLRI 25
 * bytes, attribute 23 with a 4-byte header. */
Bytes SampleAttribute()
{
    const Bytes vecAll = srp_test::SampleStream();
    const size_t ulAt = 19u + 4u + 4u + 9u + 25u;
    EXPECT_EQ(vecAll.at(ulAt + 1u), 23u);
    auto itStart = vecAll.begin() + static_cast<std::ptrdiff_t>(ulAt + 4u);
    return Bytes(itStart, itStart + srp::Be16(vecAll.data() + ulAt + 2u));
}

BOL_SRPOLICY_NLRI_S Key()
{
    BOL_SRPOLICY_NLRI_S stKey;
    memset(&stKey, 0, sizeof(stKey));
    stKey.ucNlriLen = 96u;
    stKey.ulDistinguisher = 1u;
    stKey.ulPolicyColor = 100u;
    stKey.aulEndpoint[0] = 0x0A000001u;
    return stKey;
}

TEST(PluginHost, AttributeTextJoinedOverCallsEqualsOneCall)
{
    srp::PluginHost host;
    ASSERT_TRUE(host.Ok());
    Bytes vecAttr = SampleAttribute();
    std::string strWhole;
    bool bCut = true;
    ASSERT_EQ(host.AttrTextChunks(Key(), vecAttr, 65536u, strWhole, bCut), BOL_OK);
    EXPECT_FALSE(bCut);
    EXPECT_NE(strWhole.find("Policy Name: to-east\n"), std::string::npos);
    /* Buffers that stop the text in many places, inside segment lists too. */
    for (uint32_t ulChunk : {300u, 333u, 512u, 700u}) {
        std::string strText;
        ASSERT_EQ(host.AttrText(Key(), vecAttr, strText), BOL_OK);
        EXPECT_EQ(strText, strWhole);
        std::string strPieces;
        ASSERT_EQ(host.AttrTextChunks(Key(), vecAttr, ulChunk, strPieces, bCut), BOL_OK) << ulChunk;
        if (!bCut) {
            EXPECT_EQ(strPieces, strWhole) << ulChunk;
        }
    }
    /* A bare attribute described into what held an UPDATE keeps nothing of it. */
    srp::Describer describer(host, {});
    srp::DescribedUpdate st;
    st.vecRoutes.resize(1u);
    st.vecProblems.emplace_back("x", 1u, 0u, -1);
    describer.DescribeAttribute(vecAttr.data(), vecAttr.size(), st);
    EXPECT_TRUE(st.vecRoutes.empty() && st.vecProblems.empty() && st.stAttr.bPresent);
    EXPECT_EQ(host.LiveBlocks(), 1u); /* the instance only */
}

TEST(CondRtAttr, OverrunsAreRefused)
{
    struct Case {
        const char *pcName;
        Bytes vecMsg;
    } astCases[] = {
        {"TLV longer than the message", Hex("00000003 00000008 0000")},
        {"TLV header cut", Hex("00000003 0000")},
        {"segment-list entry longer than its TLV", Hex("00000004 00000005 0009 00 0001")},
    };
    for (const Case &c : astCases) {
        srp::AttrFields st;
        std::string strError;
        EXPECT_FALSE(srp::ParseCondRtAttr(c.vecMsg, st, strError) || strError.empty()) << c.pcName;
    }
    /* A segment list whose own sub-TLVs overrun it is kept and marked. */
    srp::SegmentListField stList = srp::ParseSegmentList(Hex("00 0106 8000").data(), 4u);
    EXPECT_TRUE(stList.bMalformed);
    /* A segment of a type without binding SIDs keeps none, whatever its flags. */
    Bytes vecOther = Hex("00 0312 80 00 20010db8000000000000000000000001");
    stList = srp::ParseSegmentList(vecOther.data(), vecOther.size());
    ASSERT_EQ(stList.vecSegments.size(), 1u);
    EXPECT_TRUE(stList.vecSegments[0].vecBindingSids.empty() && !stList.bMalformed);
}

/* The fields are refilled in place from message to message: a smaller
 * message after a fuller one keeps nothing of the first. */
TEST(CondRtAttr, RefillKeepsNothingOfTheLastMessage)
{
    auto Tlv = [](Bytes &v, uint32_t ulType, const Bytes &vecValue) {
        srp::Put32(v, ulType);
        srp::Put32(v, static_cast<uint32_t>(vecValue.size()));
        v.insert(v.end(), vecValue.begin(), vecValue.end());
    };
    Bytes vecFull, vecSmall;
    Tlv(vecFull, 3, Hex("00000000 000000c8"));
    Tlv(vecFull, 5, Hex("00000000 00000005"));
    Tlv(vecFull, 2, Hex("c0 01 0000 003e8000 00000000 00000000 00000000"));
    Tlv(vecFull, 4, Hex("0019 00 00 090600000000000a 0106800000064000 dc06000000000578"
                        "001d 00 00 0d1a8000 20010db8000200000000000000000002 0030 0000 20101000"));
    Tlv(vecFull, 7, Hex("00000000 00000008"));
    Tlv(vecFull, 8, Hex("20000000 20010db8000000010000000000000100 0030 0000 20101000"));
    Tlv(vecFull, 9, Bytes{'c', 'p'});
    Tlv(vecFull, 10, Bytes{'p', 'o', 'l'});
    Tlv(vecSmall, 4, Hex("0009 00 00 0106 800000010000  0009 00 00 0106 800000010000"));
    srp::AttrFields st;
    std::string strError;
    ASSERT_TRUE(srp::ParseCondRtAttr(vecFull, st, strError)) << strError;
    ASSERT_TRUE(st.oPreference && st.oBindingSid && st.oPolicyName && !st.vecSrv6BindingSids.empty());
    ASSERT_EQ(st.vecSegmentLists.size(), 2u);
    EXPECT_EQ(st.vecSegmentLists[0].oPathMtu, 1400u); /* its segment of type 220 */
    ASSERT_TRUE(srp::ParseCondRtAttr(vecSmall, st, strError)) << strError;
    EXPECT_FALSE(st.oPreference || st.oTemplateId || st.oSliceId || st.oBindingSid || st.oCandidatePathName ||
                 st.oPolicyName);
    EXPECT_TRUE(st.vecSrv6BindingSids.empty());
    ASSERT_EQ(st.vecSegmentLists.size(), 2u);
    for (const srp::SegmentListField &l : st.vecSegmentLists) {
        EXPECT_FALSE(l.oWeight || l.oPathMtu || l.bMalformed);
        ASSERT_EQ(l.vecSegments.size(), 1u);
        EXPECT_EQ(l.vecSegments[0].ucType, 1u);
        EXPECT_EQ(l.vecSegments[0].oLabel, 16u);
        EXPECT_TRUE(l.vecSegments[0].strSid.empty() && l.vecSegments[0].vecBindingSids.empty());
    }
    /* An SRv6 segment where the last message had a labelled one keeps no label. */
    Bytes vecSid;
    Tlv(vecSid, 4, Hex("001d 00 00 0d1a8000 20010db8000200000000000000000002 0030 0000 20101000"));
    ASSERT_TRUE(srp::ParseCondRtAttr(vecSid, st, strError)) << strError;
    EXPECT_FALSE(st.vecSegmentLists.at(0).vecSegments.at(0).oLabel);
}

}  // namespace
