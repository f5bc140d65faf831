#include "foundation/url_parameters.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>

#include "foundation/ascii_case.h"
#include "foundation/find_unit.h"
#include "foundation/url_simplification.h"

namespace corvy {

namespace {

// Sets of kinds of addresses.
using Addresses = unsigned;
constexpr Addresses kStaticPage = 1;  // .html? and .htm?
constexpr Addresses kScriptPage = 2;  // .php?, .asp? and .aspx?
constexpr Addresses kTopic = 4;       // of a forum
constexpr Addresses kOtherAddress = 8;
constexpr Addresses kAnyAddress = kStaticPage | kScriptPage | kTopic | kOtherAddress;

enum class Value {
    any,
    noContentNumber  // longer than nine characters, or with another character than a digit
};

struct SessionKey {
    std::u16string_view name;
    Addresses addresses;  // on which it counts
    Value value = Value::any;
    char16_t separator = 0;  // that has to stand before it; 0: any
};
#include "foundation/url_session_keys.inc"

#include "foundation/url_tracking_names.inc"
static_assert(std::ranges::is_sorted(kTrackingNames));
constexpr std::size_t kLongestTrackingName =
    std::ranges::max_element(kTrackingNames, {}, &std::u16string_view::size)->size();

constexpr std::u16string_view kCampaignPrefix = u"utm_";
// In the order in which they are looked for.
constexpr std::u16string_view kCampaignKeys[] = {u"utm_source=",   u"utm_medium=",
                                                 u"utm_campaign=", u"utm_term=",
                                                 u"utm_content=",  u"utm_nooverride="};
constexpr std::size_t kNoKey = std::size(kCampaignKeys);

// Without branches, so that many units are looked at at once.
constexpr auto isSeparator = [](auto unit) {
    return (unit == u'?') | (unit == u'&') | (unit == u';');
};

std::u16string_view nameOf(std::u16string_view parameter) {
    return parameter.substr(0, parameter.find(u'='));
}

const SessionKey* sessionKeyOf(std::u16string_view parameter) {
    const std::u16string_view name = nameOf(parameter);
    if (name.size() == parameter.size()) return nullptr;  // no "="
    const auto* key = std::ranges::find_if(kSessionKeys, [name](const SessionKey& candidate) {
        if (candidate.name.size() != name.size()) return false;
        const bool isInCapitals = asciiLower(candidate.name[0]) != candidate.name[0];
        return isInCapitals ? candidate.name == name : equalsAsciiNoCase(name, candidate.name);
    });
    return key == std::end(kSessionKeys) ? nullptr : key;
}

bool isContentNumber(std::u16string_view value) {
    constexpr std::size_t kLongest = 9;  // digits
    return value.size() <= kLongest &&
           std::ranges::all_of(value, [](char16_t c) { return c >= u'0' && c <= u'9'; });
}

bool endsWithAny(std::u16string_view text, std::span<const std::u16string_view> words) {
    return std::ranges::any_of(
        words, [text](std::u16string_view word) { return endsWithAsciiNoCase(text, word); });
}

// The kinds that the address is of, but for topics; none of them when nothing is to be taken out of
// it.
Addresses kindsOf(std::u16string_view address) {
    constexpr std::u16string_view kStaticMarks[] = {u".html?", u".htm?"};
    constexpr std::u16string_view kScriptMarks[] = {u".php?", u".asp?", u".aspx?"};
    Addresses kinds = kOtherAddress;
    for (std::size_t i = findUnit(address, u'?'); i < address.size();
         i = findUnit(address, u'?', i + 1)) {
        const std::u16string_view page = address.substr(0, i + 1);
        if (endsWithAny(page, kStaticMarks)) {
            if (startsWithAsciiNoCase(address.substr(i + 1), kWidgetParameter)) return 0;
            kinds |= kStaticPage;
        } else if (endsWithAny(page, kScriptMarks)) {
            kinds |= kScriptPage;
        } else if (endsWithAny(page, kPassagePages)) {
            kinds = kAnyAddress;
        }
    }
    const bool isNews = findAsciiNoCase(address, kNewsGroupHost) != std::u16string_view::npos;
    return isNews ? kAnyAddress : kinds;
}

bool isTrackingName(std::u16string_view name) {
    if (startsWithAsciiNoCase(name, kCampaignPrefix)) return true;
    if (name.size() > kLongestTrackingName) return false;
    std::array<char16_t, kLongestTrackingName> lower;
    std::ranges::transform(name, lower.begin(), asciiLower);
    return std::ranges::binary_search(kTrackingNames,
                                      std::u16string_view(lower.data(), name.size()));
}

// Which campaign keys a stretch between separators holds, and which one it begins with.
struct CampaignKeys {
    explicit CampaignKeys(std::u16string_view text) {
        std::size_t at = findAsciiNoCase(text, kCampaignPrefix);
        for (; at != std::u16string_view::npos;
             at = findAsciiNoCase(text, kCampaignPrefix, at + kCampaignPrefix.size())) {
            for (std::size_t key = 0; key < kNoKey; ++key) {
                if (!startsWithAsciiNoCase(text.substr(at), kCampaignKeys[key])) continue;
                held |= static_cast<std::uint8_t>(1U << key);
                if (at == 0) first = key;
            }
        }
    }
    bool holds(std::size_t key) const { return (held >> key & 1) != 0; }

