/*
 * The platform services the plug-in relies on: bounds-checked memory and
 * formatting, address text, byte comparison and the list.
 */
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <string.h>

#include <algorithm>
#include <array>
#include <functional>
#include <random>
#include <vector>

#include "bol_platform.h"

namespace {

TEST(MemcpyS, CopiesOrZeroesTheDestination)
{
    const unsigned char aucSrc[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    struct Case {
        const char *pcName;
        size_t destMax;
        size_t count;
        bool bNullSrc;
        int iWant;
    } astCases[] = {
        {"fits", 8, 8, false, 0},
        {"count zero", 8, 0, false, 0},
        {"too long", 4, 8, false, BOL_SEC_ERANGE},
        {"null source", 8, 4, true, BOL_SEC_EINVAL},
    };
    for (const Case &c : astCases) {
        SCOPED_TRACE(c.pcName);
        unsigned char auc[16];
        memset(auc, 0xEE, sizeof(auc));
        EXPECT_EQ(memcpy_s(auc, c.destMax, c.bNullSrc ? nullptr : aucSrc, c.count), c.iWant);
        for (size_t i = 0; i < sizeof(auc); i++) {
            unsigned char ucWant = 0xEE;
            if (c.iWant != 0 && i < c.destMax) {
                ucWant = 0;
            } else if (c.iWant == 0 && i < c.count) {
                ucWant = aucSrc[i];
            }
            EXPECT_EQ(auc[i], ucWant) << i;
        }
    }
    EXPECT_EQ(memcpy_s(nullptr, 4, aucSrc, 4), BOL_SEC_EINVAL);

    unsigned char aucOv[16] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
    EXPECT_EQ(memcpy_s(aucOv + 2, 8, aucOv, 4), BOL_SEC_EOVERLAP);
    EXPECT_EQ(aucOv[2], 0);  // the destination area is zeroed, nothing copied
    EXPECT_EQ(aucOv[0], 1);
}

/* Every count up to past the short-copy sizes, at unaligned source and
 * destination offsets: exactly count bytes land, nothing around them moves. */
TEST(MemcpyS, CopiesEveryShortCountExactly)
{
    unsigned char aucSrc[64];
    for (size_t i = 0; i < sizeof(aucSrc); i++) {
        aucSrc[i] = static_cast<unsigned char>(i + 1u);
    }
    for (size_t count = 0; count <= 40u; count++) {
        for (size_t off = 0; off < 3u; off++) {
            SCOPED_TRACE(::testing::Message() << "count " << count << ", offset " << off);
            unsigned char aucDst[48];
            memset(aucDst, 0xEE, sizeof(aucDst));
            ASSERT_EQ(memcpy_s(aucDst + off, count, aucSrc + off + 1u, count), 0);
            for (size_t i = 0; i < sizeof(aucDst); i++) {
                bool bIn = i >= off && i < off + count;
                ASSERT_EQ(aucDst[i], bIn ? aucSrc[i + 1u] : 0xEEu) << i;
            }
        }
    }
}

/* The formatting functions against the C library's snprintf: the same text,
 * length, cut and terminator at every room size, for each conversion form the
 * functions format themselves and for forms they hand on. */
/* A null text the compiler cannot see through. */
const char *volatile g_pcNoText = nullptr;

struct FormatRow {
    const char *pcName;
    std::function<int(char *, size_t)> fnTruncated;
    std::function<int(char *, size_t)> fnSprintf;
    std::function<int(char *, size_t)> fnReference;
};

#define FORMAT_ROW(fmt, ...)                                                               \
    FormatRow                                                                              \
    {                                                                                      \
        fmt, [](char *d, size_t n) { return snprintf_truncated_s(d, n, fmt, __VA_ARGS__); }, \
            [](char *d, size_t n) { return sprintf_s(d, n, fmt, __VA_ARGS__); },             \
            [](char *d, size_t n) { return snprintf(d, n, fmt, __VA_ARGS__); }               \
    }

/* Values wider than the length modifier's type, passed as the int they are
 * promoted to: each function must cut them as the C library does. clang's
 * format check names the type difference, which is the point here. */
#ifdef __clang__
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wformat"
#endif
const FormatRow kNarrowedRow = FORMAT_ROW("%hhu %hhd %hu %hd", 300u, 200, 70000u, 40000);
#ifdef __clang__
#pragma clang diagnostic pop
#endif

TEST(FormatS, MatchesTheCLibraryAtEveryRoom)
{
    const FormatRow astRows[] = {
        FORMAT_ROW("plain text %s", ""),
        FORMAT_ROW("SRPOLICY NLRI: Distinguisher[%u], PolicyColor[%u], Endpoint[%s]", 4294967295u, 0u, "2001:db8::1"),
        FORMAT_ROW("%d|%i|%d", -2147483647 - 1, 0, 42),
        FORMAT_ROW("%x %X %02x %02x %08X", 0xdeadbeefu, 0xabcu, 5u, 0x1ffu, 0x12u),
        FORMAT_ROW("%5d|%-5d|%05d|%-3d|%3d", -42, -42, -42, 7, 12345),
        kNarrowedRow,
        FORMAT_ROW("%lu %ld %llu %lld %zu %zd", 4000000000ul, -5l, 18446744073709551615ull, -9223372036854775807ll,
                   static_cast<size_t>(123), static_cast<ssize_t>(-1)),
        FORMAT_ROW("%c%c%5c%-3c|", 'a', 'b', 'c', 'd'),
        FORMAT_ROW("%8s|%-8s|%s", "ab", "cd", "a longer string than the room"),
        FORMAT_ROW("100%% of %u%%", 3u),
        /* forms handed on to the C library */
        FORMAT_ROW("%#x %+d % d %.3s %*d %o", 255u, 5, 6, "abcdef", 4, 7, 8u),
        FORMAT_ROW("%s then %u", g_pcNoText, 9u),
    };
    for (const FormatRow &row : astRows) {
        SCOPED_TRACE(row.pcName);
        char acRef[256];
        int iRef = row.fnReference(acRef, sizeof(acRef));
        ASSERT_GT(iRef, 0);
        ASSERT_LT(iRef, static_cast<int>(sizeof(acRef)));
        for (size_t n = 1; n <= static_cast<size_t>(iRef) + 2u; n++) {
            SCOPED_TRACE(n);
            char acWant[256];
            (void)row.fnReference(acWant, n);
            char acGot[256];
            memset(acGot, 'Z', sizeof(acGot));
            EXPECT_EQ(row.fnTruncated(acGot, n), std::min(iRef, static_cast<int>(n) - 1));
            EXPECT_STREQ(acGot, acWant);
            EXPECT_EQ(acGot[n], 'Z');  // nothing written past the room

            memset(acGot, 'Z', sizeof(acGot));
            bool bFits = static_cast<size_t>(iRef) < n;
            EXPECT_EQ(row.fnSprintf(acGot, n), bFits ? iRef : -1);
            EXPECT_STREQ(acGot, bFits ? acRef : "");
            EXPECT_EQ(acGot[n], 'Z');
        }
    }
}

/* RFC 5952 text agrees with the C library's conversion, which follows it:
 * forms random addresses rarely or never give, then random addresses with
 * plenty of zero runs. */
TEST(AddressText, Ipv6MatchesTheCanonicalForm)
{
    std::vector<std::array<unsigned char, 16>> vecAddrs;
    for (const char *pc : {"::", "::1", "1::", "2001:db8:0:0:1:0:0:1", "::ffff:10.0.0.1", "1:0:2:0:3:0:4:0"}) {
        vecAddrs.emplace_back();
        ASSERT_EQ(inet_pton(AF_INET6, pc, vecAddrs.back().data()), 1) << pc;
    }
    std::mt19937 rng(5952);
    while (vecAddrs.size() < 2000u) {
        std::array<unsigned char, 16> auc;
        for (unsigned char &uc : auc) {
            uc = (rng() % 3 == 0) ? static_cast<unsigned char>(rng()) : 0;
        }
        /* The C library writes IPv4-compatible addresses in mixed form. */
        if (memcmp(auc.data(), "\0\0\0\0\0\0\0\0\0\0\0\0", 12) != 0) {
            vecAddrs.push_back(auc);
        }
    }
    for (const std::array<unsigned char, 16> &auc : vecAddrs) {
        char acWant[INET6_ADDRSTRLEN];
        ASSERT_NE(inet_ntop(AF_INET6, auc.data(), acWant, sizeof(acWant)), nullptr);
        KEO_IN6ADDR_S stGroups;
        for (int i = 0; i < 8; i++) {
            stGroups.ausGroup[i] = static_cast<uint16_t>((auc[2 * i] << 8) | auc[2 * i + 1]);
        }
        char acGot[40];
        EXPECT_EQ(KEO_Inet_ntoa_b_ipv6(stGroups, acGot), 0u);
        ASSERT_STREQ(acGot, acWant);
    }
}

}  // namespace
