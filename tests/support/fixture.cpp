#include "fixture.h"

#include <stdio.h>


namespace bt {

Bytes Hex(const std::string &strHex)
{
    Bytes v;
    int iHigh = -1;
    for (size_t i = 0; i < strHex.size(); i++) {
        char c = strHex[i];
        int iNib = -1;
        if (c >= '0' && c <= '9') {
            iNib = c - '0';
        } else if (c >= 'a' && c <= 'f') {
            iNib = c - 'a' + 10;
        } else if (c >= 'A' && c <= 'F') {
            iNib = c - 'A' + 10;
        } else {
            continue;  // separators, including the UTF-8 bytes of a middle dot
        }
        if (iHigh < 0) {
            iHigh = iNib;
        } else {
            v.push_back(static_cast<uint8_t>(iHigh * 16 + iNib));
            iHigh = -1;
        }
    }
    EXPECT_LT(iHigh, 0) << "odd number of hex digits in: " << strHex;
    return v;
}

std::string ToHex(const uint8_t *puc, size_t n)
{
    std::string s;
    char ac[4];
    for (size_t i = 0; i < n; i++) {
        snprintf(ac, sizeof(ac), i == 0 ? "%02X" : " %02X", puc[i]);
        s += ac;
    }
    return s;
}

void PluginTest::SetUp()
{
    tp::Reset();
    ASSERT_EQ(tp::LiveBlocksAll(), 0u) << "a previous test leaked";
    memset(&m_stTbl, kCanary, sizeof(m_stTbl));
    m_pstInst = BOL_SRPOLICY_Construct(&m_stTbl, kModule);
    ASSERT_NE(m_pstInst, nullptr);
    tp::Reset();
}

void PluginTest::TearDown()
{
    if (m_pstInst != nullptr) {
        BOL_SRPOLICY_Destruct(m_pstInst);
        m_pstInst = nullptr;
    }
    EXPECT_EQ(tp::LiveBlocksAll(), 0u) << "blocks still live after the test";
    EXPECT_EQ(tp::BadFrees(), 0u) << "frees of blocks that were not live";
    EXPECT_EQ(tp::SizeMismatchReports(), 0u) << "an encoder wrote other than it had sized";
}

BOL_SRPOLICY_NLRI_S KeyV4(uint32_t ulDist, uint32_t ulColor, uint32_t ulAddr)
{
    BOL_SRPOLICY_NLRI_S st;
    memset(&st, 0, sizeof(st));
    st.ucNlriLen = BOL_SRPOLICY_NLRI_LEN_IPV4;
    st.ulDistinguisher = ulDist;
    st.ulPolicyColor = ulColor;
    st.aulEndpoint[0] = ulAddr;
    return st;
}

BOL_SRPOLICY_NLRI_S KeyV6(uint32_t ulDist, uint32_t ulColor, uint32_t ul0, uint32_t ul1, uint32_t ul2, uint32_t ul3)
{
    BOL_SRPOLICY_NLRI_S st = KeyV4(ulDist, ulColor, ul0);
    st.ucNlriLen = BOL_SRPOLICY_NLRI_LEN_IPV6;
    st.aulEndpoint[1] = ul1;
    st.aulEndpoint[2] = ul2;
    st.aulEndpoint[3] = ul3;
    return st;
}

}  // namespace bt
