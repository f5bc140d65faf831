#include "markup/tag_scanner.h"
#include "tools/toolkit/operation.h"

namespace corvy::tools {

namespace {

struct RecordContext {
    Array calls;
    std::optional<std::int64_t> stopAt;  // the call, from 1, to which the handler says true
};

bool RecordHandler(const TagCall& call) {
    auto& record = *static_cast<RecordContext*>(call.context);
    Array fields;
    for (const std::uint64_t field :
         {call.nameLocation, call.nameLength, call.tagLocation, call.tagLength, call.textLocation,
          std::uint64_t{call.tagKind}}) {
        fields.emplace_back(static_cast<std::int64_t>(field));
    }
    record.calls.emplace_back(std::move(fields));
    return record.stopAt == static_cast<std::int64_t>(record.calls.size());
}

Reply recordTags(std::u16string_view string, LastIfAny<std::int64_t> stopAt) {
    RecordContext record{{}, stopAt.given};
    const bool ran = GetTagsOfString(string, RecordHandler, &record);
    return {ran, {{u"calls", std::move(record.calls)}}};
}

constexpr Operation kOperations[] = {
    method<recordTags>("GetTagsOfString"),
    method<isTagOpen>("isTagOpen"),
    method<isTagClosed>("isTagClosed"),
    method<isMetaTag>("isMetaTag"),
    method<isRemarkTag>("isRemarkTag"),
    method<isTagOpenInRange>("isTagOpenInRange:"),
    method<isTagClosedInRange>("isTagClosedInRange:"),
    method<isMetaTagInRange>("isMetaTagInRange:"),
    method<isRemarkTagInRange>("isRemarkTagInRange:"),
    function<isTagOpenCharacters>("isTagOpenCharacters:range:"),
    function<isTagClosedCharacters>("isTagClosedCharacters:range:"),
};

}  // namespace

std::span<const Operation> scannerOperations() {
    return kOperations;
}

}  // namespace corvy::tools