    std::uint8_t held = 0;
    std::size_t first = kNoKey;
};

}  // namespace

bool UrlParameters::areIn(std::u16string_view address) {
    return findUnitIf(address, isSeparator) != address.size();
}

UrlParameters::UrlParameters(std::u16string_view address) : original_(address) {
    const auto add = [this](char16_t separator, std::u16string_view text) {
        const std::size_t index = parameters_.size();
        parameters_.push_back({separator, text, index == 0 ? 0 : index - 1, index + 1});
    };
    constexpr std::size_t kUsual = 16;
    parameters_.reserve(kUsual);
    char16_t separator = 0;
    std::size_t start = 0;
    for (std::size_t i = findUnitIf(address, isSeparator); i < address.size();
         i = findUnitIf(address, isSeparator, start)) {
        add(separator, address.substr(start, i - start));
        separator = address[i];
        start = i + 1;
    }
    add(separator, address.substr(start));
}

void UrlParameters::unlink(std::size_t from, std::size_t to) {
    const std::size_t before = parameters_[from].previous;
    for (std::size_t i = from; i != to; i = parameters_[i].next) parameters_[i].isRemoved = true;
    parameters_[before].next = to;
    if (!isEnd(to)) parameters_[to].previous = before;
    hasChanged_ = true;
}

void UrlParameters::remove(std::size_t index) {
    const char16_t separator = parameters_[index].separator;
    std::size_t end = parameters_[index].next;
    if (separator != u';') {
        while (!isEnd(end) && parameters_[end].separator == u';') end = parameters_[end].next;
    }
    const bool isLast =
        isEnd(end) || (isEnd(parameters_[end].next) && parameters_[end].text.empty());
    if (isLast) {
        end = parameters_.size();
    } else {
        parameters_[end].separator = separator;
    }
    unlink(index, end);
}

void UrlParameters::removeAlone(std::size_t index) {
    std::size_t end = parameters_[index].next;
    if (parameters_[index].separator == u'?' && !isEnd(end)) {
        if (isEnd(parameters_[end].next) && parameters_[end].text.empty()) {
            end = parameters_.size();
        } else {
            parameters_[end].separator = u'?';
        }
    }
    unlink(index, end);
}

void UrlParameters::removeSessionIDs() {
    struct Found {
        const SessionKey* key;
        std::size_t index;
    };
    std::vector<Found> found;
    for (std::size_t i = parameters_[0].next; !isEnd(i); i = parameters_[i].next) {
        if (const SessionKey* key = sessionKeyOf(parameters_[i].text)) found.push_back({key, i});
    }
    if (found.empty()) return;
    std::ranges::stable_sort(found, {}, &Found::key);
    Addresses kinds = kindsOf(original_);
    const bool mayBeTopic =
        kinds != 0 && (kinds & kTopic) == 0 && std::ranges::any_of(found, [](const Found& one) {
            return (one.key->addresses & kTopic) != 0;
        });
    if (mayBeTopic && stringURLIsTopicOrThread(original_)) kinds |= kTopic;
    for (const auto& [key, index] : found) {
        const Parameter& parameter = parameters_[index];
        if (parameter.isRemoved || (key->addresses & kinds) == 0) continue;
        if (key->separator != 0 && parameter.separator != key->separator) continue;
        if (key->value == Value::noContentNumber &&
            isContentNumber(parameter.text.substr(key->name.size() + 1))) {
            continue;
        }
        // kept: behind ";jsessionid=1?a=2" the ";" stays, and the "?" goes.
        remove(index);
    }
}

void UrlParameters::removeAnalytics() {
    if (findAsciiNoCase(original_, kCampaignPrefix) == std::u16string_view::npos) return;
    std::vector<CampaignKeys> keys;
    keys.reserve(parameters_.size());
    std::uint8_t held = 0;
    for (const Parameter& parameter : parameters_) {
        const bool isThere = !parameter.isRemoved;
        keys.emplace_back(isThere ? parameter.text : std::u16string_view());
        held |= keys.back().held;
    }
    if (held == 0) return;
    // Of each key only the first place counts: where that is no parameter's name, the others stay.
    std::array<std::size_t, kNoKey> firstPlaces{};
    const auto removeFirst = [&] {
        for (std::size_t key = 0; key < kNoKey; ++key) {
            std::size_t& place = firstPlaces[key];
            while (!isEnd(place) && (parameters_[place].isRemoved || !keys[place].holds(key))) {
                ++place;
            }
            if (isEnd(place) || place == 0 || keys[place].first != key) continue;
            remove(place);
            return true;
        }
        return false;
    };
    while (removeFirst()) {
    }
}

void UrlParameters::removeEmptyParams() {
    for (std::size_t i = 1; i < parameters_.size(); ++i) {
        const std::u16string_view text = parameters_[i].text;
        const std::size_t sign = text.find(u'=');
        if (parameters_[i].isRemoved || sign == std::u16string_view::npos) continue;
        const bool isEmpty = sign + 1 == text.size() || text[sign + 1] == 0;
        constexpr std::size_t kLeastPlace = 2;
        const auto place = static_cast<std::size_t>(text.data() - original_.data()) + sign;
        if (isEmpty && place >= kLeastPlace) removeAlone(i);
    }
    for (std::size_t i = 1; i < parameters_.size(); ++i) {
        const std::size_t next = parameters_[i].next;
        const bool isBareQuery = !parameters_[i].isRemoved && parameters_[i].separator == u'?' &&
                                 parameters_[i].text.empty();
        if (!isBareQuery || isEnd(next) || parameters_[next].separator != u'&') continue;
        parameters_[next].separator = u'?';
        unlink(i, next);
        i = next;
    }
}

void UrlParameters::removeTracking() {
    for (std::size_t i = 1; i < parameters_.size(); ++i) {
        if (!parameters_[i].isRemoved && isTrackingName(nameOf(parameters_[i].text))) remove(i);
    }
}

std::u16string UrlParameters::address() const {
    std::u16string text;
    text.reserve(original_.size());
    text += parameters_[0].text;
    for (std::size_t i = parameters_[0].next; !isEnd(i); i = parameters_[i].next) {
        text += parameters_[i].separator;
        text += parameters_[i].text;
    }
    return text;
}

bool stringURLIsTopicOrThread(std::u16string_view address) {
    return std::ranges::any_of(kTopicMarks, [address](std::u16string_view mark) {
        return findAsciiNoCase(address, mark) != std::u16string_view::npos;
    });
}

}  // namespace corvy
