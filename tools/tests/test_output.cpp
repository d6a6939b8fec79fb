/* Printers: wire strings escaped for text and JSON, event times, and the
 * failures an UPDATE counts for. */
#include <gtest/gtest.h>

#include <string>

#include "common/event.h"
#include "output/escape.h"
#include "output/printer.h"

namespace {

using srp::Bytes;

TEST(Escape, TextAndJsonFormsOfWireStrings)
{
    struct Case {
        Bytes vecIn;
        const char *pcText;
        const char *pcJson;
    } astCases[] = {
        {{'a', 'b'}, "ab", "\"ab\""},
        {{'a', 0xFF, 0x01, 'b'}, "a\\xff\\x01b", "\"a\\u00ff\\u0001b\""},
        {{'c', 'a', 'f', 0xC3, 0xA9}, "caf\xC3\xA9", "\"caf\xC3\xA9\""},       /* UTF-8 kept */
        {{0xC3}, "\\xc3", "\"\\u00c3\""},                                        /* a sequence cut short */
        {{0xC0, 0xAF}, "\\xc0\\xaf", "\"\\u00c0\\u00af\""},                      /* overlong form */
        {{0xED, 0xA0, 0x80}, "\\xed\\xa0\\x80", "\"\\u00ed\\u00a0\\u0080\""},    /* a surrogate */
        {{0xED, 0xBF, 0xBF}, "\\xed\\xbf\\xbf", "\"\\u00ed\\u00bf\\u00bf\""},    /* the last surrogate */
        {{0xF4, 0x8F, 0xBF, 0xBF}, "\xF4\x8F\xBF\xBF", "\"\xF4\x8F\xBF\xBF\""},         /* the last code point */
        {{0xF4, 0x90, 0x80, 0x80}, "\\xf4\\x90\\x80\\x80", "\"\\u00f4\\u0090\\u0080\\u0080\""}, /* past it */
        {{'"', '\\', '\n', '\t', 0x7F}, "\"\\\\\\x0a\\x09\\x7f", "\"\\\"\\\\\\n\\t\x7F\""},
        {{'a', ' ', 0xE2, 0x82, 0xAC}, "a \xE2\x82\xAC", "\"a \xE2\x82\xAC\""},                /* 3-byte UTF-8 */
        {{0xE0, 0x9F, 0xBF}, "\\xe0\\x9f\\xbf", "\"\\u00e0\\u009f\\u00bf\""},                 /* overlong 3-byte */
        {{0xF0, 0x90, 0x80, 0x80}, "\xF0\x90\x80\x80", "\"\xF0\x90\x80\x80\""},         /* 4-byte UTF-8 */
        {{0xF0, 0x8F, 0xBF, 0xBF}, "\\xf0\\x8f\\xbf\\xbf", "\"\\u00f0\\u008f\\u00bf\\u00bf\""}, /* overlong 4-byte */
        {{'a', 'b', ' '}, "ab ", "\"ab \""},
    };
    for (const Case &st : astCases) {
        std::string strIn(st.vecIn.begin(), st.vecIn.end());
        EXPECT_EQ(srp::EscapeText(st.vecIn.data(), st.vecIn.size()), st.pcText) << strIn;
        EXPECT_EQ(srp::JsonStringLiteral(st.vecIn.data(), st.vecIn.size()), st.pcJson) << strIn;
        bool bPlain = st.vecIn == Bytes({'a', 'b'}) || st.vecIn == Bytes({'a', 'b', ' '});
        EXPECT_EQ(srp::IsPlainText(st.vecIn.data(), st.vecIn.size()), bPlain) << strIn;
    }
    /* A sequence cut by the string's end, whatever bytes follow it in memory. */
    const uint8_t aucCut[] = {'a', 0xC3, 0xA9};
    EXPECT_EQ(srp::EscapeText(aucCut, 2u), "a\\xc3");
    EXPECT_EQ(srp::JsonStringLiteral(aucCut, 2u), "\"a\\u00c3\"");
}

/* A time on a whole second (a BMP peer's time stamp often is one). */
TEST(Printers, EventTimeOfAWholeSecond)
{
    EXPECT_EQ(srp::EventTimeText(1764000000000000), "2025-11-24T16:00:00.000000Z");
}

TEST(Printers, FailuresCountEachMessageProblemAndEachRouteOnce)
{
    /* route index of each problem (-1 for the message), failures counted */
    const std::pair<std::vector<int>, uint64_t> astCases[] = {
        {{}, 0u}, {{-1}, 1u}, {{-1, -1}, 2u}, {{0, 0}, 1u}, {{0, 1, 1, -1}, 3u},
    };
    for (const auto &st : astCases) {
        srp::DescribedUpdate stUpdate;
        for (int i : st.first) {
            stUpdate.vecProblems.emplace_back("x", 1u, 0u, i);
        }
        EXPECT_EQ(stUpdate.Failures(), st.second) << st.first.size();
    }
}

}  // namespace
