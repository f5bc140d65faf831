#include "platform/content_type.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>

#include "foundation/big_endian.h"
#include "foundation/descriptor.h"
#include "foundation/resource_file.h"
#include "foundation/resource_fork.h"
#include "foundation/text.h"
#include "platform/type_identifier.h"
#include "platform/type_signatures.h"

namespace corvy::platform {

namespace {

// Words behind a dot that are no extension, as in "Notes of v. 2".
std::u16string_view extensionOf(std::u16string_view path) {
    const std::u16string_view extension = pathExtension(path);
    return extension.find(u' ') == extension.npos ? extension : std::u16string_view();
}

// The classic type code; none when the file has no Finder info, or none in it.
std::optional<std::u16string> typeCodeOf(const std::string& name) {
    const auto info = finderInfoOfFile(name);
    const auto code = info ? static_cast<ResourceType>(bigEndianAt(info->span(), 0, 4)) : 0;
    if (code == 0) return std::nullopt;
    return stringOfResourceType(code);
}

// The first bytes of a file, read when they are first asked for.
class FileHead {
public:
    explicit FileHead(const std::string& path)
        : file_(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY)) {
        length_ = read(bytes_, 0).size();
    }

    std::span<const std::byte> bytes() const { return std::span(bytes_).first(length_); }
    bool isPart() const { return length_ == bytes_.size(); }

    std::optional<FoundSignature> signature() const {
        auto found = signatureOf(bytes());
        if (!found || found->type != u"public.data") return found;
        const auto offset = compoundDirectoryOffset(bytes());
        if (!offset) return found;
        std::array<std::byte, kCompoundDirectoryLength> directory;
        if (const auto type = typeOfCompoundDirectory(read(directory, *offset))) {
            found->type = *type;
        }
        return found;
    }

private:
    std::span<const std::byte> read(std::span<std::byte> buffer, std::size_t offset) const {
        const ssize_t count =
            ::pread(file_.get(), buffer.data(), buffer.size(), static_cast<off_t>(offset));
        return buffer.first(count > 0 ? static_cast<std::size_t>(count) : 0);
    }

    Descriptor file_;
    std::array<std::byte, kSignatureHead> bytes_;
    std::size_t length_ = 0;
};

std::u16string typeOfFile(std::u16string_view path, const std::string& name, bool isProgram) {
    const std::u16string_view extension = extensionOf(path);
    const auto declared = declaredTypeForTag(TagClass::filenameExtension, extension);
    if (!extension.empty() && !declared) return typeForTag(TagClass::filenameExtension, extension);
    const FileHead head(name);
    const auto signature = head.signature();
    if (declared) {
        const bool isBelieved = !signature || allowsType(*signature, *declared);
        return isBelieved ? *declared : std::u16string(signature->type);
    }
    if (const auto code = typeCodeOf(name)) return typeForTag(TagClass::typeCode, *code);
    if (signature) return std::u16string(signature->type);
    if (!head.bytes().empty() && looksLikeText(head.bytes(), head.isPart())) {
        return u"public.plain-text";
    }
    return isProgram ? u"public.unix-executable" : u"public.data";
}

}  // namespace

std::optional<std::u16string> contentTypeOfFile(std::u16string_view path) {
    const auto name = bytesOfPath(path);
    struct stat status {};
    if (!name || ::stat(name->c_str(), &status) != 0) return std::nullopt;
    if (S_ISDIR(status.st_mode)) {
        return declaredTypeForTag(TagClass::filenameExtension, extensionOf(path), ItemKind::folder)
            .value_or(u"public.folder");
    }
    if (!S_ISREG(status.st_mode)) return std::nullopt;
    constexpr mode_t kAnyExecute = S_IXUSR | S_IXGRP | S_IXOTH;
    return typeOfFile(path, *name, (status.st_mode & kAnyExecute) != 0);
}

}  // namespace corvy::platform
