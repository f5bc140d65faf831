#include "tools/import/record_output.h"

#include <stdexcept>

#include "tests/support/temporary_folder.h"

namespace corvy::tools {

namespace {

using test::TemporaryFolder;

constexpr const char* kRecords =
    R"({"path": "a", "size": 5, "modified": "1970-01-01T00:01:40.000Z", "text": {"file": "text/000001.txt", "length": 5}})"
    "\n"
    R"({"path": "slow", "size": 5, "modified": "1970-01-01T00:01:40.000Z", "error": "noHelper"})"
    "\n"
    R"({"path": "broken", "size": 5, "modified": "1970-01-01T00:01:40.000Z", "error": "timeout"})"
    "\n"
    R"({"path": "b\udcff", "size": 0, "modified": "1970-01-01T00:01:40.000Z", "error": "empty"})"
    "\n"
    R"({"path": "c", "size": 5, "text": {"file": "text/000009.txt", "length": 1}})"
    "\n"
    "not JSON\n";

FoundFile file(std::string path, std::uint64_t size, std::time_t time) {
    return {.path = std::move(path), .size = size, .modified = {.tv_sec = time, .tv_nsec = 0}};
}

}  // namespace

TEST(RecordOutput, TakesUpAnEarlierRun) {
    const TemporaryFolder folder;
    folder.write("records.jsonl", std::string(kRecords) + R"({"path": "cut off)");
    {
        RecordOutput output(folder.path(), {.resume = true});
        EXPECT_TRUE(output.has(file("a", 5, 100)));
        EXPECT_TRUE(output.has(file("b\xFF", 0, 100)));
        EXPECT_FALSE(output.has(file("a", 6, 100)));
        EXPECT_FALSE(output.has(file("a", 5, 101)));
        EXPECT_FALSE(output.has(file("slow", 5, 100)));  // may go better now
        EXPECT_FALSE(output.has(file("c", 5, 100)));     // time not known
        EXPECT_FALSE(output.has(file("cut off", 5, 100)));
        EXPECT_TRUE(output.has(file("broken", 5, 100)));
        EXPECT_EQ(output.firstNumber(), 10U);
        EXPECT_TRUE(output.write("new\n"));
    }
    EXPECT_EQ(folder.read("records.jsonl"), std::string(kRecords) + "new\n");
    const RecordOutput again(folder.path(), {.resume = true, .retryFailed = true});
    EXPECT_FALSE(again.has(file("broken", 5, 100)));
    EXPECT_TRUE(again.has(file("a", 5, 100)));
    EXPECT_TRUE(again.has(file("b\xFF", 0, 100)));  // is no failure
}

TEST(RecordOutput, BeginsAnew) {
    const TemporaryFolder folder;
    folder.write("out/records.jsonl", kRecords);
    {
        RecordOutput output(folder.path("out"), {});
        EXPECT_FALSE(output.has(file("a", 5, 100)));
        EXPECT_EQ(output.firstNumber(), 1U);
    }
    EXPECT_EQ(folder.read("out/records.jsonl"), "");
    EXPECT_EQ(RecordOutput(folder.path("fresh/out"), {.resume = true}).firstNumber(), 1U);
    EXPECT_TRUE(std::filesystem::is_directory(folder.path("fresh/out/text")));

    const std::string occupied = folder.write("file", "");
    EXPECT_THROW(RecordOutput(occupied, {}), std::runtime_error);
}

}  // namespace corvy::tools
