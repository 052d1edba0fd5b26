#include "hashing/BinHexDec.h"

#include "platform/objc/NSException.h"

#include <gtest/gtest.h>

namespace lumora {

static std::string zeros(size_t count) { return std::string(count, '0'); }
static std::string ones(size_t count) { return std::string(count, '1'); }

TEST(BinHexDec, ReadsDigitsAndNothingElse)
{
    struct Row {
        std::string text;
        int64_t number;
        std::string hex;
        std::optional<std::string> decimal;
    };
    const Row rows[] { { "", 0, zeros(16), {} }, { "00001111", 15, zeros(15) + "F", {} },
        { "10102", 10, zeros(15) + "A", {} }, { "-1", 0, zeros(16), {} }, { "+1", 0, zeros(16), {} },
        { " 1", 0, zeros(16), {} }, { "0b1", 0, zeros(16), {} }, { "1\xF0\x9F", 1, zeros(15) + "1", {} },
        { ones(63), INT64_MAX, "7FFFFFFFFFFFFFFF", {} }, { zeros(64), 0, zeros(16), "00000000" },
        { "1" + zeros(63), INT64_MAX, "8" + zeros(15), "1280000000" },
        { "000000010000001011111111" + zeros(40), 0x0102FF0000000000, "0102FF0000000000", "1225500000" },
        { std::string(64, '\xFF'), 0, zeros(16), "00000000" },
        { ones(65), INT64_MAX, "NSRangeException", {} }, { ones(72), INT64_MAX, "FFFFFFFFFFFFFFFFFF", {} },
        { zeros(99) + "1", 1, "NSRangeException", {} } };
    for (const Row& row : rows) {
        EXPECT_EQ(BinHexDec::getDecFromBinString(row.text), row.number) << row.text;
        EXPECT_EQ(BinHexDec::getDecStringFromBigBinString(row.text), row.decimal) << row.text;
        try {
            EXPECT_EQ(BinHexDec::getHexStringFromBigBinString(row.text), row.hex) << row.text;
        } catch (const NSException& exception) {
            EXPECT_EQ(exception.name(), row.hex) << row.text;
        }
    }
    EXPECT_EQ(BinHexDec::getHexStringFromBinString("1111"), " F");
    EXPECT_EQ(BinHexDec::split64BitsBy8("1111111\U0001F6000000000"),
        (std::vector<std::string> { "1111111\uFFFD", "\uFFFD0000000" }));
}

} // namespace lumora
