// Contacts in vCard: one person, or an address book.
#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/file_contents.h"
#include "foundation/text.h"
#include "importers/support/attributes.h"
#include "importers/support/content_lines.h"
#include "importers/support/own_keys.h"
#include "importers/support/text_list.h"

namespace corvy {

namespace {

constexpr std::int64_t kMostCards = 100'000;

// What is told of a single person only.
struct Card {
    std::u16string name;
    std::u16string structuredName;  // for cards without the other
    std::u16string city, region, country;
    std::u16string note, url, identifier;
    std::optional<Date> birthday;
};

std::u16string withoutScheme(const std::u16string& text) {
    for (const std::u16string_view scheme : {u"mailto:", u"tel:"}) {
        if (text.size() > scheme.size() &&
            equalNoCase(std::u16string_view(text).substr(0, scheme.size()), scheme)) {
            return text.substr(scheme.size());
        }
    }
    return text;
}

std::u16string joined(const std::vector<std::u16string>& parts, std::u16string_view between) {
    std::u16string whole;
    for (const std::u16string& part : parts) {
        const std::u16string_view trimmed = trimWhite(part);
        if (trimmed.empty()) continue;
        if (!whole.empty()) whole += between;
        whole += trimmed;
    }
    return whole;
}

class AddressBook {
public:
    bool isFull() const { return cards_ == kMostCards || text_.size() > kMostText; }

    void read(const ContentLine& line) {
        if (line.name == "BEGIN") {
            card_ = {};
        } else if (line.name == "END") {
            endCard();
        } else {
            readProperty(line);
        }
    }

    void tell(Attributes& attributes) const {
        attributes.set("kMDItemContactKeywords", names_.texts());
        attributes.set("kMDItemEmailAddresses", emails_.texts());
        attributes.set("kMDItemPhoneNumbers", phones_.texts());
        attributes.set("kMDItemInstantMessageAddresses", messengers_.texts());
        attributes.set("kMDItemOrganizations", organizations_.texts());
        attributes.set("kMDItemKeywords", keywords_.texts());
        if (revised_) attributes.set("kMDItemContentModificationDate", *revised_);
        attributes.set(own_keys::kItemCount, cards_);
        if (cards_ == 1) tellCard(attributes, last_);
        attributes.setTextContent(trimWhite(text_));
    }

private:
    static void tellCard(Attributes& attributes, const Card& card) {
        attributes.set("kMDItemTitle", card.name);
        attributes.set("kMDItemCity", card.city);
        attributes.set("kMDItemStateOrProvince", card.region);
        attributes.set("kMDItemCountry", card.country);
        attributes.set("kMDItemComment", card.note);
        attributes.set("kMDItemURL", card.url);
        attributes.set("kMDItemIdentifier", card.identifier);
        if (card.birthday) attributes.set(own_keys::kBirthday, *card.birthday);
    }

    void endCard() {
        ++cards_;
        if (card_.name.empty()) {
            card_.name = card_.structuredName;
            appendLine(card_.name);
        }
        names_.add(card_.name);
        last_ = std::move(card_);
        card_ = {};
        text_ += u'\n';
    }

    void readProperty(const ContentLine& line) {
        const std::string& name = line.name;
        if (name == "FN") {
            card_.name = line.text();
            appendLine(card_.name);
        } else if (name == "N") {
            readStructuredName(line);
        } else if (name == "ADR") {
            readAddress(line);
        } else if (name == "EMAIL") {
            add(emails_, line);
        } else if (name == "TEL") {
            add(phones_, line);
        } else if (name == "IMPP" || isMessenger(name)) {
            add(messengers_, line);
        } else if (name == "ORG") {
            readOrganization(line);
        } else if (name == "CATEGORIES") {
            for (const std::u16string& part : line.parts(u',')) keywords_.add(part);
        } else if (name == "TITLE" || name == "ROLE" || name == "NICKNAME") {
            appendLine(line.text());
        } else if (name == "NOTE") {
            card_.note = line.text();
            appendLine(card_.note);
        } else if (name == "URL") {
            if (card_.url.empty()) card_.url = line.text();
            appendLine(line.text());
        } else if (name == "UID") {
            card_.identifier = line.text();
        } else if (name == "BDAY") {
            card_.birthday = line.date();
        } else if (name == "REV") {
            const auto date = line.date();
            if (date && (!revised_ || revised_->seconds < date->seconds)) revised_ = date;
        }
    }

    static bool isMessenger(std::string_view name) {
        constexpr std::array<std::string_view, 8> kNames = {
            "X-AIM",    "X-GADUGADU", "X-GOOGLE-TALK", "X-ICQ",
            "X-JABBER", "X-MSN",      "X-SKYPE",       "X-YAHOO"};
        return std::ranges::find(kNames, name) != kNames.end();
    }

    // Family, given, further names, what stands before and after them.
    void readStructuredName(const ContentLine& line) {
        const auto parts = line.parts(u';');
        const auto part = [&parts](std::size_t i) {
            return i < parts.size() ? parts[i] : std::u16string();
        };
        card_.structuredName = joined({part(3), part(1), part(2), part(0), part(4)}, u" ");
    }

    // Post box, extension, street, city, region, code, country.
    void readAddress(const ContentLine& line) {
        const auto parts = line.parts(u';');
        appendLine(joined(parts, u", "));
        const auto keep = [&parts](std::u16string& kept, std::size_t i) {
            if (kept.empty() && i < parts.size()) kept = trimWhite(parts[i]);
        };
        keep(card_.city, 3);
        keep(card_.region, 4);
        keep(card_.country, 6);
    }

    // The organisation and its units.
    void readOrganization(const ContentLine& line) {
        const auto parts = line.parts(u';');
        organizations_.add(parts.front());
        appendLine(joined(parts, u", "));
    }

    void add(TextList& list, const ContentLine& line) {
        const std::u16string text = withoutScheme(line.text());
        list.add(text);
        appendLine(text);
    }

    void appendLine(std::u16string_view line) {
        if (line.empty()) return;
        text_ += line;
        text_ += u'\n';
    }

    Card card_;
    Card last_;
    std::int64_t cards_ = 0;
    TextList names_, emails_, phones_, messengers_, organizations_, keywords_;
    std::optional<Date> revised_;
    std::u16string text_;
};

bool importContacts(CorvyAttributes* out, const char*, const char* path) {
    const auto bytes =
        contentsOfFile(pathFromBytes(path), {.most = kMostBytes, .beginningSuffices = true});
    if (!bytes) return false;
    ContentLineReader reader(bytes->chars());
    AddressBook book;
    while (!book.isFull()) {
        const auto line = reader.next();
        if (!line) break;
        book.read(*line);
    }
    Attributes attributes(out);
    book.tell(attributes);
    return true;
}

}  // namespace

}  // namespace corvy

CORVY_IMPORTER(CorvyImporterFactory, corvy::importContacts)
