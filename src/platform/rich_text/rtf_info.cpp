#include "platform/rich_text/rtf_info.h"

#include <algorithm>
#include <ctime>
#include <utility>

#include "foundation/size_string.h"
#include "foundation/text.h"
#include "platform/rich_text/rich_document.h"
#include "platform/rich_text/rtf_state.h"

namespace corvy::platform {

namespace {

namespace attribute = document_attribute;

Array wordsOf(std::u16string_view text) {
    Array words;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find_first_of(u",;"), text.size());
        if (const auto word = trimWhite(text.substr(0, end)); !word.empty()) {
            words.emplace_back(word);
        }
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return words;
}

}  // namespace

const char16_t* infoKeyOf(RtfWord word) {
    switch (word) {
        case RtfWord::title: return attribute::kTitle;
        case RtfWord::subject: return attribute::kSubject;
        case RtfWord::author: return attribute::kAuthor;
        case RtfWord::operator_: return attribute::kEditor;
        case RtfWord::manager: return attribute::kManager;
        case RtfWord::company: return attribute::kCompany;
        case RtfWord::copyright: return attribute::kCopyright;
        case RtfWord::category: return attribute::kCategory;
        case RtfWord::doccomm: return attribute::kComment;
        case RtfWord::keywords: return attribute::kKeywords;
        case RtfWord::creatim: return attribute::kCreationTime;
        case RtfWord::revtim: return attribute::kModificationTime;
        default: return nullptr;
    }
}

void RtfInfo::setLength(const char16_t* key, std::int32_t twips) {
    entries_.set(key, twips / kTwipsPerPoint);
}

void RtfInfo::applyDocumentWord(RtfWord word, std::int32_t value) {
    switch (word) {
        case RtfWord::paperw: paper_.width = value; break;
        case RtfWord::paperh: paper_.height = value; break;
        case RtfWord::margl: setLength(attribute::kLeftMargin, value); break;
        case RtfWord::margr: setLength(attribute::kRightMargin, value); break;
        case RtfWord::margt: setLength(attribute::kTopMargin, value); break;
        case RtfWord::margb: setLength(attribute::kBottomMargin, value); break;
        case RtfWord::vieww: view_.width = value; break;
        case RtfWord::viewh: view_.height = value; break;
        case RtfWord::viewkind: entries_.set(attribute::kViewMode, value == 1 ? 1 : 0); break;
        case RtfWord::viewscale:
            entries_.set(attribute::kViewZoom, static_cast<double>(value));
            break;
        case RtfWord::deftab: setLength(attribute::kDefaultTabInterval, value); break;
        case RtfWord::hyphauto: hyphenates_ = value != 0; break;
        case RtfWord::hyphfactor:
            entries_.set(attribute::kHyphenationFactor, std::clamp(value, 0, 100) / 100.0);
            break;
        default: break;
    }
}

void RtfInfo::setText(RtfWord word, std::u16string text) {
    if (text.empty()) return;
    const char16_t* key = infoKeyOf(word);
    if (word == RtfWord::keywords) {
        entries_.set(key, wordsOf(text));
    } else {
        entries_.set(key, std::move(text));
    }
}

void RtfInfo::applyTimeWord(RtfWord word, std::int32_t value) {
    const auto part = static_cast<std::size_t>(word) - static_cast<std::size_t>(RtfWord::yr);
    time_.at(part) = value;
}

void RtfInfo::setTime(RtfWord word) {
    const auto [year, month, day, hour, minute, second] = std::exchange(time_, {});
    if (year < 1601 || year > 9999) return;
    std::tm time{};
    time.tm_year = year - 1900;
    time.tm_mon = month - 1;
    time.tm_mday = day;
    time.tm_hour = hour;
    time.tm_min = minute;
    time.tm_sec = second;
    time.tm_isdst = -1;
    // The format has no zone: it is the writer's, and taken for ours.
    entries_.set(infoKeyOf(word), Date{static_cast<double>(std::mktime(&time))});
}

Dictionary RtfInfo::attributes() const {
    Dictionary all = entries_;
    const auto set = [&all](const char16_t* key, Extent extent) {
        if (extent.width <= 0 || extent.height <= 0) return;
        all.set(key, sizeString({extent.width / kTwipsPerPoint, extent.height / kTwipsPerPoint}));
    };
    set(attribute::kPaperSize, paper_);
    set(attribute::kViewSize, view_);
    if (!hyphenates_) all.remove(attribute::kHyphenationFactor);
    return all;
}

}  // namespace corvy::platform
