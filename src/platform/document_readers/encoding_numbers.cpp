#include "platform/document_readers/encoding_numbers.h"

#include <algorithm>
#include <iterator>

namespace corvy::platform {

namespace {

struct Number {
    Encoding encoding;
    std::int64_t number;
};

// Those without a small number of their own have that of the system's wider list.
constexpr std::int64_t external(std::int64_t number) {
    return 0x80000000 | number;
}

constexpr Number kNumbers[] = {
    {Encoding::kASCII, 1},
    {Encoding::kEUC_JP, 3},
    {Encoding::kUTF8, 4},
    {Encoding::kISO8859_1, 5},
    {Encoding::kShiftJIS, 8},
    {Encoding::kDOS932, 8},
    {Encoding::kISO8859_2, 9},
    {Encoding::kUTF16, 10},
    {Encoding::kWindows1251, 11},
    {Encoding::kWindows1252, 12},
    {Encoding::kWindows1253, 13},
    {Encoding::kWindows1254, 14},
    {Encoding::kWindows1250, 15},
    {Encoding::kISO2022JP, 21},
    {Encoding::kMacRoman, 30},
    {Encoding::kMacCyrillic, external(0x0007)},
    {Encoding::kISO8859_3, external(0x0203)},
    {Encoding::kISO8859_4, external(0x0204)},
    {Encoding::kISO8859_5, external(0x0205)},
    {Encoding::kISO8859_6, external(0x0206)},
    {Encoding::kISO8859_7, external(0x0207)},
    {Encoding::kISO8859_8, external(0x0208)},
    {Encoding::kISO8859_9, external(0x0209)},
    {Encoding::kISO8859_10, external(0x020A)},
    {Encoding::kISO8859_11, external(0x020B)},
    {Encoding::kISO8859_13, external(0x020D)},
    {Encoding::kISO8859_15, external(0x020F)},
    {Encoding::kISO8859_16, external(0x0210)},
    {Encoding::kDOS852, external(0x0412)},
    {Encoding::kDOS855, external(0x0413)},
    {Encoding::kDOS866, external(0x041B)},
    {Encoding::kDOS874, external(0x041D)},
    {Encoding::kDOS936, external(0x0421)},
    {Encoding::kDOS949, external(0x0422)},
    {Encoding::kDOS950, external(0x0423)},
    {Encoding::kWindows1255, external(0x0505)},
    {Encoding::kWindows1256, external(0x0506)},
    {Encoding::kWindows1257, external(0x0507)},
    {Encoding::kWindows1258, external(0x0508)},
    {Encoding::kGBK, external(0x0631)},
    {Encoding::kGB18030, external(0x0632)},
    {Encoding::kEUC_CN, external(0x0930)},
    {Encoding::kEUC_TW, external(0x0931)},
    {Encoding::kEUC_KR, external(0x0940)},
    {Encoding::kKOI8R, external(0x0A02)},
    {Encoding::kBig5, external(0x0A03)},
    {Encoding::kHZ_GB_2312, external(0x0A05)},
};

}  // namespace

std::int64_t numberOfEncoding(Encoding encoding) {
    const auto* known = std::ranges::find(kNumbers, encoding, &Number::encoding);
    return known == std::end(kNumbers) ? 0 : known->number;
}

}  // namespace corvy::platform
