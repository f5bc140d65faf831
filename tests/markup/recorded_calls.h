// Handler calls kept for comparison.
#pragma once

#include <cstdint>
#include <ostream>
#include <string_view>
#include <vector>

#include "markup/tag_scanner.h"

namespace corvy {

struct RecordedCall {
    std::uint64_t nameLocation, nameLength, tagLocation, tagLength, textLocation;
    std::uint32_t tagKind;

    friend bool operator==(const RecordedCall&, const RecordedCall&) = default;
    friend std::ostream& operator<<(std::ostream& out, const RecordedCall& call) {
        return out << "{" << static_cast<std::int64_t>(call.nameLocation) << ", " << call.nameLength
                   << ", " << call.tagLocation << ", " << call.tagLength << ", "
                   << call.textLocation << ", " << call.tagKind << "}";
    }
};

struct CallRecorder {
    std::vector<RecordedCall> calls;
    std::size_t stopAt = 0;  // the number of the call, from 1, that stops the scan

    static bool handle(const TagCall& call) {
        auto& recorder = *static_cast<CallRecorder*>(call.context);
        recorder.calls.push_back({call.nameLocation, call.nameLength, call.tagLocation,
                                  call.tagLength, call.textLocation, call.tagKind});
        return recorder.calls.size() == recorder.stopAt;
    }
};

// The calls of a scan by either scanner.
template <typename Scanner>
std::vector<RecordedCall> callsOf(Scanner scanner, std::u16string_view string) {
    CallRecorder recorder;
    scanner(string, CallRecorder::handle, &recorder);
    return recorder.calls;
}

}  // namespace corvy
