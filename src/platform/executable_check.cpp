#include "platform/executable_check.h"

#include <elf.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <optional>
#include <vector>

#include "foundation/descriptor.h"
#include "foundation/text.h"

namespace corvy::platform {

namespace {

using Outcome = ExecutableCheck::Outcome;

#if defined(__x86_64__)
constexpr Elf64_Half kMachine = EM_X86_64;
#elif defined(__aarch64__)
constexpr Elf64_Half kMachine = EM_AARCH64;
#else
#error "name the EM_... of this architecture"
#endif
constexpr unsigned char kByteOrder =
    std::endian::native == std::endian::little ? ELFDATA2LSB : ELFDATA2MSB;

constexpr std::size_t kMostSegments = 256;
constexpr std::size_t kMostDynamicEntries = 8192;
constexpr std::size_t kMostLibraries = 1024;
constexpr std::size_t kLongestName = 4096;

// Reads parts of the file and never maps it: whoever shortens it meanwhile ends no process.
class ObjectFile {
public:
    explicit ObjectFile(std::u16string_view path) {
        const auto name = bytesOfPath(path);
        if (!name) return;
        file_.reset(::open(name->c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
        struct stat status {};
        if (!file_ || ::fstat(file_.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
            file_.reset();
            return;
        }
        size_ = static_cast<std::uint64_t>(status.st_size);
        folder_ = name->substr(0, name->rfind('/'));
    }

    explicit operator bool() const { return static_cast<bool>(file_); }
    const std::string& folder() const { return folder_; }

    template <typename T>
    bool read(std::uint64_t offset, T* values, std::size_t count) const {
        const std::size_t length = count * sizeof(T);
        return holds(offset, length) &&
               ::pread(file_.get(), values, length, static_cast<off_t>(offset)) ==
                   static_cast<ssize_t>(length);
    }
    bool holds(std::uint64_t offset, std::uint64_t length) const {
        return offset <= size_ && length <= size_ - offset;
    }
    // The text up to the next zero; none when it is not there or too long.
    std::optional<std::string> text(std::uint64_t offset) const {
        if (offset >= size_) return std::nullopt;
        std::string buffer(std::min<std::uint64_t>(kLongestName, size_ - offset), '\0');
        if (!read(offset, buffer.data(), buffer.size())) return std::nullopt;
        const std::size_t end = buffer.find('\0');
        if (end == std::string::npos) return std::nullopt;
        buffer.resize(end);
        return buffer;
    }

private:
    Descriptor file_;
    std::uint64_t size_ = 0;
    std::string folder_;
};

Outcome headerOutcome(const ObjectFile& file, Elf64_Ehdr& header) {
    if (!file) return Outcome::missing;
    if (!file.read(0, header.e_ident, EI_NIDENT) ||
        std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0) {
        return Outcome::notLoadable;
    }
    if (header.e_ident[EI_CLASS] != ELFCLASS64 || header.e_ident[EI_DATA] != kByteOrder) {
        return Outcome::otherMachine;
    }
    if (!file.read(0, &header, 1)) return Outcome::notLoadable;
    if (header.e_machine != kMachine) return Outcome::otherMachine;
    const bool isObject = header.e_type == ET_DYN && header.e_version == EV_CURRENT &&
                          header.e_phentsize == sizeof(Elf64_Phdr) &&
                          header.e_phnum <= kMostSegments;
    return isObject ? Outcome::loadable : Outcome::notLoadable;
}

// The dynamic section of an object, read as far as it tells of libraries.
class DynamicSection {
public:
    // False when the object cannot be one that loads.
    bool read(const ObjectFile& file, const Elf64_Ehdr& header) {
        segments_.resize(header.e_phnum);
        if (!file.read(header.e_phoff, segments_.data(), segments_.size())) return false;
        const Elf64_Phdr* dynamic = nullptr;
        for (const Elf64_Phdr& segment : segments_) {
            if (segment.p_type == PT_DYNAMIC) dynamic = &segment;
            if (segment.p_type == PT_LOAD && !file.holds(segment.p_offset, segment.p_filesz)) {
                return false;
            }
        }
        if (!dynamic) return false;
        const std::size_t count = dynamic->p_filesz / sizeof(Elf64_Dyn);
        if (count > kMostDynamicEntries) return false;
        std::vector<Elf64_Dyn> entries(count);
        if (!file.read(dynamic->p_offset, entries.data(), count)) return false;
        return takeEntries(file, entries);
    }

    std::vector<std::string> libraries;
    std::vector<std::string> folders;  // where they are looked for first

private:
    bool takeEntries(const ObjectFile& file, const std::vector<Elf64_Dyn>& entries) {
        std::optional<std::uint64_t> strings;
        for (const Elf64_Dyn& entry : entries) {
            if (entry.d_tag == DT_NULL) break;
            if (entry.d_tag == DT_STRTAB) strings = offsetOf(entry.d_un.d_ptr);
            // A program, of which the loader makes no library.
            if (entry.d_tag == DT_FLAGS_1 && (entry.d_un.d_val & DF_1_PIE) != 0) return false;
        }
        if (!strings) return false;
        for (const Elf64_Dyn& entry : entries) {
            if (entry.d_tag == DT_NULL) break;
            const bool isFolders = entry.d_tag == DT_RUNPATH || entry.d_tag == DT_RPATH;
            if (entry.d_tag != DT_NEEDED && !isFolders) continue;
            if (entry.d_un.d_val > UINT32_MAX) return false;
            auto text = file.text(*strings + entry.d_un.d_val);
            if (!text || (text->empty() && !isFolders)) return false;
            if (isFolders) {
                addFolders(*text, file.folder());
            } else if (libraries.size() < kMostLibraries) {
                libraries.push_back(*std::move(text));
            }
        }
        return true;
    }

    std::optional<std::uint64_t> offsetOf(std::uint64_t address) const {
        for (const Elf64_Phdr& segment : segments_) {
            if (segment.p_type == PT_LOAD && address >= segment.p_vaddr &&
                address - segment.p_vaddr < segment.p_filesz) {
                return segment.p_offset + (address - segment.p_vaddr);
            }
        }
        return std::nullopt;
    }

    void addFolders(std::string_view list, const std::string& origin) {
        while (!list.empty()) {
            const std::size_t end = std::min(list.find(':'), list.size());
            std::string folder(list.substr(0, end));
            list.remove_prefix(std::min(end + 1, list.size()));
            for (const std::string_view token : {"$ORIGIN", "${ORIGIN}"}) {
                const std::size_t at = folder.find(token);
                if (at != std::string::npos) folder.replace(at, token.size(), origin);
            }
            if (!folder.empty()) folders.push_back(std::move(folder));
        }
    }

    std::vector<Elf64_Phdr> segments_;
};

}  // namespace

ExecutableCheck checkExecutable(std::u16string_view path, const SharedLibraries& libraries) {
    const ObjectFile file(path);
    Elf64_Ehdr header{};
    const Outcome outcome = headerOutcome(file, header);
    if (outcome != Outcome::loadable) return {outcome};
    DynamicSection dynamic;
    if (!dynamic.read(file, header)) return {Outcome::notLoadable};
    for (const std::string& library : dynamic.libraries) {
        if (!libraries.has(library, dynamic.folders)) return {Outcome::missingLibrary, library};
    }
    return {Outcome::loadable};
}

}  // namespace corvy::platform
