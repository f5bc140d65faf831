#include "importers/mail/mail_file.h"

#include <fcntl.h>
#include <gmime/gmime.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <span>

#include "foundation/descriptor.h"
#include "foundation/text.h"
#include "importers/support/attributes.h"
#include "importers/support/decoding.h"
#include "markup/markup_decoding.h"
#include "text/plain_text.h"

namespace corvy {

namespace {

// Parts and messages within each other that are looked into.
constexpr int kDeepest = 30;
constexpr int kMostAddresses = 1000;
constexpr std::size_t kMostAttachments = 10'000;

struct Unref {
    void operator()(void* object) const noexcept { ::g_object_unref(object); }
};
template <typename T>
using Owned = std::unique_ptr<T, Unref>;

std::u16string textOf(const char* utf8) {
    return utf8 ? fromUtf8(utf8) : std::u16string();
}

void appendAddresses(std::vector<MailAddress>& addresses, InternetAddressList* list, int depth) {
    if (!list || depth == kDeepest) return;
    const int count = std::min(::internet_address_list_length(list), kMostAddresses);
    for (int i = 0; i < count; ++i) {
        InternetAddress* const entry = ::internet_address_list_get_address(list, i);
        if (INTERNET_ADDRESS_IS_GROUP(entry)) {
            appendAddresses(addresses,
                            ::internet_address_group_get_members(INTERNET_ADDRESS_GROUP(entry)),
                            depth + 1);
        } else if (INTERNET_ADDRESS_IS_MAILBOX(entry)) {
            addresses.push_back(
                {textOf(::internet_address_get_name(entry)),
                 textOf(::internet_address_mailbox_get_addr(INTERNET_ADDRESS_MAILBOX(entry)))});
        }
    }
}

std::string contentOf(GMimePart* part) {
    GMimeDataWrapper* const content = ::g_mime_part_get_content(part);
    if (!content) return {};
    const Owned<GMimeStream> stream(::g_mime_stream_mem_new());
    ::g_mime_data_wrapper_write_to_stream(content, stream.get());
    const GByteArray* bytes = ::g_mime_stream_mem_get_byte_array(GMIME_STREAM_MEM(stream.get()));
    return {reinterpret_cast<const char*>(bytes->data), bytes->len};
}

bool isOfType(GMimeObject* part, const char* type, const char* subtype) {
    GMimeContentType* const contentType = ::g_mime_object_get_content_type(part);
    return contentType && ::g_mime_content_type_is_type(contentType, type, subtype);
}

std::u16string textOfPart(GMimeObject* part) {
    const std::string content = contentOf(GMIME_PART(part));
    const std::u16string charset =
        textOf(::g_mime_object_get_content_type_parameter(part, "charset"));
    if (!isOfType(part, "text", "html")) return decodedText(content, charset);
    MarkupDataOptions options;
    if (!charset.empty()) options.encodingName = charset;
    const auto page = stringWithMarkupData(std::as_bytes(std::span(content)), options);
    return page ? stringByConvertingHtml2PlainText(*page) : std::u16string();
}

// Gathers texts and names of what is attached.
class PartReader {
public:
    explicit PartReader(MailMessage& message) : message_(message) {}

    void read(GMimeObject* part, int depth) {
        if (!part || depth == kDeepest) return;
        if (GMIME_IS_MULTIPART(part)) {
            readMultipart(GMIME_MULTIPART(part), depth);
        } else if (GMIME_IS_MESSAGE_PART(part)) {
            readCarried(::g_mime_message_part_get_message(GMIME_MESSAGE_PART(part)), depth);
        } else if (GMIME_IS_PART(part)) {
            readPart(part);
        }
    }

private:
    void readMultipart(GMimeMultipart* multipart, int depth) {
        const int count = ::g_mime_multipart_get_count(multipart);
        GMimeObject* const whole = GMIME_OBJECT(multipart);
        if (isOfType(whole, "multipart", "alternative") && count > 0) {
            // The last is the one that is richest; the plain one has the words as they were meant.
            for (int i = 0; i < count; ++i) {
                GMimeObject* const part = ::g_mime_multipart_get_part(multipart, i);
                if (isOfType(part, "text", "plain") && readText(part)) return;
            }
            return read(::g_mime_multipart_get_part(multipart, count - 1), depth + 1);
        }
        for (int i = 0; i < count; ++i) {
            read(::g_mime_multipart_get_part(multipart, i), depth + 1);
        }
    }

    void readCarried(GMimeMessage* carried, int depth) {
        if (!carried) return;
        const std::u16string subject = textOf(::g_mime_message_get_subject(carried));
        attach(subject);
        append(subject);
        read(::g_mime_message_get_mime_part(carried), depth + 1);
    }

