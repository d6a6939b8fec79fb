/* `srpolicy listen`: UPDATEs of live sessions through the walker, describer
 * and printers, and into the table. */
#include <fcntl.h>
#include <sys/time.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <iostream>
#include <map>
#include <memory>

#include "bgp/update_walker.h"
#include "live.h"
#include "output/live_output.h"
#include "output/printer.h"
#include "output/rib_printer.h"
#include "plugin/describer.h"
#include "rib/rib.h"

namespace srp {

namespace {

int64_t WallClockUs()
{
    timeval tv;
    gettimeofday(&tv, nullptr);
    return static_cast<int64_t>(tv.tv_sec) * 1000000 + tv.tv_usec;
}

std::string FamiliesText(const std::vector<Family> &vec)
{
    std::string s;
    for (const Family &st : vec) {
        s += (s.empty() ? "" : " ") + std::to_string(st.usAfi) + "/" + std::to_string(st.ucSafi);
    }
    return s;
}

const double kFlushDelay = 0.05;
/* Printed events are handed to the writer thread in blocks of up to 1 MiB
 * (a burst fills some 20 MB/s): each hand-off wakes the thread and costs it
 * a write, so fewer and larger blocks cost both threads less. */
const size_t kOutBlock = size_t{1} << 20;

struct ListenCounters : RouteCounts {
    uint64_t ullSessions = 0;
    uint64_t ullTreatedAsWithdraw = 0;
};

class Listener : public SpeakerHandler {
public:
    Listener(PluginHost &host, const ListenOptions &stOptions)
        : m_host(host),
          m_stOptions(stOptions),
          m_describer(host, DescribeOptions{!stOptions.bJson, stOptions.bJson}),
          m_live(STDOUT_FILENO, stOptions.ulOutLimit),
          m_out([this](std::string &strBlock) { return m_live.Push(strBlock); }, kOutBlock),
          m_pPrinter(MakePrinter(stOptions.bJson ? PrintForm::Json : PrintForm::Text, m_out))
    {
    }

    void PeerUp(Speaker &sp, const PeerId &stPeer) override
    {
        const BgpSession *pSession = sp.Session(stPeer.iId);
        m_stCount.ullSessions++;
        std::cerr << "srpolicy: peer " << stPeer.strAddr << " (AS " << pSession->PeerAs()
                  << "): session established, hold time " << pSession->HoldTime() << " s, families "
                  << FamiliesText(pSession->Families()) << (pSession->ExtendedMessages() ? ", extended messages" : "")
                  << "\n";
        /* Nothing of our own to advertise: say so at once. */
        for (const Family &st : pSession->Families()) {
            sp.Send(stPeer.iId, BuildEndOfRib(st));
        }
    }

    void PeerUpdate(Speaker &sp, const PeerId &stPeer, const uint8_t *p, size_t n) override
    {
        int64_t llNowUs = WallClockUs();
        Context(sp, stPeer, llNowUs);
        m_stCount.ullUpdates++;
        Family stFamily{0, 0};
        if (IsEndOfRib(p, n, stFamily)) {
            EndOfRib(stFamily);
            return;
        }
        m_vecMsg.assign(p, p + n);
        m_stWalk.Clear();
        WalkUpdate(m_host, m_vecMsg, m_stWalk);
        m_stUpdate.Clear();
        m_describer.Describe(m_stWalk, m_stUpdate);
        m_stCount.Add(m_stUpdate);
        for (const Problem &st : m_stUpdate.vecProblems) {
            std::cerr << ProblemLine(m_stCtx, st) << "\n";
        }
        size_t ulTreated = ApplyUpdate(m_rib, Source(sp, stPeer), m_stUpdate, static_cast<double>(llNowUs) / 1e6);
        if (ulTreated != 0u) {
            m_stCount.ullTreatedAsWithdraw += ulTreated;
            std::cerr << "srpolicy: peer " << stPeer.strAddr << ": message " << m_stCtx.ullMessage << ": " << ulTreated
                      << " route(s) with a refused Tunnel Encapsulation attribute treated as withdrawn\n";
        }
        m_pPrinter->Update(m_stCtx, m_stUpdate);
        m_bUnflushed = true;
    }

    void PeerDown(Speaker &sp, const PeerId &stPeer, bool bWasUp, const std::string &strWhy) override
    {
        (void)sp;
        size_t ulGone = 0;
        if (bWasUp) {
            ulGone = m_rib.Clear(m_mapSources[stPeer.iId]);
            m_mapSources.erase(stPeer.iId);
        }
        std::cerr << "srpolicy: peer " << stPeer.strAddr << ": session " << (bWasUp ? "down" : "not established")
                  << ": " << strWhy;
        if (bWasUp) {
            std::cerr << "; " << ulGone << " route(s) removed from the table";
        }
        std::cerr << "\n";
    }

    void Signal(Speaker &sp, int iSignal) override
    {
        (void)sp;
        if (iSignal == SIGUSR1 || iSignal == SIGINT || iSignal == SIGTERM) {
            DumpTable();
        }
    }

    bool Congested() override
    {
        bool bFull = m_live.Full();
        if (bFull && !m_bPaused) {
            std::cerr << "srpolicy: standard output is slow: " << m_live.Pending()
                      << " bytes waiting; reading from peers paused, keepalives go on\n";
            m_bPaused = true;
        } else if (m_bPaused && m_live.Pending() < m_live.Limit() / 2u) {
            std::cerr << "srpolicy: output caught up (" << m_live.Pending() << " bytes waiting); reading again\n";
            m_bPaused = false;
        }
        return m_bPaused;
    }

