#include "tools/import/file_type.h"

namespace corvy::tools {

namespace {

FileType byHead(std::string_view head) {
    return typeForHead(std::as_bytes(std::span(head)));
}

}  // namespace

TEST(FileType, KnowsExtensions) {
    struct Case {
        const char* name;
        std::string_view type, kind;
    };
    static constexpr Case cases[] = {
        {"a.pdf", "com.adobe.pdf", "pdf"},
        {"folder.txt/A.PDF", "com.adobe.pdf", "pdf"},
        {"a.3g2", "public.3gpp2", "movie"},  // first of the table
        {"a.yml", "public.yaml", "text"},    // last
        {"a.tar.md", "net.daringfireball.markdown", "text"},
        {"memo.rtfd/", "com.apple.rtfd", "richtext"},
        {"pdf", "", ""},
        {".pdf", "", ""},
        {"a.", "", ""},
        {"a.pdf~", "", ""},
        {"dir.pdf/name", "", ""},
    };
    for (const Case& c : cases) {
        const FileType* type = typeForName(c.name);
        EXPECT_EQ(type ? type->identifier : "", c.type) << c.name;
        EXPECT_EQ(type ? type->kind : "", c.kind) << c.name;
    }
    EXPECT_TRUE(isPackageName("Memo.RTFD"));
    EXPECT_FALSE(isPackageName("memo.rtf"));
}

TEST(FileType, LooksAtTheFirstBytes) {
    using namespace std::literals;
    // A character that the end of the head cuts in two.
    std::string cut(kHeadLength, 'x');
    cut.back() = '\xC3';
    std::string stream(kHeadLength, '\0');
    for (std::size_t at = 0; at < stream.size(); at += 188) stream[at] = 'G';
    std::string odd = stream;
    odd[188] = 'g';
    struct Case {
        std::string_view head, kind;
    };
    const Case cases[] = {
        {"%PDF-1.4\n\xFF\xFE", "pdf"},
        {"\0\0 junk before %PDF-1.4"sv, "pdf"},
        {"bplist00\xD1\1\2_\x10\x0FWebMainResource", "webarchive"},
        {"<?xml version='1.0'?>\n<plist><dict><key>WebMainResource</key>", "webarchive"},
        {"bplist00\xD1\1\2", "other"},
        {"\xEF\xBB\xBF \n<!DocType HTML>", "html"},
        {"<?xml version='1.0'?><!-- a -->\n<html\nlang=de>", "html"},
        {"<!-- a --><HTML>\xFF", "html"},
        {"<htmlx>", "text"},
        {"<!DOCTYPE svg>", "text"},
        {"<!-- <html> ", "text"},
        {"see <html>", "text"},
        {"# Read me\n\tplease\r\n", "text"},
        {"na\xC3\xAFve", "text"},
        {cut, "text"},
        {stream, "movie"},
        {odd, "other"},
        {"whole, but cut \xC3", "other"},
        {"na\xEFve", "other"},
        {"zero\0"sv, "other"},
        {"", "other"},
    };
    for (const Case& c : cases) EXPECT_EQ(byHead(c.head).kind, c.kind) << c.head;
    std::string late(1025, ' ');
    late.replace(1020, 5, "%PDF-");
    EXPECT_EQ(byHead(late).kind, "text");
}

}  // namespace corvy::tools
