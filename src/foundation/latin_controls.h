// The controls of ISO-8859-1, which texts of the web do not mean.
#pragma once

namespace corvy {

// The units U+0080 to U+009F as windows-1252 has them. As controls they mean nothing; old pages
// write quotation marks and dashes so, mostly as references.
inline constexpr char16_t kWindowsUnits[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,
};
constexpr char16_t readableUnit(char16_t c) {
    return c < 0x80 || c > 0x9F ? c : kWindowsUnits[c - 0x80];
}

}  // namespace corvy
