#include "tests/importers/packed.h"

#include <archive.h>
#include <archive_entry.h>

#include <fstream>
#include <iterator>

namespace corvy::test {

std::string packed(int format, int filter, const Entries& entries) {
    std::string bytes(std::size_t{1} << 20, '\0');
    std::size_t used = 0;
    archive* out = archive_write_new();
    archive_write_set_format(out, format);
    archive_write_add_filter(out, filter);
    archive_write_set_bytes_per_block(out, 0);
    archive_write_open_memory(out, bytes.data(), bytes.size(), &used);
    archive_entry* entry = archive_entry_new();
    for (const auto& [name, content] : entries) {
        archive_entry_clear(entry);
        archive_entry_set_pathname(entry, name.c_str());
        archive_entry_set_filetype(entry, AE_IFREG);
        archive_entry_set_perm(entry, 0644);
        archive_entry_set_size(entry, static_cast<la_int64_t>(content.size()));
        archive_write_header(out, entry);
        archive_write_data(out, content.data(), content.size());
    }
    archive_entry_free(entry);
    archive_write_free(out);
    bytes.resize(used);
    return bytes;
}

std::string zipped(const Entries& entries) {
    return packed(ARCHIVE_FORMAT_ZIP, ARCHIVE_FILTER_NONE, entries);
}

std::string contentOf(const char* path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace corvy::test
