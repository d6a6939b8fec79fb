/* The tool's own look at Tunnel Encapsulation values: tunnels, sub-TLVs, and
 * what the wire value says that its normalised form cannot. */
#include <gtest/gtest.h>

#include "bgp/tunnel_encap.h"
#include "common/bytes.h"
#include "test_support.h"

namespace {

using srp::Bytes;
using srp_test::Hex;

TEST(TunnelEncap, TunnelsSubTlvsAndWireNotes)
{
    struct Case {
        const char *pcName;
        const char *pcValue;
        const char *pcSubTlvs; /* "type/length" of the first tunnel's sub-TLVs */
        bool bTruncated;
        const char *pcWarnings; /* the warnings joined with '|' */
        const char *pcNames;    /* "type/wire length" */
    } astCases[] = {
        {"one tunnel", "000f 000b  0c06 000000000064  0e01 05", "12/6 14/1 ", false, "", ""},
        /* type 130 has a 2-byte length; the name is the value less its reserved byte */
        {"names", "000f 000d  8200 05 00 61626364  8100 02 00 78", "130/5 129/2 ", false, "", "130/4 129/1 "},
        {"second tunnel", "000f 0003  0e01 05  0001 0002 0c01", "14/1 ", false,
         "1 more tunnel TLV(s) after the first (type 1) not decoded: the plug-in decodes the first tunnel only", ""},
        {"first tunnel not SR Policy", "0001 0003 0e01 05", "14/1 ", false,
         "the first tunnel is of type 1, not SR Policy (15): the plug-in decodes SR Policy tunnels only", ""},
        {"sub-TLV past its tunnel", "000f 0004  0c06 0000", "", true, "", ""},
        {"tunnel past the value", "000f 0010  0c06", "", true, "", ""},
    };
    for (const Case &st : astCases) {
        Bytes v = Hex(st.pcValue);
        srp::TunnelEncapView stView;
        srp::ScanTunnelEncap(v.data(), v.size(), stView);
        std::string strSub;
        for (const srp::SubTlv &s : stView.vecSubTlvs) {
            strSub += std::to_string(s.ucType) + "/" + std::to_string(s.usLen) + " ";
        }
        EXPECT_EQ(strSub, st.pcSubTlvs) << st.pcName;
        EXPECT_EQ(stView.bTruncated, st.bTruncated) << st.pcName;
        srp::WireNotes stNotes;
        srp::NoteWireValue(v.data(), v.size(), stNotes);
        std::string strWarnings;
        for (const std::string &s : stNotes.vecWarnings) {
            strWarnings += (strWarnings.empty() ? "" : "|") + s;
        }
        EXPECT_EQ(strWarnings, st.pcWarnings) << st.pcName;
        std::string strNames;
        for (const srp::WireName &s : stNotes.vecNames) {
            strNames += std::to_string(s.ucType) + "/" + std::to_string(s.usLen) + " ";
        }
        EXPECT_EQ(strNames, st.pcNames) << st.pcName;
    }
}

}  // namespace
