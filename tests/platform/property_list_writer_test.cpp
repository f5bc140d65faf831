// The writer against our reader, and both against libplist.
#include "platform/property_list_writer.h"

#include <gtest/gtest.h>
#include <plist/plist.h>
#include <stdlib.h>

#include <cmath>
#include <limits>

#include "foundation/text.h"
#include "platform/property_list_reader.h"

namespace corvy::platform {
namespace {

using namespace std::string_literals;

// What libplist holds, as our value.
PropertyList valueOf(plist_t node) {
    switch (plist_get_node_type(node)) {
        case PLIST_BOOLEAN: {
            std::uint8_t value = 0;
            plist_get_bool_val(node, &value);
            return value != 0;
        }
        case PLIST_UINT: {
            std::uint64_t value = 0;
            plist_get_uint_val(node, &value);
            return static_cast<std::int64_t>(value);
        }
        case PLIST_REAL: {
            double value = 0;
            plist_get_real_val(node, &value);
            return value;
        }
        case PLIST_STRING: {
            std::uint64_t length = 0;
            const char* text = plist_get_string_ptr(node, &length);
            return fromUtf8({text, length});
        }
        case PLIST_DATA: {
            std::uint64_t length = 0;
            const char* bytes = plist_get_data_ptr(node, &length);
            return Bytes::copyOf(std::string_view(bytes, length));
        }
        case PLIST_DATE: {
            std::int32_t seconds = 0, microseconds = 0;
            plist_get_date_val(node, &seconds, &microseconds);
            return Date{978307200.0 + seconds};
        }
        case PLIST_ARRAY: {
            Array array;
            for (std::uint32_t i = 0; i < plist_array_get_size(node); ++i) {
                array.push_back(valueOf(plist_array_get_item(node, i)));
            }
            return array;
        }
        case PLIST_DICT: {
            Dictionary dictionary;
            plist_dict_iter iterator = nullptr;
            plist_dict_new_iter(node, &iterator);
            while (true) {
                char* key = nullptr;
                plist_t item = nullptr;
                plist_dict_next_item(node, iterator, &key, &item);
                if (!item) break;
                dictionary.set(fromUtf8(key), valueOf(item));
                free(key);
            }
            free(iterator);
            return dictionary;
        }
        default: return Null();
    }
}

Dictionary sample() {
    std::u16string longText;
    for (int i = 0; i < 300; ++i) longText += u"\xE4 text ";
    Array numbers;
    for (const std::int64_t number : {0L, 1L, 255L, 256L, 65535L, 65536L, 4294967295L, 4294967296L,
                                      std::numeric_limits<std::int64_t>::max()}) {
        numbers.emplace_back(number);
    }
    Array many;
    for (int i = 0; i < 300; ++i) many.emplace_back(fromUtf8(std::to_string(i)));
    return {{u"numbers", numbers},
            {u"real", 0.1},
            {u"texts", Array{u"", u"ASCII", u"\xFC\x20AC\xD83D\xDE00", longText, u"ASCII"}},
            {u"flags", Array{true, false}},
            {u"date", Date{1700000000}},
            {u"bytes", Bytes::copyOf("\0\xFF"s)},
            {u"many", many},
            {u"", Dictionary{{u"texts", u"numbers"}, {u"empty", Array{Array{}, Dictionary{}}}}}};
}

TEST(PropertyListWriter, WritesWhatTheReaderReads) {
    Dictionary list = sample();
    list.set(u"negative", std::int64_t{-1});
    list.set(u"null", Null());
    list.set(u"float", 0.1F);
    list.set(u"halves", std::u16string(u"a\0\xDC00\xD800", 4));
    list.set(u"early", Date{-1e9});
    list.set(u"fifteen", u"123456789012345");
    const auto file = binaryPropertyList(list);
    ASSERT_TRUE(file);
    EXPECT_EQ(readPropertyList(Bytes(*file)), PropertyList(list));

    EXPECT_EQ(readPropertyList(Bytes(*binaryPropertyList(std::int32_t{-3}))),
              PropertyList(std::int64_t{-3}));
    EXPECT_EQ(readPropertyList(Bytes(*binaryPropertyList(Url{u"http://a/"}))),
              PropertyList(u"http://a/"));
    // More objects than a reference of one byte counts.
    Array large;
    for (int i = 0; i < 70'000; ++i) large.emplace_back(std::int64_t{i});
    EXPECT_EQ(readPropertyList(Bytes(*binaryPropertyList(large))), PropertyList(large));

    PropertyList nested;
    for (std::size_t i = 0; i < kMaxPropertyListDepth; ++i) nested = Array{std::move(nested)};
    EXPECT_TRUE(binaryPropertyList(nested));
    EXPECT_FALSE(binaryPropertyList(Array{std::move(nested)}));
}

TEST(PropertyListWriter, AgreesWithAnotherLibrary) {
    const auto ours = *binaryPropertyList(sample());
    plist_t theirs = nullptr;
    plist_from_bin(reinterpret_cast<const char*>(ours.data()),
                   static_cast<std::uint32_t>(ours.size()), &theirs);
    ASSERT_TRUE(theirs);
    EXPECT_EQ(valueOf(theirs), PropertyList(sample()));

    char* file = nullptr;
    std::uint32_t length = 0;
    plist_to_bin(theirs, &file, &length);
    EXPECT_EQ(readPropertyList(Bytes::copyOf(std::string_view(file, length))),
              PropertyList(sample()));
    free(file);
    plist_to_xml(theirs, &file, &length);
    EXPECT_EQ(readPropertyList(Bytes::copyOf(std::string_view(file, length))),
              PropertyList(sample()));
    free(file);
    plist_free(theirs);
}

}  // namespace
}  // namespace corvy::platform
