/* Throughput of the srpolicy tool's stages: BGP and BMP framing, TCP reassembly, and
 * the walk of an UPDATE through the plug-in with its text. */
#include <benchmark/benchmark.h>

#include "bgp/message_stream.h"
#include "bmp/bmp_message.h"
#include "bmp_builders.h"
#include "input/tcp_reassembly.h"
#include "test_support.h"
#include "bgp/update_walker.h"
#include "plugin/describer.h"
#include "rib/rib.h"

namespace {

using srp::Bytes;

std::vector<Bytes> SampleMessages()
{
    Bytes vecStream = srp_test::SampleStream();
    std::vector<Bytes> vecMsgs;
    srp::BgpStreamSplitter splitter([&](const uint8_t *p, size_t n, uint64_t) { vecMsgs.emplace_back(p, p + n); },
                                    [](const std::string &, uint64_t) {});
    splitter.Feed(vecStream.data(), vecStream.size());
    return vecMsgs;
}

void BM_Framing(benchmark::State &state)
{
    Bytes vecOne = srp_test::SampleStream();
    Bytes vecStream;
    while (vecStream.size() < (1u << 20)) {
        vecStream.insert(vecStream.end(), vecOne.begin(), vecOne.end());
    }
    for (auto _ : state) {
        size_t ulCount = 0;
        srp::BgpStreamSplitter splitter([&](const uint8_t *, size_t, uint64_t) { ulCount++; },
                                        [](const std::string &, uint64_t) {});
        /* in TCP-sized pieces */
        for (size_t i = 0; i < vecStream.size(); i += 1460u) {
            splitter.Feed(vecStream.data() + i, std::min<size_t>(1460u, vecStream.size() - i));
        }
        benchmark::DoNotOptimize(ulCount);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * vecStream.size()));
}
BENCHMARK(BM_Framing);

/* The same UPDATEs as BM_Framing, each in a BMP Route Monitoring message:
 * the BMP stream framed in TCP-sized pieces and every message read (common
 * and per-peer header, the UPDATE's own header checked). */
void BM_BmpFraming(benchmark::State &state)
{
    Bytes vecStream;
    Bytes vecPeer = srp_test::PeerHeader(0u, 0u, 0x0A000001u, 65001u);
    while (vecStream.size() < (1u << 20)) {
        for (const Bytes &vecMsg : SampleMessages()) {
            Bytes vecRm = srp_test::Bmp(srp::bmp::kRouteMonitoring, srp_test::Concat({vecPeer, vecMsg}));
            vecStream.insert(vecStream.end(), vecRm.begin(), vecRm.end());
        }
    }
    for (auto _ : state) {
        size_t ulCount = 0;
        srp::bmp::Framer framer;
        srp::bmp::Message stMsg;
        std::string strError;
        for (size_t i = 0; i < vecStream.size(); i += 1460u) {
            framer.Feed(vecStream.data() + i, std::min<size_t>(1460u, vecStream.size() - i));
            const uint8_t *p = nullptr;
            size_t n = 0;
            while (framer.Next(p, n, strError) == srp::bmp::Framer::Result::Message) {
                stMsg.vecBgp.clear();
                ulCount += srp::bmp::ParseMessage(p, n, stMsg, strError) ? 1u : 0u;
            }
        }
        benchmark::DoNotOptimize(ulCount);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * vecStream.size()));
}
BENCHMARK(BM_BmpFraming);

/* Segments of 1460 bytes, each pair swapped: every other one waits. */
void BM_Reassembly(benchmark::State &state)
{
    const size_t ulSegs = 1024u;
    Bytes vecPayload(1460u, 0x5Au);
    for (auto _ : state) {
        size_t ulBytes = 0;
        srp::TcpStream stream([&](const uint8_t *, size_t n) { ulBytes += n; }, [](uint64_t, bool) {});
        stream.Segment(0u, true, nullptr, 0u);
        for (size_t i = 0; i < ulSegs; i += 2u) {
            stream.Segment(static_cast<uint32_t>(1u + (i + 1u) * 1460u), false, vecPayload.data(), 1460u);
            stream.Segment(static_cast<uint32_t>(1u + i * 1460u), false, vecPayload.data(), 1460u);
        }
        benchmark::DoNotOptimize(ulBytes);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * ulSegs * 1460u));
}
BENCHMARK(BM_Reassembly);

