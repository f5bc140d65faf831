#include "tools/import/record.h"

namespace corvy::tools {

TEST(ImportRecord, HasKeysOnlyForWhatItKnows) {
    EXPECT_EQ(jsonOfRecord({.path = "a\xFF\"b", .error = "notFound"}),
              R"({"path": "a\udcff\"b", "seconds": 0, "error": "notFound"})");

    ImportRecord record{.path = "d/x.pdf",
                        .type = "com.adobe.pdf",
                        .kind = "pdf",
                        .size = 5'000'000'000,
                        .modified = timespec{.tv_sec = 0, .tv_nsec = 999'999'999},
                        .text = RecordText{.string = u"a\n😀", .file = "", .length = 4},
                        .properties = {{u"Title", u"T"}, {u"CreationDate", Date{1.5}}},
                        .pages = 3,
                        .seconds = 0.0125};
    EXPECT_EQ(jsonOfRecord(record),
              R"({"path": "d/x.pdf", "type": "com.adobe.pdf", "size": 5000000000, )"
              R"("modified": "1970-01-01T00:00:00.999Z", "kind": "pdf", )"
              R"("text": {"string": "a\n😀", "length": 4}, )"
              R"("properties": {"Title": "T", "CreationDate": {"date": 1.5}}, "pages": 3, )"
              R"("seconds": 0.013})");

    record = {.path = "e",
              .text = RecordText{.string = {}, .file = "text/1.txt", .length = 9},
              .thumbnail = RecordThumbnail{.file = "thumbnails/1.png", .width = 3, .height = 2},
              .duration = 1.5F};
    EXPECT_EQ(jsonOfRecord(record),
              R"({"path": "e", "text": {"file": "text/1.txt", "length": 9}, )"
              R"("thumbnail": {"file": "thumbnails/1.png", "width": 3, "height": 2}, )"
              R"("duration": 1.5, "seconds": 0})");
}

TEST(ImportRecord, WritesTimes) {
    EXPECT_EQ(timeText({.tv_sec = 1'795'246'828, .tv_nsec = 5'000'000}),
              "2026-11-21T07:40:28.005Z");
    EXPECT_EQ(timeText({.tv_sec = -1, .tv_nsec = 0}), "1969-12-31T23:59:59.000Z");
}

}  // namespace corvy::tools
