#include "tools/import/record_output.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <utility>

#include "foundation/json.h"
#include "foundation/text.h"
#include "tools/command.h"
#include "tools/files.h"
#include "tools/import/record.h"
#include "tools/import/record_lines.h"

namespace corvy::tools {

namespace {

[[noreturn]] void fail(const std::string& path, int errorNumber) {
    throw std::runtime_error("cannot write to " + path + ": " + reasonOf(errorNumber));
}

std::string stateOf(std::optional<std::int64_t> size, std::u16string_view modified) {
    return (size ? std::to_string(*size) : std::string()) + " " + toUtf8(modified);
}

// The number in "FOLDER/NUMBER.txt" or the like, 0 for any other name.
std::uint64_t numberOfFile(std::u16string_view name) {
    const std::string text = toUtf8(name);
    const std::size_t start = text.find('/') + 1;
    std::uint64_t number = 0;
    if (start != 0) std::from_chars(text.data() + start, text.data() + text.size(), number);
    return number;
}

}  // namespace

RecordOutput::RecordOutput(std::string folder, const ResumeOptions& options) : options_(options) {
    if (folder.empty()) return;
    for (const char* inside : {"/text", "/thumbnails"}) {
        if (const int error = makeFolder(folder + inside)) fail(folder, error);
    }
    path_ = std::move(folder) + "/records.jsonl";
    if (options.resume) readEarlier();
    file_ = std::fopen(path_.c_str(), options.resume ? "ae" : "we");
    if (!file_) fail(path_, errno);
}

RecordOutput::~RecordOutput() {
    if (file_ != stdout) std::fclose(file_);
}

void RecordOutput::readEarlier() {
    if (::access(path_.c_str(), F_OK) != 0 && errno == ENOENT) return;
    RecordLines lines(path_);
    while (const auto line = lines.next()) note(*line);
    if (lines.wasCutOff()) std::filesystem::resize_file(path_, lines.length());
}

void RecordOutput::note(std::string_view line) {
    firstNumber_ = std::max(firstNumber_, ++lines_ + 1);
    const auto json = propertyListOfJson(line);
    const Dictionary* record = json ? json->dictionary() : nullptr;
    if (!record) return;
    for (const char16_t* key : {u"text", u"thumbnail"}) {
        const PropertyList* entry = record->find(key);
        if (!entry || !entry->dictionary()) continue;
        const auto name = stringOf(*entry->dictionary(), u"file").value_or(u"");
        firstNumber_ = std::max(firstNumber_, numberOfFile(name) + 1);
    }
    const auto path = bytesOfPath(stringOf(*record, u"path").value_or(u""));
    if (!path) return;
    const PropertyList* size = record->find(u"size");
    const std::string error = toUtf8(stringOf(*record, u"error").value_or(u""));
    if (isPassing(error) || (options_.retryFailed && !error.empty() && !isRemark(error))) {
        earlier_.erase(*path);
    } else {
        earlier_[*path] = stateOf(size ? size->integer() : std::nullopt,
                                  stringOf(*record, u"modified").value_or(u""));
    }
}

bool RecordOutput::has(const FoundFile& file) const {
    const auto found = earlier_.find(file.path);
    if (found == earlier_.end() || file.error == "notFound") return false;
    const bool sized = !file.isFolder && file.error != "specialFile";
    return found->second ==
           stateOf(sized ? std::optional(static_cast<std::int64_t>(file.size)) : std::nullopt,
                   fromUtf8(timeText(file.modified)));
}

bool RecordOutput::write(std::string_view record) {
    if (error_ != 0) return false;
    if (std::fwrite(record.data(), 1, record.size(), file_) != record.size()) error_ = errno;
    return error_ == 0;
}

bool RecordOutput::flush() {
    if (error_ == 0 && std::fflush(file_) != 0) error_ = errno;
    return error_ == 0;
}

}  // namespace corvy::tools
