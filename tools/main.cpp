/*
 * srpolicy: a command-line BGP host for the SR Policy plug-in.
 *   srpolicy decode [FILE...]   UPDATEs (hex, raw, pcap/pcapng, MRT) to routes
 *   srpolicy encode CONFIG.json configured routes to UPDATEs
 *   srpolicy listen             routes BGP peers advertise, live
 *   srpolicy announce CONFIG    configured routes to BGP peers, live
 */
#include <CLI/CLI.hpp>

#include <arpa/inet.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string>

#include "bol_srpolicy.h"
#include "bmp/station.h"
#include "decode.h"
#include "encode/encode.h"
#include "live.h"

#ifndef SRPOLICY_SAMPLE
#define SRPOLICY_SAMPLE "samples/all_subtlvs.hex"
#endif

/* The bundled sample: $SRPOLICY_SAMPLE, else the installed copy (its path
 * relative to the program's folder), else the source tree's. */
static std::string SamplePath()
{
    const char *pcSample = getenv("SRPOLICY_SAMPLE");
    if (pcSample != nullptr) {
        return pcSample;
    }
#ifdef SRPOLICY_INSTALLED_SAMPLE
    std::error_code ec;
    const std::filesystem::path pathExe = std::filesystem::read_symlink("/proc/self/exe", ec);
    if (!ec) {
        const std::filesystem::path pathSample = pathExe.parent_path() / SRPOLICY_INSTALLED_SAMPLE;
        if (std::filesystem::is_regular_file(pathSample, ec)) {
            return pathSample.lexically_normal().string();
        }
    }
#endif
    return SRPOLICY_SAMPLE;
}

namespace {

/* The session options listen and announce share, as given. */
struct SessionArgs {
    std::vector<std::string> vecBind;
    std::vector<std::string> vecConnect;
    std::vector<std::string> vecPeers;
    std::string strMd5;
    std::string strSource;
    std::string strRouterId;
    uint32_t ulAs = 0;
    uint32_t ulPeerAs = 0;
    uint16_t usHold = 90;
    double dRetry = 5.0;
};

void AddSessionOptions(CLI::App *pApp, SessionArgs &st, bool bPeerAs)
{
    pApp->add_option("--as", st.ulAs, "our AS number")->required()->check(CLI::Range(1u, 0xffffffffu));
    if (bPeerAs) {
        pApp->add_option("--peer-as", st.ulPeerAs, "the peer's AS number (any when not given)");
    }
    pApp->add_option("--bind", st.vecBind, "ADDR[:PORT]: accept sessions there (port 179 when not given)");
    pApp->add_option("--connect", st.vecConnect, "ADDR[:PORT][,as=N][,md5=PASSWORD]: open a session to a peer");
    pApp->add_option("--peer", st.vecPeers, "ADDR[,as=N][,md5=PASSWORD]: accept only these peers");
    pApp->add_option("--md5-password", st.strMd5, "TCP MD5 password of every peer that names none");
    pApp->add_option("--source", st.strSource, "local address of outgoing sessions");
    pApp->add_option("--router-id", st.strRouterId, "BGP identifier (default: the first IPv4 --bind or --source address)");
    pApp->add_option("--hold-time", st.usHold, "hold time offered, seconds (0, or 3 and more)")->capture_default_str();
    pApp->add_option("--retry", st.dRetry, "seconds between connection attempts")->capture_default_str();
}

bool ToSpeakerOptions(const SessionArgs &st, srp::SpeakerOptions &stOut, std::string &strError)
{
    if (st.usHold == 1u || st.usHold == 2u) {
        strError = "--hold-time must be 0 or at least 3";
        return false;
    }
    stOut.stSession.ulLocalAs = st.ulAs;
    stOut.stSession.ulPeerAs = st.ulPeerAs;
    stOut.stSession.usHoldTime = st.usHold;
    stOut.dRetry = st.dRetry;
    stOut.strSource = st.strSource;
    std::vector<std::string> vecIds = {st.strRouterId};
    for (const std::string &strBind : st.vecBind) {
        srp::PeerSpec stSpec;
        if (!srp::ParseEndpoint(strBind, srp::kBgpPort, stSpec.strAddr, stSpec.usPort, strError)) {
            return false;
        }
        stOut.vecBind.push_back(stSpec);
        vecIds.push_back(stSpec.strAddr);
    }
    vecIds.push_back(st.strSource);
    vecIds.push_back("127.0.0.1");
    for (const std::string &strId : vecIds) {
        in_addr stAddr;
        if (!strId.empty() && inet_pton(AF_INET, strId.c_str(), &stAddr) == 1 && stAddr.s_addr != 0u) {
            stOut.stSession.ulRouterId = ntohl(stAddr.s_addr);
            break;
        }
        if (!strId.empty() && strId == st.strRouterId) {
            strError = "--router-id must be an IPv4 address other than 0.0.0.0";
            return false;
        }
    }
    for (const std::string &strPeer : st.vecConnect) {
        srp::PeerSpec stSpec;
        if (!srp::ParsePeerSpec(strPeer, true, stSpec, strError)) {
            return false;
        }
        stSpec.strMd5 = stSpec.strMd5.empty() ? st.strMd5 : stSpec.strMd5;
        stOut.vecConnect.push_back(stSpec);
    }
    for (const std::string &strPeer : st.vecPeers) {
        srp::PeerSpec stSpec;
        if (!srp::ParsePeerSpec(strPeer, false, stSpec, strError)) {
            return false;
        }
        stSpec.strMd5 = stSpec.strMd5.empty() ? st.strMd5 : stSpec.strMd5;
        stOut.vecPeers.push_back(stSpec);
    }
    if (!st.strMd5.empty() && !stOut.vecBind.empty() && stOut.vecPeers.empty()) {
        strError = "--md5-password on accepted sessions needs --peer (the key is set per peer address)";
        return false;
    }
    return true;
}

}  // namespace

