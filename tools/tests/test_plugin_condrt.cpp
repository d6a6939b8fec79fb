/* Reading the plug-in's conditional-route attribute message into fields. */
#include <gtest/gtest.h>

#include "plugin/condrt.h"
#include "test_support.h"

namespace {

using srp::Bytes;
using srp_test::Hex;

void Tlv(Bytes &v, uint32_t ulType, const Bytes &vecValue)
{
    srp::Put32(v, ulType);
    srp::Put32(v, static_cast<uint32_t>(vecValue.size()));
    v.insert(v.end(), vecValue.begin(), vecValue.end());
}

TEST(CondRtAttr, EveryTlvIntoItsField)
{
    Bytes vecMsg;
    Tlv(vecMsg, 3, Hex("00000000 000000c8"));                       /* preference 200 */
    Tlv(vecMsg, 5, Hex("00000000 00000005"));                       /* template id 5 */
    Tlv(vecMsg, 2, Hex("c0 01 0000 003e8000 00000000 00000000 00000000")); /* label 1000 */
    /* two segment lists: weight, label and path MTU; SRv6 SID with structure
     * and a pair of binding SIDs */
    Bytes vecList0 = Hex("00 090600000000000a 0106800000064000 dc06000000000578");
    Bytes vecList1 = Hex("00 0d1a8000 20010db8000200000000000000000002 0030 0000 20101000"
                         "   21228000 20010db8000a00000000000000000001 20010db8000a00000000000000000002");
    Bytes vecLists;
    for (const Bytes &v : {vecList0, vecList1}) {
        srp::Put16(vecLists, static_cast<uint32_t>(v.size()));
        vecLists.push_back(0u);
        vecLists.insert(vecLists.end(), v.begin(), v.end());
    }
    Tlv(vecMsg, 4, vecLists);
    Tlv(vecMsg, 7, Hex("00000000 00000008"));                       /* slice id 8 */
    Tlv(vecMsg, 8, Hex("20000000 20010db8000000010000000000000100 0030 0000 20101000"
                       "80000000 20010db8000000020000000000000200 0000 0000 00000000"));
    Tlv(vecMsg, 9, Bytes{'c', 'p'});
    Tlv(vecMsg, 10, Bytes{'p', 'o', 'l'});
    Tlv(vecMsg, 99, Bytes{1, 2, 3}); /* unknown: passed over */

    srp::AttrFields st;
    std::string strError;
    ASSERT_TRUE(srp::ParseCondRtAttr(vecMsg, st, strError)) << strError;
    EXPECT_EQ(st.oPreference, 200u);
    EXPECT_EQ(st.oTemplateId, 5u);
    EXPECT_EQ(st.oSliceId, 8u);
    ASSERT_TRUE(st.oBindingSid);
    EXPECT_EQ(st.oBindingSid->ucType, 1u);
    EXPECT_EQ(st.oBindingSid->ulLabel, 1000u);
    EXPECT_EQ(st.oBindingSid->ucFlags, 0xC0u);
    ASSERT_EQ(st.vecSegmentLists.size(), 2u);
    const srp::SegmentListField &l0 = st.vecSegmentLists[0];
    EXPECT_EQ(l0.oWeight, 10u);
    EXPECT_EQ(l0.oPathMtu, 1400u); /* the only one */
    ASSERT_EQ(l0.vecSegments.size(), 3u);
    EXPECT_EQ(l0.vecSegments[1].oLabel, 100u);
    const srp::SegmentListField &l1 = st.vecSegmentLists[1];
    EXPECT_FALSE(l1.bMalformed);
    ASSERT_EQ(l1.vecSegments.size(), 2u);
    EXPECT_EQ(l1.vecSegments[0].strSid, "2001:db8:2::2");
    EXPECT_EQ(l1.vecSegments[1].vecBindingSids, (std::vector<std::string>{"2001:db8:a::1", "2001:db8:a::2"}));
    ASSERT_EQ(st.vecSrv6BindingSids.size(), 2u);
    EXPECT_EQ(st.vecSrv6BindingSids[0].strSid, "2001:db8:0:1::100");
    EXPECT_EQ(st.vecSrv6BindingSids[0].usBehavior, 0x30u);
    EXPECT_EQ(st.vecSrv6BindingSids[0].aucStructure[0], 32u);
    EXPECT_EQ(st.vecSrv6BindingSids[1].ucFlags, 0x80u);
    EXPECT_EQ(st.oCandidatePathName, "cp");
    EXPECT_EQ(st.oPolicyName, "pol");

    /* Refilled with two lists of one label each: nothing of the first
     * message is left (the second list's segment held a SID). */
    Bytes vecSmall;
    Tlv(vecSmall, 4, Hex("0009 00 00 0106 800000010000  0009 00 00 0106 800000010000"));
    ASSERT_TRUE(srp::ParseCondRtAttr(vecSmall, st, strError)) << strError;
    EXPECT_FALSE(st.oPreference || st.oTemplateId || st.oSliceId || st.oBindingSid || st.oCandidatePathName ||
                 st.oPolicyName);
    EXPECT_TRUE(st.vecSrv6BindingSids.empty());
    ASSERT_EQ(st.vecSegmentLists.size(), 2u);
    for (const srp::SegmentListField &l : st.vecSegmentLists) {
        EXPECT_FALSE(l.oWeight || l.oPathMtu || l.bMalformed);
        ASSERT_EQ(l.vecSegments.size(), 1u);
        const srp::SegmentField &seg = l.vecSegments[0];
        EXPECT_EQ(seg.ucType, 1u);
        EXPECT_EQ(seg.oLabel, 16u);
        EXPECT_EQ(seg.vecValue, Hex("800000010000"));
        EXPECT_TRUE(seg.strSid.empty() && seg.vecBindingSids.empty());
    }
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
        EXPECT_FALSE(srp::ParseCondRtAttr(c.vecMsg, st, strError)) << c.pcName;
        EXPECT_FALSE(strError.empty()) << c.pcName;
    }
    /* A segment list whose own sub-TLVs overrun it is kept and marked. */
    srp::SegmentListField stList = srp::ParseSegmentList(Hex("00 0106 8000").data(), 4u);
    EXPECT_TRUE(stList.bMalformed);
}

}  // namespace
