// Calendars in iCalendar: events, tasks and journal entries.
#include <charconv>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/file_contents.h"
#include "foundation/text.h"
#include "importers/support/attributes.h"
#include "importers/support/content_lines.h"
#include "importers/support/own_keys.h"
#include "importers/support/text_list.h"

namespace corvy {

namespace {

constexpr std::int64_t kMostEntries = 100'000;
constexpr std::size_t kDeepest = 20;

// What is told of a single entry only.
struct Entry {
    std::u16string summary, description, place, url, identifier;
    std::optional<double> latitude, longitude;
};

enum class Which { earliest, latest };

void keep(std::optional<Date>& kept, const std::optional<Date>& date, Which which) {
    if (!date) return;
    const bool isBetter = !kept || (which == Which::earliest ? date->seconds < kept->seconds
                                                             : date->seconds > kept->seconds);
    if (isBetter) kept = date;
}

// People by their names, else by their addresses.
void addPerson(TextList& names, TextList& addresses, const ContentLine& line) {
    constexpr std::u16string_view kScheme = u"mailto:";
    std::u16string address = line.text();
    const bool isMail =
        equalNoCase(std::u16string_view(address).substr(0, kScheme.size()), kScheme);
    if (isMail) address.erase(0, kScheme.size());
    const std::u16string name = fromUtf8(line.parameter("CN"));
    names.add(name.empty() ? address : name);
    if (isMail) addresses.add(address);
}

class Calendar {
public:
    bool isFull() const { return entries_ == kMostEntries || text_.size() > kMostText; }

    void read(const ContentLine& line) {
        if (line.name == "BEGIN") {
            if (components_.size() < kDeepest) components_.push_back(line.value);
            if (isInEntry()) entry_ = {};
        } else if (line.name == "END") {
            endComponent(line.value);
        } else if (isInEntry()) {
            readText(line);
            readTime(line);
        } else if (components_.size() == 1) {
            readCalendar(line);
        }
    }

    void tell(Attributes& attributes) const {
        const bool isSingle = entries_ == 1;
        attributes.set("kMDItemTitle", name_.empty() && isSingle ? last_.summary : name_);
        attributes.set("kMDItemDescription",
                       description_.empty() && isSingle ? last_.description : description_);
        attributes.set("kMDItemAuthors", organizers_.texts());
        attributes.set("kMDItemAuthorEmailAddresses", organizerAddresses_.texts());
        attributes.set("kMDItemParticipants", attendees_.texts());
        attributes.set("kMDItemEmailAddresses", attendeeAddresses_.texts());
        attributes.set("kMDItemKeywords", keywords_.texts());
        if (isSingle) tellEntry(attributes, last_);
        const auto setDate = [&attributes](const char* key, const std::optional<Date>& date) {
            if (date) attributes.set(key, *date);
        };
        setDate(own_keys::kStartDate, start_);
        setDate(own_keys::kEndDate, end_);
        setDate("kMDItemDueDate", due_);
        setDate("kMDItemContentCreationDate", created_);
        setDate("kMDItemContentModificationDate", modified_);
        attributes.set(own_keys::kItemCount, entries_);
        attributes.setTextContent(trimWhite(text_));
    }

private:
    static void tellEntry(Attributes& attributes, const Entry& entry) {
        attributes.set("kMDItemSubject", entry.summary);
        attributes.set("kMDItemNamedLocation", entry.place);
        attributes.set("kMDItemURL", entry.url);
        attributes.set("kMDItemIdentifier", entry.identifier);
        if (!entry.latitude || !entry.longitude) return;
        attributes.set("kMDItemLatitude", *entry.latitude);
        attributes.set("kMDItemLongitude", *entry.longitude);
    }

    // Not in what an entry holds in its turn, such as its alarms.
    bool isInEntry() const {
        if (components_.empty()) return false;
        const std::string& name = components_.back();
        return name == "VEVENT" || name == "VTODO" || name == "VJOURNAL";
    }

