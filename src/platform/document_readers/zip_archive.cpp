#include "platform/document_readers/zip_archive.h"

#include <zip.h>

#include <algorithm>

#include <utility>
#include <vector>

namespace corvy::platform {

namespace {

zip_t* handle(void* archive) {
    return static_cast<zip_t*>(archive);
}

// Of the file's entry; -1 when there is none.
zip_int64_t locate(void* archive, const std::string& name) {
    const zip_int64_t index = ::zip_name_locate(handle(archive), name.c_str(), ZIP_FL_ENC_GUESS);
    if (index >= 0) return index;
    return ::zip_name_locate(handle(archive), name.c_str(), ZIP_FL_NOCASE | ZIP_FL_ENC_GUESS);
}

}  // namespace

void ZipArchive::Closer::operator()(void* archive) const noexcept {
    ::zip_discard(handle(archive));
}

std::optional<ZipArchive> ZipArchive::open(const Bytes& bytes) {
    zip_error_t error;
    ::zip_error_init(&error);
    zip_t* archive = nullptr;
    zip_source_t* source = ::zip_source_buffer_create(bytes.data(), bytes.size(), 0, &error);
    if (source != nullptr) {
        archive = ::zip_open_from_source(source, ZIP_RDONLY, &error);
        if (archive == nullptr) ::zip_source_free(source);
    }
    ::zip_error_fini(&error);
    if (archive == nullptr) return std::nullopt;
    return ZipArchive(bytes, archive);
}

bool ZipArchive::has(const std::string& name) const {
    return locate(archive_.get(), name) >= 0;
}

std::optional<Bytes> ZipArchive::read(const std::string& name, std::size_t most) {
    const zip_int64_t index = locate(archive_.get(), name);
    if (index < 0) return std::nullopt;
    zip_stat_t stat;
    const auto entry = static_cast<zip_uint64_t>(index);
    if (::zip_stat_index(handle(archive_.get()), entry, 0, &stat) != 0 ||
        (stat.valid & ZIP_STAT_SIZE) == 0 || stat.size > most ||
        stat.size > kMaxZipFiles - taken_) {
        return std::nullopt;
    }
    // What the archive says of the size bounds what is read, so that it cannot lie.
    struct FileCloser {
        void operator()(zip_file_t* file) const { ::zip_fclose(file); }
    };
    const std::unique_ptr<zip_file_t, FileCloser> file(
        ::zip_fopen_index(handle(archive_.get()), entry, 0));
    if (!file) return std::nullopt;
    std::vector<std::byte> contents;
    constexpr std::size_t kPiece = std::size_t{1} << 20;
    while (contents.size() < stat.size) {
        const std::size_t start = contents.size();
        const std::size_t length = std::min<std::size_t>(kPiece, stat.size - start);
        contents.resize(start + length);
        const zip_int64_t got = ::zip_fread(file.get(), contents.data() + start, length);
        taken_ += length;
        if (got != static_cast<zip_int64_t>(length)) return std::nullopt;
    }
    return Bytes(std::move(contents));
}

}  // namespace corvy::platform
