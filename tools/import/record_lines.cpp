#include "tools/import/record_lines.h"

#include <cerrno>
#include <cstdlib>
#include <stdexcept>

#include "tools/command.h"

namespace corvy::tools {

RecordLines::RecordLines(const std::string& path) : file_(std::fopen(path.c_str(), "re")) {
    if (!file_) throw std::runtime_error("cannot read " + path + ": " + reasonOf(errno));
}

RecordLines::~RecordLines() {
    std::free(buffer_);
}

std::optional<std::string_view> RecordLines::next() {
    const ssize_t length = ::getline(&buffer_, &capacity_, file_.get());
    if (length <= 0) return std::nullopt;
    const std::string_view line(buffer_, static_cast<std::size_t>(length));
    cutOff_ = !line.ends_with('\n');
    if (cutOff_) return std::nullopt;
    length_ += line.size();
    return line;
}

}  // namespace corvy::tools
