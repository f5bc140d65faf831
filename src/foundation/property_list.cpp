#include "foundation/property_list.h"

#include <algorithm>

namespace corvy {

namespace {

constexpr std::size_t kLinearLimit = 24;  // up to here a scan beats a hash table
constexpr std::size_t kMissing = static_cast<std::size_t>(-1);

}  // namespace

Dictionary::Dictionary() = default;
Dictionary::Dictionary(const Dictionary&) = default;
Dictionary::Dictionary(Dictionary&&) noexcept = default;
Dictionary& Dictionary::operator=(const Dictionary&) = default;
Dictionary& Dictionary::operator=(Dictionary&&) noexcept = default;
Dictionary::~Dictionary() = default;

Dictionary::Dictionary(std::initializer_list<Entry> entries) {
    for (const Entry& entry : entries) set(entry.key, entry.value);
}

std::size_t Dictionary::indexOf(std::u16string_view key) const {
    if (entries_.size() > kLinearLimit) {
        const auto found = index_.find(std::u16string(key));
        return found == index_.end() ? kMissing : found->second;
    }
    for (std::size_t i = 0; i < entries_.size(); ++i) {
        if (entries_[i].key == key) return i;
    }
    return kMissing;
}

void Dictionary::rebuildIndex() {
    index_.clear();
    if (entries_.size() <= kLinearLimit) return;
    for (std::size_t i = 0; i < entries_.size(); ++i) index_.emplace(entries_[i].key, i);
}

void Dictionary::set(std::u16string_view key, PropertyList value) {
    const std::size_t index = indexOf(key);
    if (index != kMissing) {
        entries_[index].value = std::move(value);
        return;
    }
    entries_.push_back({std::u16string(key), std::move(value)});
    if (entries_.size() == kLinearLimit + 1) {
        rebuildIndex();
    } else if (entries_.size() > kLinearLimit) {
        index_.emplace(entries_.back().key, entries_.size() - 1);
    }
}

void Dictionary::addEntries(const Dictionary& other) {
    for (const Entry& entry : other) set(entry.key, entry.value);
}

void Dictionary::reserve(std::size_t entries) {
    entries_.reserve(entries);
}

bool Dictionary::remove(std::u16string_view key) {
    const std::size_t index = indexOf(key);
    if (index == kMissing) return false;
    entries_.erase(entries_.begin() + static_cast<std::ptrdiff_t>(index));
    rebuildIndex();
    return true;
}

const PropertyList* Dictionary::find(std::u16string_view key) const {
    const std::size_t index = indexOf(key);
    return index == kMissing ? nullptr : &entries_[index].value;
}

PropertyList* Dictionary::find(std::u16string_view key) {
    const std::size_t index = indexOf(key);
    return index == kMissing ? nullptr : &entries_[index].value;
}

std::size_t Dictionary::size() const {
    return entries_.size();
}

const Dictionary::Entry* Dictionary::begin() const {
    return entries_.data();
}

const Dictionary::Entry* Dictionary::end() const {
    return entries_.data() + entries_.size();
}

bool operator==(const Dictionary& a, const Dictionary& b) {
    return a.size() == b.size() && std::all_of(a.begin(), a.end(), [&b](const auto& entry) {
               const PropertyList* other = b.find(entry.key);
               return other && *other == entry.value;
           });
}

std::optional<bool> PropertyList::boolean() const {
    const bool* value = std::get_if<bool>(&value_);
    return value ? std::optional(*value) : std::nullopt;
}

std::optional<std::int64_t> PropertyList::integer() const {
    if (const auto* narrow = std::get_if<std::int32_t>(&value_)) return *narrow;
    if (const auto* wide = std::get_if<std::int64_t>(&value_)) return *wide;
    return std::nullopt;
}

std::optional<double> PropertyList::number() const {
    if (const auto whole = integer()) return static_cast<double>(*whole);
    if (const auto* narrow = std::get_if<float>(&value_)) return *narrow;
    if (const auto* wide = std::get_if<double>(&value_)) return *wide;
    return std::nullopt;
}

std::optional<std::u16string> stringOf(const Dictionary& dictionary, std::u16string_view key) {
    const PropertyList* value = dictionary.find(key);
    if (!value || !value->string()) return std::nullopt;
    return *value->string();
}

}  // namespace corvy
