/* What the command line names as peers and endpoints. */
#include <gtest/gtest.h>

#include "bgp/speaker.h"

namespace srp {
namespace {

TEST(Speaker, PeerAndEndpointText)
{
    struct Row {
        const char *pcText;
        bool bPort; /* the address may carry a port */
        bool bOk;
        const char *pcAddr;
        uint16_t usPort;
        uint32_t ulAs;
        const char *pcMd5;
        const char *pcError; /* part of the error when refused */
    };
    const Row aRows[] = {
        {"127.0.0.2", true, true, "127.0.0.2", 179, 0, "", ""},
        {"127.0.0.2:1790", true, true, "127.0.0.2", 1790, 0, "", ""},
        {"[::1]:1790", true, true, "::1", 1790, 0, "", ""},
        {"[::1]", true, true, "::1", 179, 0, "", ""},
        {"::1", true, true, "::1", 179, 0, "", ""},
        {"127.0.0.2:1790,as=65001,md5=a=b", true, true, "127.0.0.2", 1790, 65001, "a=b", ""},
        {"127.0.0.2,md5=pw,as=4200000000", false, true, "127.0.0.2", 179, 4200000000u, "pw", ""},
        {"127.0.0.2:65536", true, false, "", 0, 0, "", "not a port: 65536"},
        {"127.0.0.2:", true, true, "127.0.0.2", 179, 0, "", ""},
        {"127.0.0.2:x", true, false, "", 0, 0, "", "not a port"},
        {"[::1]x", true, false, "", 0, 0, "", "expected ':'"},
        {"[::1", true, false, "", 0, 0, "", "missing ']'"},
        {"router1", true, false, "", 0, 0, "", "not a numeric address"},
        {"127.0.0.2:1790", false, false, "", 0, 0, "", "not a numeric address"},
        {"127.0.0.2,as=0", false, false, "", 0, 0, "", "not an AS number"},
        {"127.0.0.2,as=4294967296", false, false, "", 0, 0, "", "not an AS number"},
        {"127.0.0.2,hold=3", false, false, "", 0, 0, "", "unknown peer setting 'hold=3'"},
    };
    for (const Row &row : aRows) {
        SCOPED_TRACE(row.pcText);
        PeerSpec st;
        std::string strError;
        ASSERT_EQ(ParsePeerSpec(row.pcText, row.bPort, st, strError), row.bOk) << strError;
        if (row.bOk) {
            EXPECT_EQ(st.strAddr, row.pcAddr);
            EXPECT_EQ(st.usPort, row.usPort);
            EXPECT_EQ(st.ulAs, row.ulAs);
            EXPECT_EQ(st.strMd5, row.pcMd5);
        } else {
            EXPECT_NE(strError.find(row.pcError), std::string::npos) << strError;
        }
    }
}

}  // namespace
}  // namespace srp
