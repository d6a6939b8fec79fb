/*
 * `srpolicy bmp`: a BMP station. Accepts the BMP sessions of any number of
 * routers (only from the allowed prefixes when given), cuts each stream into
 * messages and hands them to the monitor. A router whose stream breaks (a
 * wrong version, a length that lies, a malformed or cut message) is told
 * about on standard error and its session alone is closed.
 */
#ifndef SRPOLICY_TOOL_BMP_STATION_H
#define SRPOLICY_TOOL_BMP_STATION_H

#include <cstdint>
#include <string>
#include <vector>

#include "common/bytes.h"

namespace srp {
namespace bmp {

struct StationOptions {
    std::string strBind = "0.0.0.0:11019"; /* ADDR[:PORT], [IPv6]:PORT */
    std::vector<std::string> vecAllow;     /* prefixes routers may connect from; empty: any */
    bool bJson = false;
    bool bVerbose = false;
    std::string strRibOut;  /* the table as JSON lines, written on SIGUSR1 and on exit */
    std::string strPortFile; /* the bound port is written here (binding port 0) */
    size_t ulOutLimit = 64u << 20; /* output held while standard output is slow */
};

/* An address prefix of --allow: ADDR or ADDR/LEN, IPv4 or IPv6. */
struct Prefix {
    Bytes vecAddr; /* 4 or 16 bytes */
    unsigned uLen = 0;
};
bool ParsePrefix(const std::string &strText, Prefix &stOut);
/* Whether the address (4 or 16 bytes; an IPv4-mapped IPv6 address counts
 * as IPv4) lies in the prefix. */
bool PrefixContains(const Prefix &stPrefix, const Bytes &vecAddr);


/* Runs until SIGINT or SIGTERM. Exit status 0, or 2 when the station
 * cannot start (a bad address, a port in use). */
int RunStation(const StationOptions &stOptions);

}  // namespace bmp
}  // namespace srp

#endif
