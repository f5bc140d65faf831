// Archives and compressed files: what is in them.
#include <algorithm>
#include <iterator>
#include <limits>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/text.h"
#include "importers/support/archive_reader.h"
#include "importers/support/attributes.h"
#include "importers/support/own_keys.h"

namespace corvy {

namespace {

constexpr std::int64_t kMostEntries = 200'000;

// Types of files that may be no more than one compressed file.
constexpr std::string_view kCompressed[] = {
    "org.gnu.gnu-zip-archive",     "public.bzip2-archive",       "com.redhat.bzip2-archive",
    "org.tukaani.xz-archive",      "org.tukaani.lzma-archive",   "public.z-archive",
    "org.corvystack.zstd-archive", "org.corvystack.lz4-archive",
};

// What the entries say together.
class Listing {
public:
    void add(const ArchiveEntry& entry) {
        isEncrypted_ = isEncrypted_ || entry.isEncrypted;
        if (entry.modified && (!newest_ || newest_->seconds < entry.modified->seconds)) {
            newest_ = entry.modified;
        }
        if (entry.isFolder) return;
        ++count_;
        // Archives can tell any size.
        constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();
        size_ += std::clamp<std::int64_t>(entry.size.value_or(0), 0, kMost - size_);
        names_ += entry.name;
        names_ += u'\n';
    }
    bool isFull() const { return count_ == kMostEntries || names_.size() > kMostText; }

    void tell(Attributes& attributes) const {
        attributes.set(own_keys::kItemCount, count_);
        if (size_ > 0) attributes.set(own_keys::kUnpackedSize, size_);
        if (isEncrypted_) attributes.set(own_keys::kIsEncrypted, true);
        if (newest_) attributes.set("kMDItemContentModificationDate", *newest_);
        attributes.setTextContent(names_);
    }

private:
    std::int64_t count_ = 0;  // of files
    std::int64_t size_ = 0;
    bool isEncrypted_ = false;
    std::optional<Date> newest_;
    std::u16string names_;
};

// Named like the file itself, without its last extension.
std::u16string nameOfUnpacked(std::u16string_view path) {
    const std::u16string_view name = lastPathComponent(path);
    const std::size_t extension = pathExtension(path).size();
    return std::u16string(name.substr(0, extension > 0 ? name.size() - extension - 1 : name.npos));
}

bool importArchive(CorvyAttributes* out, const char* contentType, const char* path) {
    const bool isCompressed =
        std::ranges::find(kCompressed, std::string_view(contentType)) != std::end(kCompressed);
    auto reader = ArchiveReader::open(
        path, isCompressed ? ArchiveReader::Form::compressed : ArchiveReader::Form::archive);
    if (!reader) return false;
    Listing listing;
    while (!listing.isFull()) {
        auto entry = reader->next();
        if (!entry) break;
        if (reader->isSingleFile()) entry->name = nameOfUnpacked(pathFromBytes(path));
        listing.add(*entry);
    }
    Attributes attributes(out);
    listing.tell(attributes);
    return true;
}

}  // namespace

}  // namespace corvy

CORVY_IMPORTER(CorvyImporterFactory, corvy::importArchive)
