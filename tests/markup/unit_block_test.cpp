#include "markup/unit_block.h"

#include <gtest/gtest.h>

namespace corvy {
namespace {

TEST(UnitBlock, FindsNoUnitButTheCharacter) {
    std::u16string units(UnitBlock::kSize, u'x');
    for (const char character : {'<', '>', '"', '\'', '=', '/', '!', '-'}) {
        for (unsigned unit = 0; unit < 0x10000; ++unit) {
            const unsigned place = unit * 7 % UnitBlock::kSize;
            units[place] = static_cast<char16_t>(unit);
            const std::uint64_t expected =
                unit == static_cast<unsigned char>(character) ? std::uint64_t{1} << place : 0;
            ASSERT_EQ(UnitBlock::load(units.data()).bitsOf(character), expected) << unit;
            units[place] = u'x';
        }
    }
}

TEST(UnitBlock, KeepsPlacesInOrder) {
    for (std::size_t count = 0; count < UnitBlock::kSize; ++count) {
        const std::u16string units(count, u'<');
        const std::uint64_t expected = (std::uint64_t{1} << count) - 1;
        EXPECT_EQ(UnitBlock::loadPart(units.data(), count).bitsOf('<'), expected);
        EXPECT_EQ(windowAt(units, 0).bitsOf('<'), expected);
        EXPECT_EQ(windowAt(units, count).bitsOf('<'), 0U);
        EXPECT_EQ(windowAt(units, count + 99).bitsOf('<'), 0U);
    }
    EXPECT_EQ(windowAt(std::u16string(130, u'<'), 66).bitsOf('<'), ~std::uint64_t{0});
}

TEST(UnitBlock, MeasuresPlainNames) {
    for (unsigned length = 0; length <= 16; ++length) {
        for (const char16_t stop : {u' ', u'\0', u'/', u'>', u'\x1F', u'\x80', u'é', u'\x161',
                                    u'\x7FFF', u'\x8000', u'\xFFFF'}) {
            std::u16string units(length, u'!');
            units.resize(17, stop);
            EXPECT_EQ(UnitBlock::lengthOfPlainName(units.data()), length) << int{stop};
        }
    }
    EXPECT_EQ(UnitBlock::lengthOfPlainName(u"!.0:;<=?@AZ[_az\x7F"), 16U);
}

}  // namespace
}  // namespace corvy
