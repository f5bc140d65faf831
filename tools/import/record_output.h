// Where records go: standard output, or records.jsonl of a folder that an earlier run may have
// begun.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <unordered_map>

#include "tools/import/walk.h"

namespace corvy::tools {

// What becomes of records that are there already.
struct ResumeOptions {
    bool resume = false;       // they stay, but for a last one that was cut off; else they go
    bool retryFailed = false;  // those that name a failure do not count
};

class RecordOutput {
public:
    // To standard output when the folder is empty. Throws std::runtime_error, with the reason for
    // a person, when the folder or the file in it cannot be made or read.
    RecordOutput(std::string folder, const ResumeOptions& options);
    ~RecordOutput();
    RecordOutput(const RecordOutput&) = delete;
    RecordOutput& operator=(const RecordOutput&) = delete;

    // Whether an earlier run has a record of the file as it is now, one that need not be tried
    // again.
    bool has(const FoundFile& file) const;
    // The number of the first file of this run; text/NUMBER.txt and
    // thumbnails/NUMBER.png of it and later ones are free.
    std::uint64_t firstNumber() const { return firstNumber_; }

    // False when it cannot be written: the disk is full, or the reader has gone.
    bool write(std::string_view record);
    bool flush();
    // The error number of the first write that failed, 0 when none did.
    int error() const { return error_; }
    // The file's path, empty for standard output.
    const std::string& path() const { return path_; }

private:
    void readEarlier();
    void note(std::string_view line);

    ResumeOptions options_;
    std::string path_;
    std::FILE* file_ = stdout;
    std::uint64_t lines_ = 0;  // of the earlier run
    std::uint64_t firstNumber_ = 1;
    int error_ = 0;
    // Path to size and time of the last record that counts.
    std::unordered_map<std::string, std::string> earlier_;
};

}  // namespace corvy::tools
