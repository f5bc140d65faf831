#include "platform/property_list_codec.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "platform/sealed_memory.h"

namespace corvy::platform {
namespace {

using namespace std::string_literals;

std::optional<DecodedPropertyList> decoded(std::string_view tree,
                                           std::vector<Descriptor> files = {}) {
    return decodedPropertyList(std::as_bytes(std::span(tree)), std::move(files));
}

std::optional<PropertyList> thereAndBack(const PropertyList& value) {
    auto coded = codedPropertyList(value);
    if (!coded) return std::nullopt;
    auto back = decodedPropertyList(coded->tree, std::move(coded->files));
    if (!back) return std::nullopt;
    return std::move(back->value);
}

std::u16string repeated(char16_t unit, std::size_t count) {
    std::u16string text;
    while (text.size() < count) text.push_back(unit);
    return text;
}

PropertyList nested(std::size_t depth) {
    PropertyList value;
    for (std::size_t i = 0; i < depth; ++i) value = Array{std::move(value)};
    return value;
}

TEST(PropertyListCodec, EveryKindComesBackAsItWas) {
    struct Case {
        const char* name;
        PropertyList value;
    };
    const Case cases[] = {
        {"null", Null()},
        {"false", false},
        {"true", true},
        {"least 32-bit", std::numeric_limits<std::int32_t>::min()},
        {"small 64-bit stays wide", std::int64_t{1}},
        {"largest 64-bit", std::numeric_limits<std::int64_t>::max()},
        {"float", 0.1F},
        {"double", 0.1},
        {"infinity", -std::numeric_limits<double>::infinity()},
        {"empty string", u""},
        {"U+0000 and lone halves", std::u16string(u"a\0\xD800\xDC00\xDFFF\xD800", 6)},
        {"127 and 128 units: the length takes a byte more",
         Array{repeated(u'x', 127), repeated(u'x', 128)}},
        {"no bytes", Bytes()},
        {"bytes", Bytes::copyOf("\0\xFF"s)},
        {"date before 1970", Date{-0.5}},
        {"url", Url{u"http://example.org/\xFC"}},
        {"no elements", Array{}},
        {"no entries", Dictionary{}},
        {"empty key", Dictionary{{u"", Array{Null(), Dictionary{{u"", u""}}}}}},
        {"as deep as may be", nested(kMaxCodedDepth)},
    };
    for (const Case& c : cases) {
        const auto back = thereAndBack(c.value);
        ASSERT_TRUE(back) << c.name;
        EXPECT_EQ(*back, c.value) << c.name;
        EXPECT_EQ(back->kind(), c.value.kind()) << c.name;
    }
    EXPECT_TRUE(std::signbit(*thereAndBack(-0.0)->number()));
    EXPECT_TRUE(std::isnan(*thereAndBack(std::nan(""))->number()));
    // Equal dictionaries may differ in the order of their keys.
    const auto back = thereAndBack(Dictionary{{u"b", Null()}, {u"a", Null()}, {u"c", Null()}});
    std::u16string order;
    for (const auto& entry : *back->dictionary()) order += entry.key;
    EXPECT_EQ(order, u"bac");
}

TEST(PropertyListCodec, LargeValuesLieInFiles) {
    Array values;
    values.push_back(Bytes(std::vector<std::byte>(kFileFrom, std::byte{7})));
    values.push_back(repeated(u'\xD800', kFileFrom / 2));
    values.push_back(Bytes(std::vector<std::byte>(kFileFrom - 1, std::byte{8})));
    const auto coded = codedPropertyList(values);
    ASSERT_TRUE(coded);
    EXPECT_EQ(coded->files.size(), 2U);
    EXPECT_LT(coded->tree.size(), kFileFrom + 100);
    EXPECT_EQ(thereAndBack(values), PropertyList(values));

    // Beyond the number of files the rest lies in the tree.
    const Array many(kMaxCodedFiles + 2, values[0]);
    const auto codedMany = codedPropertyList(many);
    ASSERT_TRUE(codedMany);
    EXPECT_EQ(codedMany->files.size(), kMaxCodedFiles);
    EXPECT_TRUE(thereAndBack(many) == PropertyList(many));

    // What lies in a file is not copied again.
    const Bytes kept = *bytesOfSealedMemory(
        sealedMemoryOf(std::vector<std::byte>(kDescriptorKeptFrom, std::byte{9})),
        kDescriptorKeptFrom);
    ASSERT_GE(kept.descriptor(), 0);
    const auto handedOn = codedPropertyList(kept);
    struct stat ours {};
    struct stat theirs {};
    ASSERT_EQ(::fstat(kept.descriptor(), &ours), 0);
    ASSERT_EQ(::fstat(handedOn->files.at(0).get(), &theirs), 0);
    EXPECT_EQ(ours.st_ino, theirs.st_ino);
}

TEST(PropertyListCodec, RefusesWhatIsBeyondItsBounds) {
    EXPECT_FALSE(codedPropertyList(nested(kMaxCodedDepth + 1)));
    EXPECT_TRUE(codedPropertyList(Array(kMaxCodedValues - 1)));
    EXPECT_FALSE(codedPropertyList(Array(kMaxCodedValues)));

    const std::string deep = [] {
        std::string text;
        for (std::size_t i = 0; i <= kMaxCodedDepth; ++i) text += "\x0A\x01";
        return text + '\0';
    }();
    const std::string huge = "\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\x7F";
    struct Case {
        const char* name;
        std::string tree;
    };
    const Case cases[] = {
        {"nothing", ""},
        {"unknown form", "\x0C"},
        {"boolean of two", "\x01\x02"},
        {"cut number", "\x02\0\0\0"s},
        {"something behind the value", "\0\0"s},
        {"string longer than the tree", "\x06\x02xx"},
        {"huge string", "\x06" + huge},
        {"huge bytes", "\x07" + huge},
        {"huge array", "\x0A" + huge},
        {"huge dictionary", "\x0B" + huge},
        {"length without an end", "\x07" + std::string(20, '\xFF')},
        {"array with too few elements", "\x0A\x02\0"s},
        {"key without a value", "\x0B\x01\0"s},
        {"a key twice", "\x0B\x02\0\0\0\0"s},
        {"nested too deep", deep},
        {"a file that did not come", "\x81\x01"},
    };
    for (const Case& c : cases) EXPECT_FALSE(decoded(c.tree)) << c.name;
}

TEST(SealedMemory, TakesOnlyWhatCannotChange) {
    const auto memory = [](int seals, std::size_t size) {
        Descriptor file(::memfd_create("test", MFD_CLOEXEC | MFD_ALLOW_SEALING));
        EXPECT_EQ(::ftruncate(file.get(), static_cast<off_t>(size)), 0);
        EXPECT_EQ(::fcntl(file.get(), F_ADD_SEALS, seals), 0);
        return file;
    };
    const auto one = [](Descriptor file) {
        std::vector<Descriptor> files;
        files.push_back(std::move(file));
        return files;
    };
    constexpr int kSeals = F_SEAL_SHRINK | F_SEAL_WRITE;
    struct Case {
        const char* name;
        Descriptor file;
        bool isTaken;
    };
    Case cases[] = {
        {"as long as said", memory(kSeals, 100), true},
        {"longer", memory(kSeals, 101), true},
        {"shorter", memory(kSeals, 99), false},
        {"unsealed", memory(0, 100), false},
        {"may shrink", memory(F_SEAL_WRITE, 100), false},
        {"may be written", memory(F_SEAL_SHRINK, 100), false},
        {"no memory", Descriptor(::open("/proc/self/exe", O_RDONLY | O_CLOEXEC)), false},
        {"nothing", Descriptor(), false},
    };
    for (Case& c : cases) {
        EXPECT_EQ(decoded("\x81\x64", one(std::move(c.file))).has_value(), c.isTaken) << c.name;
    }
    EXPECT_FALSE(decoded("\0"s, one(memory(kSeals, 1)))) << "a file that nothing names";
    EXPECT_FALSE(decoded("\x80" + "\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\x7F"s, one(memory(kSeals, 1))))
        << "a length whose bytes cannot be counted";
    EXPECT_EQ(decoded("\x81\0"s, one(memory(kSeals, 0)))->value, PropertyList(Bytes()));
}

}  // namespace
}  // namespace corvy::platform
