// Messages and mailboxes.
#include <algorithm>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/text.h"
#include "importers/mail/mail_file.h"
#include "importers/support/attributes.h"
#include "importers/support/deadline.h"
#include "importers/support/own_keys.h"
#include "importers/support/text_list.h"

namespace corvy {

namespace {

constexpr std::int64_t kMostMessages = 100'000;

// People by their names, or by their addresses where they have none.
class People {
public:
    void add(const std::vector<MailAddress>& people) {
        for (const MailAddress& person : people) {
            names_.add(person.name.empty() ? person.address : person.name);
            addresses_.add(person.address);
        }
    }
    void tell(Attributes& attributes, const char* names, const char* addresses) const {
        attributes.set(names, names_.texts());
        attributes.set(addresses, addresses_.texts());
    }

private:
    TextList names_;
    TextList addresses_;
};

// What the messages of a file say together.
class Mail {
public:
    void add(const MailMessage& message) {
        authors_.add(message.authors);
        recipients_.add(message.recipients);
        keywords_.addSplit(message.keywords, u",;");
        organizations_.add(message.organization);
        for (const std::u16string& name : message.attachmentNames) attachments_.add(name);
        if (!message.date) return;
        const double seconds = message.date->seconds;
        first_ = Date{std::min(seconds, first_ ? first_->seconds : seconds)};
        last_ = Date{std::max(seconds, last_ ? last_->seconds : seconds)};
    }
    void tell(Attributes& attributes) const {
        authors_.tell(attributes, "kMDItemAuthors", "kMDItemAuthorEmailAddresses");
        recipients_.tell(attributes, "kMDItemRecipients", "kMDItemRecipientEmailAddresses");
        attributes.set("kMDItemKeywords", keywords_.texts());
        attributes.set("kMDItemOrganizations", organizations_.texts());
        attributes.set(own_keys::kAttachmentNames, attachments_.texts());
        if (first_) attributes.set("kMDItemContentCreationDate", *first_);
        if (last_ != first_) attributes.set("kMDItemContentModificationDate", *last_);
    }

private:
    People authors_;
    People recipients_;
    TextList keywords_;
    TextList organizations_;
    TextList attachments_;
    std::optional<Date> first_;
    std::optional<Date> last_;
};

bool importMessage(Attributes& attributes, MailFile file) {
    const auto message = file.next();
    if (!message) return false;
    Mail mail;
    mail.add(*message);
    mail.tell(attributes);
    attributes.set("kMDItemTitle", message->subject);
    attributes.set("kMDItemSubject", message->subject);
    attributes.set("kMDItemIdentifier", message->identifier);
    attributes.setTextContent(message->text);
    return true;
}

bool importMailbox(Attributes& attributes, MailFile file) {
    Mail mail;
    std::u16string text;
    std::int64_t count = 0;
    const Deadline deadline;
    while (count < kMostMessages && text.size() < kMostText && !deadline.hasPassed()) {
        const auto message = file.next();
        if (!message) break;
        ++count;
        mail.add(*message);
        if (!text.empty()) text += u"\n\n";
        text += message->subject;
        text += u"\n\n";
        text += message->text;
    }
    mail.tell(attributes);
    attributes.set(own_keys::kItemCount, count);
    attributes.setTextContent(text);
    return count > 0;
}

bool importMail(CorvyAttributes* out, const char* contentType, const char* path) {
    const std::string_view type = contentType;
    const bool isFolder = type == "com.apple.mail.mbox" && std::filesystem::is_directory(path);
    const bool isMailbox = isFolder || type == "org.corvystack.mbox";
    const MailForm form = isMailbox                        ? MailForm::mailbox
                          : type == "com.apple.mail.email" ? MailForm::countedBytes
                                                           : MailForm::message;
    const std::string name = isFolder ? std::string(path) + "/mbox" : path;
    auto file = MailFile::open(name.c_str(), form);
    if (!file) return false;
    Attributes attributes(out);
    return isMailbox ? importMailbox(attributes, *std::move(file))
                     : importMessage(attributes, *std::move(file));
}

}  // namespace

}  // namespace corvy

CORVY_IMPORTER(CorvyImporterFactory, corvy::importMail)
