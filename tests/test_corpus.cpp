/*
 * The fuzz targets' properties over their checked-in seed corpora, in every
 * build that runs the unit tests: each seed goes through its target's entry
 * (a broken property aborts with its condition), and the plug-in the targets
 * share is released afterwards so that nothing stays live.
 */
#include <gtest/gtest.h>
#include <stdint.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "fuzz_host.h"

#define BOL_FUZZ_ENTRY(name) extern "C" int name##_one(const uint8_t *pucData, size_t ulSize);
BOL_FUZZ_ENTRY(fuzz_nlri)
BOL_FUZZ_ENTRY(fuzz_attr)
BOL_FUZZ_ENTRY(fuzz_keymsg)
BOL_FUZZ_ENTRY(fuzz_text_raw)
BOL_FUZZ_ENTRY(fuzz_cfg_tnlencap)
BOL_FUZZ_ENTRY(fuzz_attrmsg)

namespace {

struct Target {
    const char *pcName;
    int (*pfnOne)(const uint8_t *, size_t);
};

const Target kTargets[] = {{"fuzz_nlri", fuzz_nlri_one},         {"fuzz_attr", fuzz_attr_one},
                           {"fuzz_keymsg", fuzz_keymsg_one},     {"fuzz_text_raw", fuzz_text_raw_one},
                           {"fuzz_cfg_tnlencap", fuzz_cfg_tnlencap_one}, {"fuzz_attrmsg", fuzz_attrmsg_one}};

class Corpus : public ::testing::TestWithParam<Target> {};

TEST_P(Corpus, EverySeedKeepsTheTargetsProperties)
{
    const std::filesystem::path dir = std::filesystem::path(BOL_FUZZ_CORPUS_DIR) / GetParam().pcName;
    std::vector<std::filesystem::path> vecSeeds;
    for (const auto &entry : std::filesystem::directory_iterator(dir)) {
        vecSeeds.push_back(entry.path());
    }
    std::sort(vecSeeds.begin(), vecSeeds.end());
    ASSERT_GE(vecSeeds.size(), 5u) << dir;
    for (const std::filesystem::path &seed : vecSeeds) {
        SCOPED_TRACE(seed.filename().string());
        std::ifstream in(seed, std::ios::binary);
        const std::vector<uint8_t> vecIn((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        EXPECT_EQ(GetParam().pfnOne(vecIn.data(), vecIn.size()), 0);
    }
    fz::End();
    EXPECT_EQ(tp::LiveBlocksAll(), 0u);
}

INSTANTIATE_TEST_SUITE_P(Seeds, Corpus, ::testing::ValuesIn(kTargets),
                         [](const ::testing::TestParamInfo<Target> &info) { return std::string(info.param.pcName); });

}  // namespace
