/* The tool's hold on the plug-in: text joined over several calls, result
 * names, and nothing left allocated. */
#include <gtest/gtest.h>

#include <cstring>

#include "bgp/message_stream.h"
#include "plugin/plugin_host.h"
#include "test_support.h"

namespace {

using srp::Bytes;

/* The Tunnel Encapsulation attribute of the first message of the
 * hand-checked sample (written there in its normalised form). */
Bytes SampleAttribute()
{
    Bytes vecAll = srp_test::SampleStream();
    /* Message 1: header 19, two length fields, ORIGIN 4, AS_PATH 9,
     * MP_REACH 3 + 22, then attribute 23 with a 4-byte header. */
    const size_t ulAt = 19u + 4u + 4u + 9u + 25u;
    EXPECT_GT(vecAll.size(), ulAt + 4u);
    EXPECT_EQ(vecAll[ulAt + 1u], 23u);
    size_t ulLen = srp::Be16(vecAll.data() + ulAt + 2u);
    return Bytes(vecAll.begin() + static_cast<std::ptrdiff_t>(ulAt + 4u),
                 vecAll.begin() + static_cast<std::ptrdiff_t>(ulAt + 4u + ulLen));
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
    EXPECT_EQ(host.LiveBlocks(), 1u); /* the instance only */
}

TEST(PluginHost, KeyTextAndRouteCheck)
{
    srp::PluginHost host;
    std::string strText;
    ASSERT_EQ(host.KeyText(Key(), strText), BOL_OK);
    EXPECT_EQ(strText, "SRPOLICY NLRI: Distinguisher[1], PolicyColor[100], Endpoint[10.0.0.1]");
    bool bValid = false;
    ASSERT_EQ(host.CheckEndpoint(Key(), bValid), BOL_OK);
    EXPECT_TRUE(bValid);
    BOL_SRPOLICY_NLRI_S stLoop = Key();
    stLoop.aulEndpoint[0] = 0x7F000001u;
    ASSERT_EQ(host.CheckEndpoint(stLoop, bValid), BOL_OK);
    EXPECT_FALSE(bValid);
}

TEST(PluginHost, ResultNames)
{
    EXPECT_EQ(srp::ResultName(0x60001u), "BOL_ERR_NLRI_LEN");
    EXPECT_EQ(srp::ResultName(BOL_ERR_SUBTLV_MALFORMED), "BOL_ERR_SUBTLV_MALFORMED");
    EXPECT_EQ(srp::ResultName(0x12345u), "0x12345");
}

}  // namespace