int main(int argc, char **argv)
{
    CLI::App app{"srpolicy: decode and encode BGP SR Policy routes through the SR Policy plug-in"};
    app.require_subcommand(1);
    app.set_version_flag("--version", std::string("srpolicy ") + BOL_SRPOLICY_VERSION_STRING);

    srp::DecodeOptions stDecode;
    std::string strIn = "auto";
    bool bSample = false;
    bool bAttr = false;
    bool bNlri = false;
    CLI::App *pDecode = app.add_subcommand("decode", "decode BGP messages and print their SR Policy routes");
    pDecode->add_option("FILE", stDecode.vecInputs, "inputs ('-' or none: standard input)");
    pDecode->add_option("--in", strIn, "input format")
        ->check(CLI::IsMember({"auto", "hex", "raw", "pcap", "mrt", "bmp"}))
        ->capture_default_str();
    pDecode->add_option("--port", stDecode.vecPorts, "TCP port of BGP or BMP in captures (repeatable; default 179, and 11019 for BMP)")
        ->check(CLI::Range(1, 65535))
        ->expected(1)
        ->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    pDecode->add_flag("--json", stDecode.bJson, "one JSON object per route");
    pDecode->add_flag("--rib", stDecode.bRib, "print the table of routes the inputs leave, not every route");
    pDecode->add_flag("--verbose,-v", stDecode.bVerbose, "also show the plug-in's reports of calls that succeeded");
    pDecode->add_flag("--sample", bSample, "decode the bundled sample");
    CLI::Option *pAttr = pDecode->add_flag("--attr", bAttr, "inputs hold Tunnel Encapsulation attribute values in hex, one per line");
    CLI::Option *pNlri = pDecode->add_flag("--nlri", bNlri, "inputs hold SR Policy NLRI in hex, one value per line");
    pAttr->excludes(pNlri);

    srp::EncodeOptions stEncode;
    std::string strOut = "hex";
    CLI::App *pEncode = app.add_subcommand("encode", "encode configured SR Policy routes as BGP UPDATE messages");
    pEncode->add_option("CONFIG", stEncode.strConfig, "configuration (JSON)")->required();
    pEncode->add_flag("--withdraw", stEncode.bWithdraw, "withdraw the routes (MP_UNREACH_NLRI)");
    pEncode->add_option("--out", strOut, "output form")->check(CLI::IsMember({"hex", "raw"}))->capture_default_str();
    pEncode->add_option("--out-pcap", stEncode.strPcap, "write a pcap capture of the session to this file");

    srp::bmp::StationOptions stBmp;
    CLI::App *pBmp = app.add_subcommand("bmp", "a BMP station: SR Policy routes the routers monitor");
    pBmp->add_option("--bind", stBmp.strBind, "ADDR[:PORT] to accept BMP sessions on (port 11019 unless given)")
        ->capture_default_str();
    pBmp->add_option("--allow", stBmp.vecAllow, "accept routers only from this prefix (repeatable)");
    pBmp->add_flag("--json", stBmp.bJson, "one JSON object per route and event");
    pBmp->add_flag("--verbose", stBmp.bVerbose, "show Statistics Reports");
    pBmp->add_option("--rib-out", stBmp.strRibOut, "write the table as JSON lines here on SIGUSR1 and on exit");
    pBmp->add_option("--port-file", stBmp.strPortFile, "write the bound port here (for --bind ADDR:0)");
    size_t ulBmpOutMiB = 64;
    pBmp->add_option("--out-buffer", ulBmpOutMiB, "MiB of output held while standard output is slow")
        ->check(CLI::Range(1u, 4096u))
        ->capture_default_str();

    srp::ListenOptions stListen;
    SessionArgs stListenArgs;
    size_t ulOutMiB = 64;
    CLI::App *pListen = app.add_subcommand("listen", "accept or open BGP sessions and print the SR Policy routes peers send");
    AddSessionOptions(pListen, stListenArgs, false);
    pListen->add_flag("--json", stListen.bJson, "one JSON object per route and event");
    pListen->add_option("--rib-out", stListen.strRibOut, "write the table as JSON to this file on SIGUSR1 and at exit");
    pListen->add_option("--out-buffer", ulOutMiB, "MiB of output held while standard output is slow")
        ->check(CLI::Range(1u, 4096u))
        ->capture_default_str();

    srp::AnnounceOptions stAnnounce;
    SessionArgs stAnnounceArgs;
    CLI::App *pAnnounce = app.add_subcommand("announce", "send configured SR Policy routes to BGP peers and keep them");
    pAnnounce->add_option("CONFIG", stAnnounce.strConfig, "configuration (JSON, as for encode)")->required();
    AddSessionOptions(pAnnounce, stAnnounceArgs, true);
    pAnnounce->add_flag("--keep-on-exit", stAnnounce.bKeepOnExit, "do not withdraw the routes at exit");

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &e) {
        int iRc = app.exit(e);
        return iRc == 0 ? 0 : 2;
    }

    if (pBmp->parsed()) {
        stBmp.ulOutLimit = ulBmpOutMiB << 20;
        return srp::bmp::RunStation(stBmp);
    }
    if (pDecode->parsed()) {
        srp::FormatFromName(strIn, stDecode.eFormat);
        stDecode.eMode = bAttr ? srp::DecodeMode::Attributes
                               : (bNlri ? srp::DecodeMode::Nlri : srp::DecodeMode::Messages);
        if (bSample) {
            stDecode.vecInputs.push_back(SamplePath());
        }
        if (stDecode.vecInputs.empty() && isatty(STDIN_FILENO) == 1) {
            /* Nothing given and nobody piping: say how to use it instead of waiting for typed input. */
            std::cerr << pDecode->help() << "\nNo input: give FILE arguments, pipe data to standard input, or try "
                                           "--sample.\n";
            return 2;
        }
        return srp::RunDecode(stDecode);
    }
    if (pListen->parsed() || pAnnounce->parsed()) {
        bool bListen = pListen->parsed();
        SessionArgs &stArgs = bListen ? stListenArgs : stAnnounceArgs;
        srp::SpeakerOptions &stSpeaker = bListen ? stListen.stSpeaker : stAnnounce.stSpeaker;
        if (stArgs.vecBind.empty() && stArgs.vecConnect.empty()) {
            stArgs.vecBind.push_back(bListen ? "[::]:179" : "");
            if (!bListen) {
                std::cerr << "srpolicy: announce needs --connect or --bind\n";
                return 2;
            }
        }
        std::string strError;
        if (!ToSpeakerOptions(stArgs, stSpeaker, strError)) {
            std::cerr << "srpolicy: " << strError << "\n";
            return 2;
        }
        if (bListen) {
            stListen.ulOutLimit = ulOutMiB << 20;
            return srp::RunListen(stListen);
        }
        return srp::RunAnnounce(stAnnounce);
    }
    stEncode.eOutput = strOut == "raw" ? srp::EncodeOutput::Raw : srp::EncodeOutput::Hex;
    return srp::RunEncode(stEncode);
}
