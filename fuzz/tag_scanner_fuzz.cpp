// The tag scanner: the same calls as the plain loop, in the order of the text and inside it.
#include <algorithm>

#include "fuzz/fuzz_text.h"
#include "tests/markup/literal_scanner.h"
#include "tests/markup/recorded_calls.h"

namespace {

using namespace corvy;

void requireOrder(const std::vector<RecordedCall>& calls, std::size_t size) {
    std::uint64_t end = 0;  // of the tag before
    for (std::size_t i = 0; i < calls.size(); ++i) {
        const RecordedCall& call = calls[i];
        const bool last = i + 1 == calls.size();
        require(last == (call.tagKind == TagKindEnd));
        require(call.textLocation == end);
        require(last ? call.tagLocation == size && call.tagLength == 0 : call.tagLocation >= end);
        end = call.tagLocation + call.tagLength;
        require(end <= size + (call.tagKind == TagKindElement ? 1 : 0));
        if (call.nameLocation == kNotFound) {
            require(call.nameLength == 0);
        } else {
            require(call.nameLength > 0 && call.nameLocation > call.tagLocation);
            require(call.nameLocation + call.nameLength < std::min<std::uint64_t>(end, size));
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::u16string text = fuzzText(data, size);
    const auto scanner = [](std::u16string_view string, TagHandler handler, void* context) {
        return GetTagsOfString(string, handler, context, string.size() % 2 == 0);
    };
    const std::vector<RecordedCall> calls = callsOf(scanner, text);
    require(calls.empty() == text.empty());
    if (!text.empty()) requireOrder(calls, text.size());
    require(calls == callsOf(literal::GetTagsOfString, text));
    return 0;
}
