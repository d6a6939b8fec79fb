/*
 * The wire helpers: views hold only ranges inside them; a writer's room; a
 * write that does not fit writes nothing, is remembered and stops the
 * writer; the end-of-encoder check reports a disagreement; TLV headers are
 * read when they fit.
 */
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "bol_platform.h"
#include "bol_srpolicy_priv.h"
#include "bol_srpolicy_wire.h"
#include "fixture.h"

using bt::Bytes;
using bt::Hex;

namespace {

const uint8_t kFill = 0xEEu;

/* A range lies inside a view when it starts at or before the end and its
 * count fits what is left; no sum wraps around. */
TEST(View, HasOnlyRangesInside)
{
    uint8_t auc[4] = {};
    const bol::View stView = bol::MakeView(auc, 4u);
    struct Row {
        uint32_t ulOff;
        uint32_t ulCount;
        bool bHas;
    } const astRows[] = {{0, 4, true}, {4, 0, true}, {3, 1, true},        {3, 2, false},
                         {5, 0, false}, {1, 0xFFFFFFFFu, false}, {0xFFFFFFFFu, 2, false}};
    for (const Row &stRow : astRows) {
        EXPECT_EQ(bol::ViewHas(stView, stRow.ulOff, stRow.ulCount), stRow.bHas) << stRow.ulOff << "+" << stRow.ulCount;
    }
}

/* A writer up to an end pointer has the room between them, and none when
 * either is null or the end lies before the start; a writer without a
 * buffer has no room whatever room it is given. */
TEST(Writer, RoomUpToAnEnd)
{
    uint8_t auc[8] = {};
    struct Row {
        uint8_t *puc;
        const uint8_t *pucEnd;
        uint32_t ulRoom;
    } const astRows[] = {{auc, auc + 8, 8}, {auc + 3, auc + 8, 5}, {auc, auc, 0},
                         {auc + 8, auc, 0}, {nullptr, auc + 8, 0}, {auc, nullptr, 0}};
    for (size_t i = 0; i < sizeof(astRows) / sizeof(astRows[0]); i++) {
        EXPECT_EQ(bol::MakeWriterTo(astRows[i].puc, astRows[i].pucEnd).ulRoom, astRows[i].ulRoom) << "row " << i;
    }
    EXPECT_EQ(bol::MakeWriter(nullptr, 8u).ulRoom, 0u);
}

TEST(Writer, WritesFitOrAreRememberedAndStopTheWriter)
{
    static const uint32_t aulSid[4] = {0x11111111u, 0x22222222u, 0x33333333u, 0x44444444u};
    static const uint8_t aucSrc[3] = {0xA1, 0xA2, 0xA3};
    struct Row {
        const char *pcName;
        uint32_t ulRoom;
        std::function<void(bol::Writer &)> fnWrite;
        const char *pcHex; /* the room afterwards */
        uint32_t ulShort;
    } const astRows[] = {
        {"a u16 that does not fit writes nothing; later writes that would fit are refused too, and counted", 5,
         [](bol::Writer &w) {
             bol::PutU32(w, 0x01020304u);
             bol::PutU16(w, 0x0506);
             bol::PutU8(w, 7);
             bol::PutU32(w, 0x08090A0Bu);
         },
         "01 02 03 04 EE", 7},
        {"four words need 16 bytes", 15, [](bol::Writer &w) { bol::PutWords4(w, aulSid); },
         "EE EE EE EE EE EE EE EE EE EE EE EE EE EE EE", 16},
        {"bytes, then a view patched afterwards", 5,
         [](bol::Writer &w) {
             bol::View v = bol::PutView(w, 2);
             (void)bol::PutBytes(w, aucSrc, 3);
             bol::SetU16(v, 0, 0x0102);
         },
         "01 02 A1 A2 A3", 0},
        {"a view that does not fit is empty", 1, [](bol::Writer &w) { bol::SetU8(bol::PutView(w, 2), 0, 9); },
         "EE", 2},
        {"a one-byte view patched", 1, [](bol::Writer &w) { bol::SetU8(bol::PutView(w, 1), 0, 9); }, "09", 0},
    };
    for (const Row &stRow : astRows) {
        SCOPED_TRACE(stRow.pcName);
        Bytes vecBuf(stRow.ulRoom, kFill);
        bol::Writer stWr = bol::MakeWriter(vecBuf.data(), stRow.ulRoom);
        stRow.fnWrite(stWr);
        EXPECT_EQ(bt::ToHex(vecBuf), bt::ToHex(Hex(stRow.pcHex)));
        EXPECT_EQ(stWr.ulShort, stRow.ulShort);
        EXPECT_FALSE(bol::Fits(stWr, 0u) && stRow.ulShort != 0u) << "a short writer takes nothing more";
    }
}

TEST(Writer, EndCheckReportsWhatTheSizesGotWrong)
{
    struct Row {
        const char *pcName;
        uint32_t ulRoom;
        uint32_t ulWrite; /* bytes written as one item */
        bool bFilled;
        bool bWant;
        const char *pcReport; /* "" = none */
    } const astRows[] = {
        {"every write fitted", 6, 4, false, true, ""},
        {"every write fitted and filled the room", 4, 4, true, true, ""},
        {"room left where it should be used up", 7, 4, true, false, "sizeMismatch:-3"},
        {"a write refused", 3, 4, false, false, "sizeMismatch:4"},
    };
    for (const Row &stRow : astRows) {
        SCOPED_TRACE(stRow.pcName);
        tp::Reset();
        Bytes vecBuf(stRow.ulRoom, kFill);
        bol::Writer stWr = bol::MakeWriter(vecBuf.data(), stRow.ulRoom);
        bol::PutZeros(stWr, stRow.ulWrite);
        EXPECT_EQ(bol::WriterDone(stWr, stRow.bFilled, "test", 1u), stRow.bWant);
        const std::string strReport = stRow.pcReport;
        ASSERT_EQ(tp::Reports().size(), strReport.empty() ? 0u : 1u);
        if (!strReport.empty()) {
            EXPECT_EQ(tp::Reports()[0].strText, strReport);
        }
    }
    tp::Reset();
}

/* A TLV header (type, 2-byte length): read when its three bytes are there,
 * refused when they are not or the value runs past the bytes given. */
TEST(TlvHeader, TypeLengthAndFit)
{
    struct Row {
        const char *pcName;
        const char *pcHex;
        uint32_t ulRet;
        uint8_t ucType;
        uint16_t usLen; /* 0xEE.. when not read */
    } const astRows[] = {
        {"header alone, length 0", "07 00 00", BOL_OK, 7, 0},
        {"value fits exactly", "07 00 02 AA BB", BOL_OK, 7, 2},
        {"value one byte past the end", "07 00 03 AA BB", BOL_ERR_TLV_LEN, 7, 3},
        {"two bytes", "07 00", BOL_ERR_TLV_LEN, 0xEE, 0xEEEE},
    };
    for (const Row &stRow : astRows) {
        SCOPED_TRACE(stRow.pcName);
        const Bytes vecTlv = Hex(stRow.pcHex);
        uint8_t ucType = 0xEE;
        uint16_t usLen = 0xEEEE;
        EXPECT_EQ(BOL_SRPOLICY_TLVGetTypeAndLen(vecTlv.data(), static_cast<uint32_t>(vecTlv.size()), &ucType, &usLen),
                  stRow.ulRet);
        EXPECT_EQ(ucType, stRow.ucType);
        EXPECT_EQ(usLen, stRow.usLen);
    }
    uint8_t ucType = 0;
    const uint8_t aucTlv[3] = {1, 0, 0};
    uint16_t usLen = 0;
    EXPECT_EQ(BOL_SRPOLICY_TLVGetTypeAndLen(aucTlv, 3, nullptr, &usLen), BOL_ERR_PARAM);
    EXPECT_EQ(BOL_SRPOLICY_TLVGetTypeAndLen(aucTlv, 3, &ucType, nullptr), BOL_ERR_PARAM);
}

}  // namespace
