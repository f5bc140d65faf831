#include "foundation/property_list.h"

#include <gtest/gtest.h>

namespace corvy {
namespace {

std::u16string keyOf(int i) {
    return u"key " + std::u16string(1, static_cast<char16_t>(u'0' + i));
}

std::u16string keysOf(const Dictionary& dictionary) {
    std::u16string keys;
    for (const auto& entry : dictionary) keys += entry.key.back();
    return keys;
}

// Small dictionaries are searched, large ones indexed; both must behave alike.
TEST(Dictionary, KeepsOrderThroughSetAndRemove) {
    for (const int count : {5, 60}) {
        Dictionary dictionary;
        for (int i = 0; i < count; ++i) dictionary.set(keyOf(i), std::int32_t{i});
        dictionary.set(keyOf(3), u"changed");
        EXPECT_EQ(dictionary.size(), static_cast<std::size_t>(count));
        EXPECT_EQ(*dictionary.find(keyOf(3))->string(), u"changed");

        EXPECT_TRUE(dictionary.remove(keyOf(1)));
        EXPECT_FALSE(dictionary.remove(keyOf(1)));
        for (int i = 0; i < count; ++i) EXPECT_EQ(dictionary.contains(keyOf(i)), i != 1) << i;
        dictionary.set(keyOf(1), true);
        EXPECT_EQ(keysOf(dictionary).substr(0, 4), u"0234");
        EXPECT_EQ(keysOf(dictionary).back(), u'1');

        const Dictionary copy = dictionary;
        dictionary.set(keyOf(2), Null());
        EXPECT_EQ(copy.find(keyOf(2))->integer(), 2);
        EXPECT_FALSE(copy == dictionary);
    }
}

TEST(Dictionary, EqualityIgnoresOrder) {
    const Dictionary a{{u"x", true}, {u"y", 1.0}};
    const Dictionary b{{u"y", 1.0}, {u"x", true}};
    EXPECT_TRUE(a == b);
    EXPECT_FALSE(a == (Dictionary{{u"x", true}, {u"z", 1.0}}));
}

TEST(PropertyList, NumbersOfEveryWidth) {
    EXPECT_EQ(PropertyList(std::int32_t{4}).integer(), 4);
    EXPECT_EQ(PropertyList(std::int64_t{1} << 40).integer(), std::int64_t{1} << 40);
    EXPECT_EQ(PropertyList(2.5F).number(), 2.5);
    EXPECT_EQ(PropertyList(true).number(), std::nullopt);
    EXPECT_EQ(PropertyList(2.0).integer(), std::nullopt);
    // Kinds count: a 32-bit 1 is another value than a 64-bit one.
    EXPECT_FALSE(PropertyList(std::int32_t{1}) == PropertyList(std::int64_t{1}));
}

TEST(Bytes, SharesStorageAndKeepsItsOwner) {
    auto owner = std::make_shared<std::vector<std::byte>>(3, std::byte{7});
    std::weak_ptr<std::vector<std::byte>> watch = owner;
    Bytes copy;
    {
        const Bytes first = Bytes::sharing(*owner, owner, 5);
        owner.reset();
        copy = first;
    }
    EXPECT_FALSE(watch.expired());
    EXPECT_EQ(copy.chars(), "\7\7\7");
    EXPECT_EQ(copy.descriptor(), 5);
    copy = {};
    EXPECT_TRUE(watch.expired());
}

}  // namespace
}  // namespace corvy
