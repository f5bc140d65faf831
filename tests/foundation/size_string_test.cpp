#include "foundation/size_string.h"

#include <gtest/gtest.h>

namespace corvy {
namespace {

TEST(SizeString, WritesTheShortestFormThatReadsBack) {
    struct Case {
        Size size;
        const char16_t* text;
    };
    const Case cases[] = {
        {{612, 792}, u"{612, 792}"},
        {{595.276, 841.89}, u"{595.276, 841.89}"},
        {{0, -0.0}, u"{0, 0}"},
        {{0.1, -2.5}, u"{0.1, -2.5}"},
        {{1e15, 1e-5}, u"{1000000000000000, 0.00001}"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(sizeString(c.size), c.text);
        EXPECT_EQ(sizeFromString(c.text), c.size);
    }
    EXPECT_EQ(sizeFromString(u" { 3,4 } "), (Size{3, 4}));
    for (const char16_t* bad : {u"", u"{}", u"{1}", u"1, 2", u"{1, 2", u"{1, x}", u"{1, 2, 3}",
                                u"{inf, 1}", u"{1, nan}"}) {
        EXPECT_FALSE(sizeFromString(bad)) << std::u16string(bad).size();
    }
}

}  // namespace
}  // namespace corvy
