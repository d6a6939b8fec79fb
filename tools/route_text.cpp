/* Text form of a decoded route. */
#include "route_output.h"

#include <sstream>

#include "plugin_host.h"

namespace srp {

std::string EndpointText(const BOL_SRPOLICY_NLRI_S &stKey)
{
    if (stKey.ucNlriLen == BOL_SRPOLICY_NLRI_LEN_IPV4) {
        return Ipv4Text(stKey.aulEndpoint[0]);
    }
    uint8_t auc[16];
    for (size_t i = 0; i < 4u; i++) {
        for (size_t k = 0; k < 4u; k++) {
            auc[4u * i + k] = static_cast<uint8_t>(stKey.aulEndpoint[i] >> (24u - 8u * k));
        }
    }
    return Ipv6Text(auc);
}

std::string RouteText(const RouteReport &stRoute)
{
    std::ostringstream os;
    os << (stRoute.bHasKey ? (stRoute.bWithdrawn ? "withdraw" : "announce") : "attribute") << " (message "
       << stRoute.ullMessage << ", " << stRoute.strSource << " offset " << stRoute.ullOffset;
    if (stRoute.bHasKey) {
        os << ", AFI " << stRoute.usAfi << " SAFI 73";
    }
    os << ")\n";
    if (stRoute.bHasKey) {
        os << "  " << stRoute.strKeyText << "\n";
        if (!stRoute.strNextHop.empty()) {
            os << "  Next hop: " << stRoute.strNextHop << "\n";
        }
        if (stRoute.bChecked) {
            os << "  Route check: " << (stRoute.bValid ? "valid" : "invalid endpoint") << "\n";
        }
    }
    if (!stRoute.bHasKey && stRoute.bHasAttr) {
        os << "  Normalised value: " << ToHex(stRoute.vecAttr) << "\n";
    }
    if (stRoute.ulAttrError != 0u) {
        os << "  Tunnel Encapsulation attribute refused: " << ResultName(stRoute.ulAttrError) << "\n";
    }
    if (stRoute.bHasAttr) {
        /* The plug-in's text, indented one step under the route. */
        std::istringstream is(stRoute.strAttrText);
        std::string strLine;
        while (std::getline(is, strLine)) {
            if (!strLine.empty() && strLine.back() == '\r') {
                strLine.pop_back();
            }
            if (!strLine.empty()) {
                os << "  " << strLine << "\n";
            }
        }
    }
    return os.str();
}

}  // namespace srp
