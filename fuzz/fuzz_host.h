/*
 * What every fuzz target shares: one plug-in constructed the way a host does
 * it, on the test platform (planned allocation failures, live-block counts),
 * property checks that abort with the failing condition, output blocks taken
 * over and released as the host does, input in exact heap blocks, and writes
 * and text rendered into guarded buffers.
 */
#ifndef BOL_FUZZ_HOST_H
#define BOL_FUZZ_HOST_H

#include <stddef.h>
#include <stdint.h>

#include <memory>
#include <string>
#include <vector>

#include "bol_srpolicy.h"
#include "host_route.h"
#include "test_platform.h"

namespace fz {

using Bytes = std::vector<uint8_t>;

const uint32_t kModule = 7u;
/* What the host fills its table, buffers and guard areas with. */
const uint8_t kGuard = 0xA5u;

[[noreturn]] void Fail(const char *pcFile, int iLine, const char *pcCond);

#define FZ_CHECK(cond)                               \
    do {                                             \
        if (!(cond)) {                               \
            fz::Fail(__FILE__, __LINE__, #cond);     \
        }                                            \
    } while (0)

struct Host {
    BOL_PROC_TBL_S stTbl;
    BOL_SRPOLICY_INSTANCE_S *pstInst;
};

/* The plug-in, constructed on first use; the instance stays live for the
 * whole run. Resets the test platform's counters and planned failures. */
Host &Begin();
/* Releases the plug-in (a unit test program replaying seeds ends with
 * nothing live); the next Begin() constructs it again. */
void End();
/* Nothing but the instance is live, nothing was freed twice, and no encoder
 * wrote other than it had sized. */
void CheckNoLeak();

/* An output block handed to the host, copied and released. */
struct Output {
    BOL_PARSE_OUTPUT_S stHdr;
    Bytes vecBlock; /* header, key and attribute */
    Bytes vecKey;
    Bytes vecAttr;
};
Output TakeOutput(void *pvOut);

/* After a call that hands over an output block: the block is handed over
 * exactly when the call succeeds, and a failed allocation gives 3 (the
 * handler's own buffer) or 0x50001 (the output block). */
void CheckHandOver(uint32_t ulRet, const void *pvOut, bool bAllocFailed);

/* A Tunnel Encapsulation attribute through the packet-parse entry (type 23),
 * from a heap block of exactly its size: the cursor moves past it, the more
 * flag is 0, and the normalised copy is handed over exactly on success. */
struct Decode {
    uint32_t ulRet = 0u;
    Bytes vecCopy;     /* the normalised attribute handed over */
    Bytes vecInAfter;  /* the decoded bytes afterwards: ignored bits cleared */
};
Decode DecodeAttr(const Host &h, const Bytes &vecAttr);

/* The setter on a route holding vecHeld; vecOut: the attribute handed over. */
uint32_t SetAttr(const Host &h, const Bytes &vecHeld, uint32_t ulFlags, Bytes &vecOut);

/* An empty list, as the host's configuration layer starts one. */
inline void InitList(BOL_SRPOLICY_LIST_HEAD_S &stList)
{
    stList.stHead.pstNext = &stList.stHead;
    stList.stHead.pstPrev = &stList.stHead;
    stList.stHead.ulHandle = 0u;
    stList.ulCount = 0u;
}

/* The bytes in a heap block of exactly their size, so that AddressSanitizer
 * catches a read past them; no bytes still give a block (never null). */
std::unique_ptr<uint8_t[]> HeapCopy(const Bytes &vecIn);

using th::Route;

/* The format entries of the procedure table for packets, messages, HA
 * messages and attribute messages share one shape. */
using Writer = uint32_t (*)(const BOL_RT_DATA_S *, uint32_t, uint8_t **, uint32_t, BOL_SRPOLICY_INSTANCE_S *);

/* One writer call into ulRoom bytes followed by a guard area: the cursor
 * stays inside the room and the guard comes back untouched. vecBuf is the
 * room and guard after the call, ulMoved how far the cursor went. */
struct Written {
    uint32_t ulRet;
    Bytes vecBuf;
    size_t ulMoved;
    Bytes Out() const { return Bytes(vecBuf.begin(), vecBuf.begin() + static_cast<std::ptrdiff_t>(ulMoved)); }
};
Written Write(const Host &h, Writer pfnWrite, const Route &rt, uint32_t ulType, uint32_t ulRoom);

/* One text call into a buffer of ulSize bytes followed by a guard area,
 * which must come back untouched; on success the text is terminated inside
 * the buffer. */
struct TextCall {
    uint32_t ulRet;
    std::string strText;
    uint32_t ulOffset;
    uint32_t ulMore;
};
TextCall Render(const Host &h, const Route &rt, uint32_t ulType, uint32_t ulSize, uint32_t ulOffset);

/* Renders through buffers of ulSize until the more flag is 0, joining the
 * texts without their leading "\r\n". False when a call made no progress
 * (allowed only for buffers smaller than one sub-TLV's text). */
bool RenderAll(const Host &h, const Route &rt, uint32_t ulSize, std::string &strJoined);

}  // namespace fz

#endif
