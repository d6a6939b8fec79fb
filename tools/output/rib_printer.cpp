/* The route table through the describer and a printer. */
#include "output/rib_printer.h"

#include <cmath>

namespace srp {

size_t PrintRib(const Rib &rib, PluginHost &host, Printer &printer, const DescribeOptions &stOptions)
{
    Describer describer(host, stOptions);
    WalkedUpdate stWalk;
    DescribedUpdate stUpdate;
    EventContext stCtx;
    stCtx.strSource = "table";
    stCtx.bHasOffset = false;
    rib.ForEach([&](const RibSource &stSource, const RibKey &stKey, const RibRoute &stRoute) {
        stWalk.Clear();
        stWalk.vecRoutes.push_back(WalkedRoute{stKey.stKey, stKey.usAfi, false});
        stWalk.bHasAttr = stRoute.pPath->bHasAttr;
        stWalk.vecAttr = stRoute.pPath->vecAttr;
        stWalk.strNextHop = stRoute.pPath->strNextHop;
        stUpdate.Clear();
        describer.Describe(stWalk, stUpdate);
        stCtx.ullMessage++;
        stCtx.bHasTime = stRoute.dReceived > 0.0; /* file replays do not know it */
        stCtx.llTimeUs = static_cast<int64_t>(std::llround(stRoute.dReceived * 1e6));
        if (stSource.strRouter.empty()) {
            stCtx.strPeer = stSource.strPeer;
        } else { /* a BMP source: the router, the monitored peer and its view */
            stCtx.strRouter = stSource.strRouter;
            stCtx.strPeer = stSource.strPeer + " AS " + std::to_string(stSource.ulPeerAs);
            stCtx.strView = RibViewName(stSource.eView);
        }
        printer.Update(stCtx, stUpdate);
    });
    return static_cast<size_t>(stCtx.ullMessage);
}

}  // namespace srp
