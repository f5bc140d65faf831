#include "platform/document_readers/field_stack.h"

#include <algorithm>

#include "platform/rich_text/rtf_links.h"

namespace corvy::platform {

void FieldStack::begin() {
    constexpr std::size_t kDeepest = 64;
    if (fields_.size() >= kDeepest) {
        ++deeper_;
    } else {
        fields_.emplace_back();
    }
}

void FieldStack::addInstruction(std::u16string_view text) {
    constexpr std::size_t kLongest = 8192;
    if (deeper_ > 0 || fields_.empty() || fields_.back().inResult) return;
    std::u16string& instruction = fields_.back().instruction;
    if (instruction.size() + text.size() <= kLongest) instruction += text;
}

void FieldStack::separate() {
    if (deeper_ > 0 || fields_.empty()) return;
    fields_.back().inResult = true;
    fields_.back().link = linkOfInstruction(fields_.back().instruction);
}

void FieldStack::end() {
    if (deeper_ > 0) {
        --deeper_;
    } else if (!fields_.empty()) {
        fields_.pop_back();
    }
}

bool FieldStack::isShown() const {
    return std::ranges::all_of(fields_, &Field::inResult);
}

const std::u16string* FieldStack::link() const {
    for (auto field = fields_.rbegin(); field != fields_.rend(); ++field) {
        if (field->inResult && field->link) return &*field->link;
    }
    return nullptr;
}

}  // namespace corvy::platform
