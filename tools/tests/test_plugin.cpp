/* The conditional-route attribute message read into fields that are reused
 * from message to message (its messages are read end to end by decode --json
 * of the samples). */
#include <gtest/gtest.h>

#include "plugin/condrt.h"
#include "test_support.h"

namespace {

using srp::Bytes;
using srp_test::Hex;

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
