// The fields that are open while the text of a document is read. What a field says in front of its
// separator is no text of the document; what comes behind it, its result, is.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corvy::platform {

class FieldStack {
public:
    void begin();
    void addInstruction(std::u16string_view text);
    void separate();
    void end();
    void clear() { fields_.clear(); }

    // Whether text is part of the document here.
    bool isShown() const;
    // Of the innermost link that a result stands in; null without one.
    const std::u16string* link() const;

private:
    struct Field {
        std::u16string instruction;
        std::optional<std::u16string> link;
        bool inResult = false;
    };
    std::vector<Field> fields_;
    std::size_t deeper_ = 0;  // fields that are not followed
};

}  // namespace corvy::platform
