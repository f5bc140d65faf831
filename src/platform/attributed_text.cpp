#include "platform/attributed_text.h"

namespace corvy::platform {

void AttributedText::append(std::u16string_view text, const TextStyle& style) {
    if (text.empty()) return;
    string_ += text;
    if (runs_.empty() || runs_.back().style != style) runs_.push_back({0, style});
    runs_.back().end = string_.size();
}

void AttributedText::append(const AttributedText& text) {
    std::size_t start = 0;
    for (const Run& run : text.runs_) {
        append(std::u16string_view(text.string_).substr(start, run.end - start), run.style);
        start = run.end;
    }
}

void AttributedText::truncate(std::size_t length) {
    if (length >= string_.size()) return;
    string_.resize(length);
    while (!runs_.empty() && (runs_.size() > 1 ? runs_[runs_.size() - 2].end : 0) >= length) {
        runs_.pop_back();
    }
    if (!runs_.empty()) runs_.back().end = length;
}

}  // namespace corvy::platform
