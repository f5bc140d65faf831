// Makes small PDF documents for tests.
#pragma once

#include <glib.h>

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace corvy::test {

inline std::string md5(const std::string& bytes) {
    GChecksum* sum = g_checksum_new(G_CHECKSUM_MD5);
    g_checksum_update(sum, reinterpret_cast<const guchar*>(bytes.data()),
                      static_cast<gssize>(bytes.size()));
    guint8 digest[16];
    gsize length = sizeof digest;
    g_checksum_get_digest(sum, digest, &length);
    g_checksum_free(sum);
    return {reinterpret_cast<const char*>(digest), length};
}

inline std::string rc4(const std::string& key, std::string bytes) {
    std::uint8_t state[256];
    for (int i = 0; i < 256; ++i) state[i] = static_cast<std::uint8_t>(i);
    std::uint8_t j = 0;
    for (std::size_t i = 0; i < 256; ++i) {
        j = static_cast<std::uint8_t>(j + state[i] +
                                      static_cast<std::uint8_t>(key[i % key.size()]));
        std::swap(state[i], state[j]);
    }
    std::uint8_t a = 0, b = 0;
    for (char& byte : bytes) {
        b = static_cast<std::uint8_t>(b + state[++a]);
        std::swap(state[a], state[b]);
        byte = static_cast<char>(byte ^ state[static_cast<std::uint8_t>(state[a] + state[b])]);
    }
    return bytes;
}

// Objects are numbered from 1 in the order in which they are added. Object 1 is meant to be the
// catalog and 2 the page tree.
class PdfBuilder {
public:
    // With a user password (that may be empty) streams and info strings are encrypted: 40-bit RC4.
    explicit PdfBuilder(std::optional<std::string> userPassword = {}) {
        if (userPassword) encrypt(*userPassword);
    }

    int add(std::string body) {
        objects_.push_back(std::move(body));
        return static_cast<int>(objects_.size());
    }
    int reserve() { return add("null"); }
    void set(int number, std::string body) {
        objects_[static_cast<std::size_t>(number) - 1] = std::move(body);
    }
    int addStream(const std::string& data, const std::string& entries = "") {
        const int number = reserve();
        const std::string bytes = encrypted(number, data);
        set(number, "<<" + entries + "/Length " + std::to_string(bytes.size()) + ">>stream\n" +
                        bytes + "\nendstream");
        return number;
    }
    // A string inside object `number`, in hexadecimal.
    std::string string(int number, const std::string& bytes) const {
        static const char* digits = "0123456789abcdef";
        std::string out = "<";
        for (const char c : encrypted(number, bytes)) {
            const auto byte = static_cast<std::uint8_t>(c);
            out += {digits[byte >> 4], digits[byte & 15]};
        }
        return out + ">";
    }
    void setInfo(const std::string& body) {
        trailer_ += "/Info " + std::to_string(add("<<" + body + ">>")) + " 0 R";
    }

    // The whole file; without its cross-reference table when that is to be found again.
    std::string bytes(bool table = true) const {
        std::string out = "%PDF-1.4\n";
        std::string entries = "0000000000 65535 f \n";
        for (std::size_t i = 0; i < objects_.size(); ++i) {
            char entry[21];
            g_snprintf(entry, sizeof entry, "%010zu 00000 n \n", out.size());
            entries += entry;
            out += std::to_string(i + 1) + " 0 obj\n" + objects_[i] + "\nendobj\n";
        }
        const std::size_t start = out.size();
        const std::string size = std::to_string(objects_.size() + 1);
        if (table) out += "xref\n0 " + size + "\n" + entries;
        out += "trailer\n<</Size " + size + "/Root 1 0 R" + trailer_ + ">>\nstartxref\n" +
               std::to_string(table ? start : 7) + "\n%%EOF\n";
        return out;
    }

private:
    void encrypt(const std::string& userPassword) {
        static const std::string padding(
            "\x28\xBF\x4E\x5E\x4E\x75\x8A\x41\x64\x00\x4E\x56\xFF\xFA\x01\x08"
            "\x2E\x2E\x00\xB6\xD0\x68\x3E\x80\x2F\x0C\xA9\xFE\x64\x53\x69\x7A",
            32);
        const auto padded = [](const std::string& password) {
            return (password + padding).substr(0, 32);
        };
        const std::string owner = rc4(md5(padded("owner")).substr(0, 5), padded(userPassword));
        const std::string id(16, 'i');
        const std::string permissions("\xFC\xFF\xFF\xFF", 4);  // -4
        key_ = md5(padded(userPassword) + owner + permissions + id).substr(0, 5);
        const std::string user = rc4(key_, padding);
        const std::string key = std::exchange(key_, {});
        trailer_ = "/ID[" + string(0, id) + string(0, id) + "]/Encrypt<</Filter/Standard/V 1/R 2" +
                   "/P -4/O" + string(0, owner) + "/U" + string(0, user) + ">>";
        key_ = key;
    }
    std::string encrypted(int number, const std::string& bytes) const {
        if (key_.empty()) return bytes;
        const std::string salt{static_cast<char>(number), static_cast<char>(number >> 8), 0, 0, 0};
        return rc4(md5(key_ + salt).substr(0, 10), bytes);
    }

    std::vector<std::string> objects_;
    std::string trailer_;
    std::string key_;
};

inline std::string reference(int number) {
    return std::to_string(number) + " 0 R";
}

// Shows text near the top of a page in the font F1.
inline std::string showText(const std::string& text, const std::string& font = "F1") {
    return "BT /" + font + " 12 Tf 72 700 Td (" + text + ") Tj ET";
}

struct PdfPage {
    std::string content;
    // Empty: F1 is Helvetica.
    std::string resources = "";
    std::string entries = "";
    std::string streamEntries = "";
};

// A document of the given pages, with an information dictionary when `info` is not empty.
inline std::string pdfOf(const std::vector<PdfPage>& pages, const std::string& info = "",
                         PdfBuilder builder = PdfBuilder()) {
    builder.add("<</Type/Catalog/Pages 2 0 R>>");
    builder.reserve();
    const int font = builder.add("<</Type/Font/Subtype/Type1/BaseFont/Helvetica>>");
    std::string kids;
    for (const PdfPage& page : pages) {
        const int content = builder.addStream(page.content, page.streamEntries);
        const std::string resources =
            page.resources.empty() ? "<</Font<</F1 " + reference(font) + ">>>>" : page.resources;
        kids += reference(builder.add("<</Type/Page/Parent 2 0 R/Contents " + reference(content) +
                                      "/Resources" + resources + page.entries + ">>")) +
                " ";
    }
    builder.set(2, "<</Type/Pages/MediaBox[0 0 595.276 841.89]/Count " +
                       std::to_string(pages.size()) + "/Kids[" + kids + "]>>");
    if (!info.empty()) builder.setInfo(info);
    return builder.bytes();
}

inline std::span<const std::byte> bytesOf(const std::string& text) {
    return std::as_bytes(std::span(text));
}

}  // namespace corvy::test
