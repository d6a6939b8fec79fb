/*
 * The live commands: `srpolicy listen` watches what BGP peers advertise,
 * `srpolicy announce` sends configured SR Policies to them. Both run a
 * speaker (bgp/speaker.h); every UPDATE goes down the same road as in
 * `decode`, and every route sent is built as `encode` builds it.
 */
#ifndef SRPOLICY_TOOL_LIVE_H
#define SRPOLICY_TOOL_LIVE_H

#include <cstddef>
#include <string>

#include "bgp/speaker.h"

namespace srp {

struct ListenOptions {
    SpeakerOptions stSpeaker;
    bool bJson = false;
    std::string strRibOut;               /* the table as JSON on SIGUSR1 and at exit */
    size_t ulOutLimit = 64u << 20;       /* output bytes held before reading pauses */
};

struct AnnounceOptions {
    SpeakerOptions stSpeaker;
    std::string strConfig;
    bool bKeepOnExit = false; /* leave the routes with the peer at exit */
};

/* Exit status: 0 after a signal ended the run, 1 when the speaker failed,
 * 2 when it could not start (sockets, the plug-in, the configuration). */
int RunListen(const ListenOptions &stOptions);
int RunAnnounce(const AnnounceOptions &stOptions);

}  // namespace srp

#endif
