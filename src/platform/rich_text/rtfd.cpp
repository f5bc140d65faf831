#include "platform/rich_text/rtfd.h"

#include <algorithm>
#include <map>
#include <memory>
#include <set>
#include <span>
#include <tuple>
#include <utility>
#include <vector>

#include "foundation/character_tables.h"
#include "foundation/text.h"
#include "platform/rich_text/rtf_reader.h"
#include "platform/rich_text/rtf_writer.h"

namespace corvy::platform {

namespace {

constexpr std::size_t kLongestName = 120;  // units: even in three bytes each below 255 + a number

std::u16string lowerCase(std::u16string_view name) {
    std::u16string out(name);

    for (char16_t& unit : out) unit = kLowerChars[unit];
    return out;
}

// Gives each attachment of a text the name of its file. Disks may not tell case apart.
class NameGiver {
public:
    NameGiver() { taken_.insert(lowerCase(kRtfdTextName)); }

    // And whether the file is new: not one that has its name already.
    std::pair<std::u16string, bool> nameOf(const FileNode& file) {
        const bool isShared = !file.isFolder && !file.contents.empty();
        const Identity identity{file.contents.data(), file.contents.size(), file.name};
        if (const auto known = given_.find(identity); isShared && known != given_.end()) {
            return {known->second, false};
        }
        const std::u16string wanted = safeAttachmentName(file.name);
        std::u16string name = wanted;
        for (std::size_t& number = numbers_[lowerCase(wanted)];
             !taken_.insert(lowerCase(name)).second;) {
            name = numbered(wanted, ++number);
        }
        if (isShared) given_.emplace(identity, name);
        return {name, true};
    }

private:
    // Bytes that are at the same place are the same.
    using Identity = std::tuple<const std::byte*, std::size_t, std::u16string>;

    // "image-1.png"
    static std::u16string numbered(std::u16string_view name, std::size_t number) {
        const std::u16string_view extension = pathExtension(name);
        const std::size_t stem =
            extension.empty() ? name.size() : name.size() - extension.size() - 1;
        return std::u16string(name.substr(0, stem)) + u'-' + fromUtf8(std::to_string(number)) +
               std::u16string(name.substr(stem));
    }

    std::set<std::u16string> taken_;
    std::map<std::u16string, std::size_t> numbers_;  // the last that was tried
    std::map<Identity, std::u16string> given_;
};

}  // namespace

std::u16string safeAttachmentName(std::u16string_view name) {
    // Lone surrogates do not survive the way into a name of bytes.
    std::u16string safe = fromUtf8(toUtf8(name));
    for (char16_t& unit : safe) {
        if (unit < 0x20 || unit == 0x7F || unit == u'/' || unit == u'\\' || unit == u':') {
            unit = u'-';
        }
    }
    safe = trimWhite(safe);
    if (safe.size() > kLongestName) {
        const std::u16string extension(pathExtension(safe));
        const std::size_t kept = extension.size() < 16 ? extension.size() + 1 : 0;
        std::size_t stem = kLongestName - kept;
        if ((safe[stem - 1] & 0xFC00) == 0xD800) --stem;
        safe = safe.substr(0, stem) + (kept > 0 ? u'.' + extension : std::u16string());
    }
    if (safe.starts_with(u'.') || safe.starts_with(u"__@")) safe[0] = u'-';
    return safe.empty() ? u"Attachment" : safe;
}

std::optional<RichDocument> documentOfRtfdFolder(const FileNode& folder) {
    const auto text = std::ranges::find(folder.entries, kRtfdTextName, &FileNode::name);
    if (text == folder.entries.end()) return std::nullopt;
    std::optional<RichDocument> document = documentOfRtf(text->contents, &folder);
    if (document) document->attributes.set(document_attribute::kType, document_type::kRtfd);
    return document;
}

std::optional<RichDocument> documentOfRtfd(const Bytes& bytes) {
    if (!isFlatRtfd(bytes)) return documentOfRtf(bytes);
    const std::optional<FileNode> folder = folderOfFlatRtfd(bytes);
    return folder ? documentOfRtfdFolder(*folder) : std::nullopt;
}

FileNode rtfdFolderOf(const RichDocument& document) {
    FileNode folder;
    folder.isFolder = true;
    folder.entries.emplace_back();  // the text, once the names are known
    std::vector<std::u16string> names;
    NameGiver giver;
    for (const Attachment& attachment : document.text.attachments()) {
        auto [name, isNew] = giver.nameOf(attachment.file);
        names.push_back(name);
        if (!isNew) continue;
        folder.entries.push_back(attachment.file);
        folder.entries.back().name = std::move(name);
    }
    const auto rtf = std::make_shared<const std::string>(rtfOf(document, names));
    folder.entries.front().name = kRtfdTextName;
    folder.entries.front().contents =
        Bytes::sharing(std::as_bytes(std::span<const char>(*rtf)), rtf);
    return folder;
}

std::optional<Bytes> rtfdOf(const RichDocument& document, std::uint32_t modificationTime) {
    return flatRtfdOf(rtfdFolderOf(document), modificationTime);
}

}  // namespace corvy::platform
