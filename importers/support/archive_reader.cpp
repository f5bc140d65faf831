#include "importers/support/archive_reader.h"

#include <archive.h>
#include <archive_entry.h>
#include <fcntl.h>
#include <sys/types.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <clocale>
#include <span>
#include <string_view>
#include <utility>

#include "foundation/converters.h"
#include "foundation/descriptor.h"
#include "foundation/text.h"
#include "importers/support/deadline.h"

namespace corvy {

// The file, as the library reads it.
struct ArchiveReader::Source {
    Descriptor file;
    Deadline deadline;
    std::array<char, std::size_t{64} << 10> buffer;

    static la_ssize_t read(struct archive* archive, void* context, const void** bytes) {
        auto& source = *static_cast<Source*>(context);
        *bytes = source.buffer.data();
        if (source.deadline.hasPassed()) {
            ::archive_set_error(archive, ETIMEDOUT, "out of time");
            return -1;
        }
        return ::read(source.file.get(), source.buffer.data(), source.buffer.size());
    }
    static la_int64_t seek(struct archive*, void* context, la_int64_t offset, int whence) {
        return ::lseek(static_cast<Source*>(context)->file.get(), offset, whence);
    }
    static la_int64_t skip(struct archive*, void* context, la_int64_t count) {
        const int file = static_cast<Source*>(context)->file.get();
        const off_t before = ::lseek(file, 0, SEEK_CUR);
        const off_t after = ::lseek(file, count, SEEK_CUR);
        return before < 0 || after < 0 ? 0 : after - before;
    }
};

namespace {

struct archive* handle(void* archive) {
    return static_cast<struct archive*>(archive);
}

// Those that the library reads itself; others it hands to programs.
void supportFilters(struct archive* archive) {
    ::archive_read_support_filter_bzip2(archive);
    ::archive_read_support_filter_compress(archive);
    ::archive_read_support_filter_gzip(archive);
    ::archive_read_support_filter_lz4(archive);
    ::archive_read_support_filter_lzip(archive);
    ::archive_read_support_filter_lzma(archive);
    ::archive_read_support_filter_rpm(archive);
    ::archive_read_support_filter_uu(archive);
    ::archive_read_support_filter_xz(archive);
    ::archive_read_support_filter_zstd(archive);
}

void supportFormats(struct archive* archive) {
    ::archive_read_support_format_7zip(archive);
    ::archive_read_support_format_ar(archive);
    ::archive_read_support_format_cab(archive);
    ::archive_read_support_format_cpio(archive);
    ::archive_read_support_format_iso9660(archive);
    ::archive_read_support_format_lha(archive);
    ::archive_read_support_format_rar(archive);
    ::archive_read_support_format_rar5(archive);
    ::archive_read_support_format_tar(archive);
    ::archive_read_support_format_warc(archive);
    ::archive_read_support_format_xar(archive);
    ::archive_read_support_format_zip(archive);
}

// Names that do not say what they are in are UTF-8, or of the time when archives were made on DOS.
std::u16string nameOf(struct archive_entry* entry) {
    const char* raw = ::archive_entry_pathname(entry);
    if (!raw) raw = ::archive_entry_pathname_utf8(entry);
    if (!raw) return {};
    const std::string_view bytes = raw;
    if (auto name = fromStrictUtf8(bytes)) return *std::move(name);
    auto name = tryToCreateStringWithEncoding(std::as_bytes(std::span(bytes)), Encoding::kDOS437);
    return name ? std::move(name->text) : std::u16string();
}

}  // namespace

void ArchiveReader::Closer::operator()(void* archive) const noexcept {
    ::archive_read_free(handle(archive));
}

ArchiveReader::ArchiveReader(std::unique_ptr<Source> source, void* archive)
    : source_(std::move(source)), archive_(archive) {}
ArchiveReader::ArchiveReader(ArchiveReader&&) noexcept = default;
ArchiveReader::~ArchiveReader() = default;

std::optional<ArchiveReader> ArchiveReader::open(const char* path, Form form) {
    // The library converts names to the charset of the locale.
    std::setlocale(LC_CTYPE, "C.UTF-8");
    auto source = std::make_unique<Source>();
    source->file.reset(::open(path, O_RDONLY | O_CLOEXEC));
    struct archive* const archive = ::archive_read_new();
    if (!source->file || !archive) return std::nullopt;
    Source& file = *source;
    ArchiveReader reader(std::move(source), archive);
    if (form == Form::zip) {
        ::archive_read_support_format_zip(archive);
    } else {
        supportFilters(archive);
        supportFormats(archive);
        if (form == Form::compressed) ::archive_read_support_format_raw(archive);
    }
    ::archive_read_set_callback_data(archive, &file);
    ::archive_read_set_read_callback(archive, Source::read);
    ::archive_read_set_seek_callback(archive, Source::seek);
    ::archive_read_set_skip_callback(archive, Source::skip);
    if (::archive_read_open1(archive) != ARCHIVE_OK) return std::nullopt;
    return reader;
}

bool ArchiveReader::skipContent() {
    auto* const archive = handle(archive_.get());
    // What is not compressed as a whole is passed over without being unpacked.
    if (!isAtEntry_ || ::archive_filter_code(archive, 0) == ARCHIVE_FILTER_NONE) return true;
    const void* bytes = nullptr;
    std::size_t count = 0;
    la_int64_t offset = 0;
    while (::archive_read_data_block(archive, &bytes, &count, &offset) == ARCHIVE_OK) {
        if (source_->deadline.hasPassed()) return false;
    }
    return true;
}

std::optional<ArchiveEntry> ArchiveReader::next() {
    auto* const archive = handle(archive_.get());
    struct archive_entry* entry = nullptr;
    if (!skipContent() || source_->deadline.hasPassed()) return std::nullopt;
    const int status = ::archive_read_next_header(archive, &entry);
    if (status == ARCHIVE_EOF || status < ARCHIVE_WARN) return std::nullopt;
    isAtEntry_ = true;
    ArchiveEntry found;
    found.name = nameOf(entry);
    found.isFolder = ::archive_entry_filetype(entry) == AE_IFDIR;
    found.isEncrypted = ::archive_entry_is_encrypted(entry) != 0;
    if (::archive_entry_size_is_set(entry)) found.size = ::archive_entry_size(entry);
    // Programs that do not know the time write 0.
    if (::archive_entry_mtime_is_set(entry) && ::archive_entry_mtime(entry) != 0) {
        found.modified = Date{static_cast<double>(::archive_entry_mtime(entry))};
    }
    return found;
}

std::string ArchiveReader::content(std::size_t most) {
    std::string content;
    constexpr std::size_t kPiece = std::size_t{64} << 10;
    while (content.size() < most && !source_->deadline.hasPassed()) {
        const std::size_t length = content.size();
        const std::size_t piece = std::min(kPiece, most - length);
        content.resize(length + piece);
        const la_ssize_t count =
            ::archive_read_data(handle(archive_.get()), content.data() + length, piece);
        content.resize(length + static_cast<std::size_t>(std::max<la_ssize_t>(count, 0)));
        if (count <= 0) break;
    }
    return content;
}

bool ArchiveReader::isSingleFile() const {
    return ::archive_format(handle(archive_.get())) == ARCHIVE_FORMAT_RAW;
}

}  // namespace corvy
