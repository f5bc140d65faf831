// First bytes of files, and type identifiers.
#include <span>
#include <string>

#include "foundation/text.h"
#include "fuzz/fuzz_text.h"
#include "platform/type_identifier.h"
#include "platform/type_signatures.h"

using namespace corvy;
using namespace corvy::platform;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto head = std::as_bytes(std::span(data, size));
    looksLikeText(head, true);
    compoundDirectoryOffset(head);
    typeOfCompoundDirectory(head);
    if (const auto found = signatureOf(head)) {
        require(allowsType(*found, found->type));
        require(conformsTo(found->type, u"public.data") ||
                conformsTo(found->type, u"public.message"));
    }
    const std::u16string text = fromUtf8({reinterpret_cast<const char*>(data), size});
    conformsTo(text, u"public.data");
    preferredTag(text, TagClass::mimeType);
    // Into a dynamic identifier and back; extensions go in in lower case.
    const std::u16string identifier = dynamicTypeForTag(TagClass::typeCode, text);
    require(preferredTag(identifier, TagClass::typeCode) == fromUtf8(toUtf8(text)));
    require(conformsTo(identifier, u"public.data"));
    return 0;
}
