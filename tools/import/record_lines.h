// Reads the lines of a records.jsonl.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace corvy::tools {

class RecordLines {
public:
    // Throws std::runtime_error, with the reason for a person, when the file cannot be read.
    explicit RecordLines(const std::string& path);
    ~RecordLines();
    RecordLines(const RecordLines&) = delete;
    RecordLines& operator=(const RecordLines&) = delete;

    // A line with its line feed, valid until the next call; none at the end, or for a last line
    // that was cut off.
    std::optional<std::string_view> next();
    // Bytes of the whole lines so far.
    std::uint64_t length() const { return length_; }
    // Whether something stood behind the last whole line.
    bool wasCutOff() const { return cutOff_; }

private:
    struct Closer {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    std::unique_ptr<std::FILE, Closer> file_;
    char* buffer_ = nullptr;  // getline's
    std::size_t capacity_ = 0;
    std::uint64_t length_ = 0;
    bool cutOff_ = false;
};

}  // namespace corvy::tools
