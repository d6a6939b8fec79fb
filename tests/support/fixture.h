/*
 * Test fixtures: a plug-in constructed the way a host does it, on the test
 * platform, with "nothing leaked" checked after every test; hex input; route
 * records; and readers of the output blocks handed to the host.
 */
#ifndef BOL_TEST_FIXTURE_H
#define BOL_TEST_FIXTURE_H

#include <gtest/gtest.h>
#include <stdint.h>
#include <string.h>

#include <string>
#include <vector>

#include "bol_srpolicy.h"
#include "host_route.h"
#include "test_platform.h"

namespace bt {

using Bytes = std::vector<uint8_t>;

const uint32_t kModule = 7u;

/* "00 0F 00 1B · 0C 06": hex digits; spaces, dots, middle dots, '|' and
 * line breaks between fields are ignored. */
Bytes Hex(const std::string &strHex);
std::string ToHex(const uint8_t *puc, size_t n);
inline std::string ToHex(const Bytes &v) { return ToHex(v.data(), v.size()); }

/* A host's procedure table, filled with a canary before construction. */
const uint8_t kCanary = 0xA5u;

class PluginTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    /* Counts of reports since SetUp. */
    size_t ReportCount() const { return tp::Reports().size(); }

    BOL_PROC_TBL_S m_stTbl;
    BOL_SRPOLICY_INSTANCE_S *m_pstInst = nullptr;
};

using th::Route;

BOL_SRPOLICY_NLRI_S KeyV4(uint32_t ulDist, uint32_t ulColor, uint32_t ulAddr);
BOL_SRPOLICY_NLRI_S KeyV6(uint32_t ulDist, uint32_t ulColor, uint32_t ul0, uint32_t ul1, uint32_t ul2, uint32_t ul3);

}  // namespace bt

#endif