    void endComponent(const std::string& name) {
        if (components_.empty() || components_.back() != name) return;
        if (isInEntry()) {
            ++entries_;
            last_ = std::move(entry_);
            entry_ = {};
            text_ += u'\n';
        }
        components_.pop_back();
    }

    void readCalendar(const ContentLine& line) {
        if (line.name == "X-WR-CALNAME" || line.name == "NAME") name_ = line.text();
        if (line.name == "X-WR-CALDESC" || line.name == "DESCRIPTION") description_ = line.text();
    }

    void readText(const ContentLine& line) {
        const std::string& name = line.name;
        if (name == "SUMMARY") {
            keepText(entry_.summary, line);
        } else if (name == "DESCRIPTION") {
            keepText(entry_.description, line);
        } else if (name == "LOCATION") {
            keepText(entry_.place, line);
        } else if (name == "COMMENT") {
            std::u16string comment;
            keepText(comment, line);
        } else if (name == "URL") {
            entry_.url = line.text();
        } else if (name == "UID") {
            entry_.identifier = line.text();
        } else if (name == "GEO") {
            readPosition(line.value);
        } else if (name == "ORGANIZER") {
            addPerson(organizers_, organizerAddresses_, line);
        } else if (name == "ATTENDEE") {
            addPerson(attendees_, attendeeAddresses_, line);
        } else if (name == "CATEGORIES") {
            for (const std::u16string& part : line.parts(u',')) keywords_.add(part);
        }
    }

    void readTime(const ContentLine& line) {
        const std::string& name = line.name;
        if (name == "DTSTART") {
            keep(start_, line.date(), Which::earliest);
        } else if (name == "DTEND") {
            keep(end_, line.date(), Which::latest);
        } else if (name == "DUE") {
            keep(due_, line.date(), Which::earliest);
        } else if (name == "CREATED") {
            keep(created_, line.date(), Which::earliest);
        } else if (name == "LAST-MODIFIED") {
            keep(modified_, line.date(), Which::latest);
        }
    }

    void keepText(std::u16string& kept, const ContentLine& line) {
        kept = line.text();
        text_ += kept;
        text_ += u'\n';
    }

    // "LATITUDE;LONGITUDE" in degrees.
    void readPosition(std::string_view value) {
        double latitude = 0;
        double longitude = 0;
        const char* const end = value.data() + value.size();
        const auto first = std::from_chars(value.data(), end, latitude);
        if (first.ec != std::errc() || first.ptr == end || *first.ptr != ';') return;
        if (std::from_chars(first.ptr + 1, end, longitude).ec != std::errc()) return;
        // In this form, so that what is no number fails as well.
        if (!(latitude >= -90 && latitude <= 90 && longitude >= -180 && longitude <= 180)) return;
        entry_.latitude = latitude;
        entry_.longitude = longitude;
    }

    std::vector<std::string> components_;  // that have begun and not ended
    Entry entry_;
    Entry last_;
    std::int64_t entries_ = 0;
    std::u16string name_, description_, text_;
    TextList organizers_, organizerAddresses_, attendees_, attendeeAddresses_, keywords_;
    std::optional<Date> start_, end_, due_, created_, modified_;
};

bool importCalendar(CorvyAttributes* out, const char*, const char* path) {
    const auto bytes =
        contentsOfFile(pathFromBytes(path), {.most = kMostBytes, .beginningSuffices = true});
    if (!bytes) return false;
    ContentLineReader reader(bytes->chars());
    Calendar calendar;
    while (!calendar.isFull()) {
        const auto line = reader.next();
        if (!line) break;
        calendar.read(*line);
    }
    Attributes attributes(out);
    calendar.tell(attributes);
    return true;
}

}  // namespace

}  // namespace corvy

CORVY_IMPORTER(CorvyImporterFactory, corvy::importCalendar)
