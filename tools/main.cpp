/*
 * srpolicy: a command-line BGP host for the SR Policy plug-in.
 *   srpolicy decode [FILE...]   UPDATEs (hex, raw, pcap/pcapng, MRT) to routes
 *   srpolicy encode CONFIG.json configured routes to UPDATEs
 */
#include <CLI/CLI.hpp>

#include <unistd.h>

#include <cstdlib>
#include <iostream>

#include "bmp/station.h"
#include "decode.h"
#include "encode/encode.h"

#ifndef SRPOLICY_SAMPLE
#define SRPOLICY_SAMPLE "samples/all_subtlvs.hex"
#endif

int main(int argc, char **argv)
{
    CLI::App app{"srpolicy: decode and encode BGP SR Policy routes through the SR Policy plug-in"};
    app.require_subcommand(1);

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

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &e) {
        int iRc = app.exit(e);
        return iRc == 0 ? 0 : 2;
    }

    if (pBmp->parsed()) {
        return srp::bmp::RunStation(stBmp);
    }
    if (pDecode->parsed()) {
        srp::FormatFromName(strIn, stDecode.eFormat);
        stDecode.eMode = bAttr ? srp::DecodeMode::Attributes
                               : (bNlri ? srp::DecodeMode::Nlri : srp::DecodeMode::Messages);
        if (bSample) {
            const char *pcSample = getenv("SRPOLICY_SAMPLE");
            stDecode.vecInputs.push_back(pcSample != nullptr ? pcSample : SRPOLICY_SAMPLE);
        }
        if (stDecode.vecInputs.empty() && isatty(STDIN_FILENO) == 1) {
            /* Nothing given and nobody piping: say how to use it instead of waiting for typed input. */
            std::cerr << pDecode->help() << "\nNo input: give FILE arguments, pipe data to standard input, or try "
                                           "--sample.\n";
            return 2;
        }
        return srp::RunDecode(stDecode);
    }
    stEncode.eOutput = strOut == "raw" ? srp::EncodeOutput::Raw : srp::EncodeOutput::Hex;
    return srp::RunEncode(stEncode);
}
