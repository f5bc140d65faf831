// The entries of an archive, one after the other.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "foundation/property_list.h"

namespace corvy {

struct ArchiveEntry {
    std::u16string name;
    std::optional<std::int64_t> size;  // bytes, unpacked
    std::optional<Date> modified;
    bool isFolder = false;
    bool isEncrypted = false;
};

class ArchiveReader {
public:
    enum class Form {
        zip,
        archive,     // of any kind
        compressed,  // the same, or one file that is only compressed
    };

    // None when the file is no archive of that form. Reading ends when the time is up (deadline.h),
    // as if the archive ended there.
    static std::optional<ArchiveReader> open(const char* path, Form form);
    ArchiveReader(ArchiveReader&&) noexcept;
    ~ArchiveReader();

    // None behind the last entry, and from where the archive is damaged.
    std::optional<ArchiveEntry> next();
    // The content of the entry that `next` gave, at most so many bytes of it; what can be read.
    std::string content(std::size_t most);
    // Nothing but one compressed file, whose name and size the archive may not tell.
    bool isSingleFile() const;

private:
    struct Source;
    struct Closer {
        void operator()(void* archive) const noexcept;
    };
    ArchiveReader(std::unique_ptr<Source> source, void* archive);

    // Passes over the content of the entry; false when the time is up.
    bool skipContent();

    std::unique_ptr<Source> source_;  // outlives the archive
    std::unique_ptr<void, Closer> archive_;
    bool isAtEntry_ = false;
};

}  // namespace corvy