/* One pass over the sample's four UPDATEs: walk, key text, attribute text
 * and route check of every route, as `srpolicy decode` does. */
void BM_DecodeSample(benchmark::State &state)
{
    srp::PluginHost host;
    std::vector<Bytes> vecMsgs = SampleMessages();
    size_t ulRoutes = 0;
    for (auto _ : state) {
        for (const Bytes &vecMsg : vecMsgs) {
            Bytes vecCopy = vecMsg;
            srp::WalkedUpdate stWalk;
            srp::WalkUpdate(host, vecCopy, stWalk);
            for (const srp::WalkedRoute &stRoute : stWalk.vecRoutes) {
                std::string strKey;
                std::string strAttr;
                bool bValid = false;
                host.KeyText(stRoute.stKey, strKey);
                host.CheckEndpoint(stRoute.stKey, bValid);
                if (stWalk.bHasAttr && !stRoute.bWithdrawn) {
                    host.AttrText(stRoute.stKey, stWalk.vecAttr, strAttr);
                }
                ulRoutes++;
            }
        }
    }
    state.counters["routes/s"] = benchmark::Counter(static_cast<double>(ulRoutes), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_DecodeSample);

/* The table a live session keeps: 100,000 routes of distinct keys, one
 * UPDATE each, announced into an empty table in the order of the live
 * burst (colours 1 to 7 in turn, endpoints rising, a thousand distinct
 * label stacks); the table's share of a route's cost in `listen`: compare
 * with BM_DecodeSample's routes/s. */
void BM_TableAnnounce(benchmark::State &state)
{
    const uint32_t ulRoutes = 100000u;
    srp::RibSource stSource;
    stSource.strPeer = "127.0.0.2";
    srp::DescribedUpdate stUpdate;
    stUpdate.strNextHop = "192.0.2.1";
    stUpdate.stAttr.bPresent = true;
    stUpdate.stAttr.vecNormalised = srp_test::Hex("000f 001c 0c06000000000064 8000 1100"
                                                  "0106800003e80000 0106800004268000");
    const size_t ulLabel = stUpdate.stAttr.vecNormalised.size() - 12u; /* the first label: its field is label << 12 */
    stUpdate.vecRoutes.resize(1u);
    srp::DescribedRoute &stRoute = stUpdate.vecRoutes[0];
    stRoute.usAfi = 1u;
    stRoute.stKey.ucNlriLen = BOL_SRPOLICY_NLRI_LEN_IPV4;
    stRoute.stKey.ulDistinguisher = 1u;
    for (auto _ : state) {
        srp::Rib rib;
        for (uint32_t i = 0; i < ulRoutes; i++) {
            stRoute.stKey.ulPolicyColor = 1u + i % 7u;
            stRoute.stKey.aulEndpoint[0] = 0x0A000000u + i;
            uint32_t ulLabelValue = 16000u + i % 1000u;
            stUpdate.stAttr.vecNormalised[ulLabel] = static_cast<uint8_t>(ulLabelValue >> 12);
            stUpdate.stAttr.vecNormalised[ulLabel + 1u] = static_cast<uint8_t>(ulLabelValue >> 4);
            stUpdate.stAttr.vecNormalised[ulLabel + 2u] = static_cast<uint8_t>(ulLabelValue << 4);
            srp::ApplyUpdate(rib, stSource, stUpdate, 1.0);
        }
        benchmark::DoNotOptimize(rib.Size());
    }
    state.counters["routes/s"] =
        benchmark::Counter(static_cast<double>(state.iterations() * ulRoutes), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_TableAnnounce)->Unit(benchmark::kMillisecond);

}  // namespace