    void readPart(GMimeObject* part) {
        const std::u16string name = textOf(::g_mime_part_get_filename(GMIME_PART(part)));
        if (!name.empty() || ::g_mime_part_is_attachment(GMIME_PART(part))) return attach(name);
        if (isOfType(part, "text", "plain") || isOfType(part, "text", "html")) readText(part);
    }

    // False when there is no text in it.
    bool readText(GMimeObject* part) {
        if (!GMIME_IS_PART(part)) return false;
        const std::u16string text = textOfPart(part);
        append(text);
        return !trimWhite(text).empty();
    }

    void append(std::u16string_view text) {
        const std::u16string_view trimmed = trimWhite(text);
        if (trimmed.empty() || message_.text.size() > kMostText) return;
        if (!message_.text.empty()) message_.text += u"\n\n";
        message_.text += trimmed;
    }

    void attach(const std::u16string& name) {
        if (name.empty() || message_.attachmentNames.size() == kMostAttachments) return;
        message_.attachmentNames.push_back(name);
    }

    MailMessage& message_;
};

MailMessage readMessage(GMimeMessage* source) {
    MailMessage message;
    message.subject = textOf(::g_mime_message_get_subject(source));
    appendAddresses(message.authors, ::g_mime_message_get_from(source), 0);
    if (message.authors.empty()) {
        appendAddresses(message.authors, ::g_mime_message_get_sender(source), 0);
    }
    for (InternetAddressList* list :
         {::g_mime_message_get_to(source), ::g_mime_message_get_cc(source),
          ::g_mime_message_get_bcc(source)}) {
        appendAddresses(message.recipients, list, 0);
    }
    if (GDateTime* const date = ::g_mime_message_get_date(source)) {
        message.date = Date{static_cast<double>(::g_date_time_to_unix(date))};
    }
    message.identifier = textOf(::g_mime_message_get_message_id(source));
    message.keywords = textOf(::g_mime_object_get_header(GMIME_OBJECT(source), "Keywords"));
    message.organization = textOf(::g_mime_object_get_header(GMIME_OBJECT(source), "Organization"));
    PartReader(message).read(::g_mime_message_get_mime_part(source), 0);
    return message;
}

// Where the message lies in a file that begins with the number of its bytes.
struct Bounds {
    gint64 start = 0;
    gint64 end = -1;  // of the file
};
Bounds countedBounds(int file) {
    char line[32];
    const ssize_t length = ::pread(file, line, sizeof line, 0);
    const std::string_view head(line, length > 0 ? static_cast<std::size_t>(length) : 0);
    const std::size_t lineEnd = head.find('\n');
    gint64 count = 0;
    if (lineEnd == head.npos || std::from_chars(line, line + lineEnd, count).ec != std::errc() ||
        count <= 0 || count > (gint64{1} << 40)) {
        return {};
    }
    const gint64 start = static_cast<gint64>(lineEnd) + 1;
    return {start, start + count};
}

// Headers with bytes that no charset is told for.
GMimeParserOptions* parserOptions() {
    static GMimeParserOptions* const options = [] {
        static const char* charsets[] = {"utf-8", "windows-1252", nullptr};
        GMimeParserOptions* const made = ::g_mime_parser_options_new();
        ::g_mime_parser_options_set_fallback_charsets(made, charsets);
        return made;
    }();
    return options;
}

}  // namespace

void MailFile::Closer::operator()(void* parser) const noexcept {
    ::g_object_unref(parser);
}

std::optional<MailFile> MailFile::open(const char* path, MailForm form) {
    ::g_mime_init();
    Descriptor file(::open(path, O_RDONLY | O_CLOEXEC));
    if (!file) return std::nullopt;
    const Bounds bounds = form == MailForm::countedBytes ? countedBounds(file.get()) : Bounds();
    // The stream closes the file.
    const Owned<GMimeStream> stream(
        ::g_mime_stream_fs_new_with_bounds(file.release(), bounds.start, bounds.end));
    GMimeParser* const parser = ::g_mime_parser_new_with_stream(stream.get());
    ::g_mime_parser_set_format(
        parser, form == MailForm::mailbox ? GMIME_FORMAT_MBOX : GMIME_FORMAT_MESSAGE);
    return MailFile(parser, form);
}

std::optional<MailMessage> MailFile::next() {
    auto* const parser = static_cast<GMimeParser*>(parser_.get());
    if (isAtEnd_ || ::g_mime_parser_eos(parser)) return std::nullopt;
    isAtEnd_ = form_ != MailForm::mailbox;
    const Owned<GMimeMessage> message(::g_mime_parser_construct_message(parser, parserOptions()));
    return message ? std::optional(readMessage(message.get())) : std::nullopt;
}

}  // namespace corvy