    /* Printed events go out in blocks, at most a twentieth of a second after
     * they were printed: a burst of UPDATEs that arrive one by one costs the
     * writer one write per block, not one per UPDATE. */
    void Turn(Speaker &sp) override
    {
        (void)sp;
        double dNow = Speaker::Now();
        if (m_bUnflushed && dNow - m_dFlushed >= kFlushDelay) {
            m_out.Flush();
            m_bUnflushed = false;
            m_dFlushed = dNow;
        }
    }

    double WakeBy(double dNow) override { return m_bUnflushed ? m_dFlushed + kFlushDelay : dNow + 3600.0; }

    void Finish()
    {
        m_out.Flush();
        m_live.Drain();
        std::cerr << "summary: sessions " << m_stCount.ullSessions << ", updates " << m_stCount.ullUpdates
                  << ", routes " << m_stCount.ullRoutes << ", withdrawals " << m_stCount.ullWithdrawals
                  << ", treated as withdraw " << m_stCount.ullTreatedAsWithdraw << ", failed " << m_stCount.ullFailed
                  << ", table " << m_rib.Size() << "\n";
    }

private:
    void Context(Speaker &sp, const PeerId &stPeer, int64_t llNowUs)
    {
        (void)sp;
        m_stCtx.ullMessage++;
        m_stCtx.strSource = "session";
        m_stCtx.bHasOffset = false;
        m_stCtx.bHasTime = true;
        m_stCtx.llTimeUs = llNowUs;
        m_stCtx.strPeer = stPeer.strAddr;
    }

    const RibSource &Source(Speaker &sp, const PeerId &stPeer)
    {
        RibSource &st = m_mapSources[stPeer.iId];
        if (st.strPeer.empty()) {
            st.strPeer = stPeer.strAddr;
            const BgpSession *pSession = sp.Session(stPeer.iId);
            st.ulPeerAs = pSession != nullptr ? pSession->PeerAs() : 0u;
        }
        return st;
    }

    void EndOfRib(const Family &stFamily)
    {
        m_bUnflushed = true;
        if (m_stOptions.bJson) {
            m_out << "{\"message\":" << m_stCtx.ullMessage << ",\"source\":\"session\",\"time\":\""
                  << EventTimeText(m_stCtx.llTimeUs) << "\",\"peer\":\"" << m_stCtx.strPeer
                  << "\",\"end_of_rib\":{\"afi\":" << uint64_t{stFamily.usAfi} << ",\"safi\":"
                  << uint64_t{stFamily.ucSafi} << "}}\n";
        } else {
            m_out << "end-of-rib (message " << m_stCtx.ullMessage << ", " << EventTimeText(m_stCtx.llTimeUs)
                  << ", peer " << m_stCtx.strPeer << ", session, AFI " << uint64_t{stFamily.usAfi} << " SAFI "
                  << uint64_t{stFamily.ucSafi} << ")\n";
        }
    }

    void DumpTable()
    {
        if (m_stOptions.strRibOut.empty()) {
            if (!m_stOptions.bJson) {
                m_out << "table: " << uint64_t{m_rib.Size()} << " route(s)\n";
            }
            PrintRib(m_rib, m_host, *m_pPrinter, DescribeOptions{!m_stOptions.bJson, m_stOptions.bJson});
            m_out.Flush();
            return;
        }
        /* Written aside and renamed, so a reader never sees half a table. */
        std::string strTemp = m_stOptions.strRibOut + ".tmp";
        int iFd = open(strTemp.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
        if (iFd < 0) {
            std::cerr << "srpolicy: cannot write " << strTemp << "\n";
            return;
        }
        bool bOk;
        {
            OutBuffer out(iFd);
            std::unique_ptr<Printer> pJson = MakePrinter(PrintForm::Json, out);
            PrintRib(m_rib, m_host, *pJson, DescribeOptions{false, true});
            bOk = out.Flush();
        }
        close(iFd);
        if (!bOk || std::rename(strTemp.c_str(), m_stOptions.strRibOut.c_str()) != 0) {
            std::cerr << "srpolicy: cannot write " << m_stOptions.strRibOut << "\n";
        }
    }

    PluginHost &m_host;
    const ListenOptions &m_stOptions;
    Describer m_describer;
    LiveOutput m_live;
    OutBuffer m_out;
    std::unique_ptr<Printer> m_pPrinter;
    EventContext m_stCtx;
    Bytes m_vecMsg;
    WalkedUpdate m_stWalk;
    DescribedUpdate m_stUpdate;
    Rib m_rib;
    std::map<int, RibSource> m_mapSources; /* per connection, while it is up */
    ListenCounters m_stCount;
    bool m_bPaused = false;
    bool m_bUnflushed = false; /* printed since the last flush */
    double m_dFlushed = 0.0;
};

}  // namespace

int RunListen(const ListenOptions &stOptions)
{
    PluginHost host;
    if (!host.Ok()) {
        std::cerr << "srpolicy: the plug-in could not be constructed\n";
        return 2;
    }
    Listener listener(host, stOptions);
    Speaker speaker(stOptions.stSpeaker, listener);
    std::string strError;
    if (!speaker.Open(strError)) {
        std::cerr << "srpolicy: " << strError << "\n";
        return 2;
    }
    int iRc = speaker.Run();
    listener.Finish();
    return iRc;
}

}  // namespace srp
