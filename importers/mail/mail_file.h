// Files of e-mail: one message, or many in a mailbox.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/property_list.h"

namespace corvy {

struct MailAddress {
    std::u16string name;  // empty when the message tells the address alone
    std::u16string address;
};

struct MailMessage {
    std::u16string subject;
    std::vector<MailAddress> authors;
    std::vector<MailAddress> recipients;
    std::optional<Date> date;
    std::u16string identifier;
    std::u16string keywords;  // parted by commas
    std::u16string organization;
    std::u16string
        text;  // of the body and of messages that it carries; of alternatives the plain one
    std::vector<std::u16string> attachmentNames;
};

enum class MailForm {
    message,
    mailbox,       // messages behind lines "From ..."
    countedBytes,  // a message behind a line with the number of its bytes
};

class MailFile {
public:
    // None when the file cannot be read.
    static std::optional<MailFile> open(const char* path, MailForm form);

    // None behind the last message.
    std::optional<MailMessage> next();

private:
    struct Closer {
        void operator()(void* parser) const noexcept;
    };
    MailFile(void* parser, MailForm form) : parser_(parser), form_(form) {}

    std::unique_ptr<void, Closer> parser_;
    MailForm form_;
    bool isAtEnd_ = false;
};

}  // namespace corvy
