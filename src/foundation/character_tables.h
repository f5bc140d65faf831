// Character classes and one-to-one conversions of UTF-16 code units: what the markup and text
// routines ask of a unit, each answered by one array access.
//
// All of it is constant data that the build makes from ICU's character data
// (generate/make_character_tables.cpp); nothing is built at run time. Surrogates are members of no
// class and convert to themselves.
#pragma once

#include <cstdint>

namespace corvy {

// Class bitmaps: unit c is bit c % 8 (least significant first) of byte c / 8.
extern const std::uint8_t kEmptyCharacterSetRep[8192];
// Unicode's space separators, U+0009 and U+0000; no line breaks.
extern const std::uint8_t kSpaceCharacterSetRep[8192];
// Unicode's separators and line breaks, and what markup treats like them: U+0000, U+0003, U+00A0,
// U+FEFF, U+FFFC.
extern const std::uint8_t kWhiteCharacterSetRep[8192];
// Letters and marks.
extern const std::uint8_t kAlphaCharacterSetRep[8192];
// Letters, marks and numbers of all kinds.
extern const std::uint8_t kAlphaNumCharacterSetRep[8192];
// Decimal digits.
extern const std::uint8_t kDigitCharacterSetRep[8192];
extern const std::uint8_t kLowerCharacterSetRep[8192];
// Upper-case and title-case letters.
extern const std::uint8_t kUpperCharacterSetRep[8192];

// Conversions: one entry for each unit. A unit whose conversion takes more than one unit (the
// upper case of U+00DF, the lower case of U+0130) keeps itself.
extern const char16_t kLowerChars[65536];
extern const char16_t kUpperChars[65536];
// Latin, Greek and Cyrillic letters without the diacritics of their decomposition; letters that
// have none (U+00DF, U+00E6, U+00F8, U+0142, U+0110) keep themselves.
extern const char16_t kUmlautsChars[65536];
extern const char16_t kLowerUmlautsChars[65536];
extern const char16_t kUpperUmlautsChars[65536];

// The lowest and the highest letter.
extern const char16_t kFirstAlphaCharacter;
extern const char16_t kLastAlphaCharacter;

// The bitmaps and tables by name. The pointers are valid for ever.
inline const std::uint8_t* emptyCharacterSetRep() {
    return kEmptyCharacterSetRep;
}
inline const std::uint8_t* spaceCharacterSetRep() {
    return kSpaceCharacterSetRep;
}
inline const std::uint8_t* whiteCharacterSetRep() {
    return kWhiteCharacterSetRep;
}
inline const std::uint8_t* alphaCharacterSetRep() {
    return kAlphaCharacterSetRep;
}
inline const std::uint8_t* alphaNumCharacterSetRep() {
    return kAlphaNumCharacterSetRep;
}
inline const std::uint8_t* digitCharacterSetRep() {
    return kDigitCharacterSetRep;
}
inline const std::uint8_t* lowerCharacterSetRep() {
    return kLowerCharacterSetRep;
}
inline const std::uint8_t* upperCharacterSetRep() {
    return kUpperCharacterSetRep;
}
inline const char16_t* initLowerCharsTable() {
    return kLowerChars;
}
inline const char16_t* initUpperCharsTable() {
    return kUpperChars;
}
inline const char16_t* initUmlautsCharsTable() {
    return kUmlautsChars;
}
inline const char16_t* initLowerUmlautsCharsTable() {
    return kLowerUmlautsChars;
}
inline const char16_t* initUpperUmlautsCharsTable() {
    return kUpperUmlautsChars;
}
inline const char16_t* umlautsCharsTable() {
    return kUmlautsChars;
}
inline const char16_t* lowerUmlautsCharsTable() {
    return kLowerUmlautsChars;
}
inline const char16_t* upperUmlautsCharsTable() {
    return kUpperUmlautsChars;
}
inline char16_t firstAlphaCharacter() {
    return kFirstAlphaCharacter;
}
inline char16_t lastAlphaCharacter() {
    return kLastAlphaCharacter;
}

// `rep` is one of the bitmaps above.
inline bool isMember(const std::uint8_t* rep, char16_t c) {
    return (rep[c >> 3] >> (c & 7) & 1) != 0;
}
inline bool isSpace(char16_t c) {
    return isMember(kSpaceCharacterSetRep, c);
}
inline bool isWhite(char16_t c) {
    return isMember(kWhiteCharacterSetRep, c);
}
inline bool isAlpha(char16_t c) {
    return isMember(kAlphaCharacterSetRep, c);
}
inline bool isAlphaNum(char16_t c) {
    return isMember(kAlphaNumCharacterSetRep, c);
}
inline bool isDigit(char16_t c) {
    return isMember(kDigitCharacterSetRep, c);
}
inline bool isLower(char16_t c) {
    return isMember(kLowerCharacterSetRep, c);
}
inline bool isUpper(char16_t c) {
    return isMember(kUpperCharacterSetRep, c);
}

inline char16_t toLower(char16_t c) {
    return kLowerChars[c];
}
inline char16_t toUpper(char16_t c) {
    return kUpperChars[c];
}
// The accent-free unit, whatever its script.
inline char16_t umlautsToAscii(char16_t c) {
    return kUmlautsChars[c];
}
inline char16_t umlautsToLowerAscii(char16_t c) {
    return kLowerUmlautsChars[c];
}
inline char16_t umlautsToUpperAscii(char16_t c) {
    return kUpperUmlautsChars[c];
}
// The accent-free unit, or a space when that is not ASCII.
inline char16_t toAscii(char16_t c) {
    return kUmlautsChars[c] < 0x80 ? kUmlautsChars[c] : u' ';
}
inline char16_t toLowerAscii(char16_t c) {
    return kLowerChars[toAscii(c)];
}
inline char16_t toUpperAscii(char16_t c) {
    return kUpperChars[toAscii(c)];
}

}  // namespace corvy
