/*
 * Test platform: the memory and assertion services of the platform with
 * controls for tests. Allocation failures can be planned (the N-th allocation
 * from now, or all), every assertion report is recorded, and live blocks are
 * counted per memory module, so a test can assert "nothing leaked" and
 * "reported / not reported".
 */
#ifndef BOL_TEST_PLATFORM_H
#define BOL_TEST_PLATFORM_H

#include <stdint.h>

#include <string>
#include <vector>

namespace tp {

struct Report {
    std::string strModule;
    uint32_t ulLine;
    uintptr_t uvValue;
    bool bIsText;
    std::string strText;
};

/* Forgets reports, allocation counts and planned failures (live blocks stay). */
void Reset();

/* The ulNth allocation from now fails (1 = the next one); 0 cancels. */
void FailNthAlloc(uint32_t ulNth);
/* Allocations attempted since Reset(), failed ones included. */
uint32_t AllocCalls();
/* Allocations that failed since Reset(). */
uint32_t FailedAllocs();

uint32_t LiveBlocks(uint32_t ulModule);
uint32_t LiveBytes(uint32_t ulModule);
uint32_t LiveBlocksAll();
/* Frees of pointers that were not live blocks (double or foreign frees). */
uint32_t BadFrees();

const std::vector<Report> &Reports();
uint32_t TextReportCount(const std::string &strText);
/* Text reports that begin with strPrefix. */
uint32_t TextReportsStartingWith(const std::string &strPrefix);
/* Reports of an encoder whose writes disagreed with the sizes it had
 * computed or checked ("sizeMismatch:%d"): a fault in any call. */
inline uint32_t SizeMismatchReports() { return TextReportsStartingWith("sizeMismatch:"); }

/* While set, every memcpy_s fails as the platform's does for a bad argument:
 * it clears its whole destination size and returns BOL_SEC_EINVAL. The
 * programs that link the test platform link with --wrap=memcpy_s. */
void FailMemcpyS(bool bFail);

}  // namespace tp

#endif
