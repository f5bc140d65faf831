// What a document database does with a new file: launches a helper of its own, and asks it for the
// text, a thumbnail and the attributes of the file.
//
//     embedding FILE
#include <corvystack/client/private_helper.h>
#include <corvystack/foundation/text.h>

#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>

namespace {

void printText(corvy::CorvyStackClient& client, const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    const std::string content(std::istreambuf_iterator<char>(file), {});
    const auto pdf = client.attributedStringWithPDF(false, corvy::Bytes::copyOf(content));
    const auto text = pdf ? corvy::stringOf(*pdf, u"String") : std::nullopt;
    std::cout << "text: " << (text ? corvy::toUtf8(text->substr(0, 60)) : "none, not a PDF")
              << '\n';
}

void printThumbnail(corvy::CorvyStackClient& client, const std::u16string& path) {
    const auto image = client.imageWithContentsOfFile(path, {.maxThumbnailSize = 128});
    const auto* thumbnail = image ? image->find(u"Thumbnail") : nullptr;
    std::cout << "thumbnail: ";
    if (thumbnail && thumbnail->bytes()) {
        std::cout << thumbnail->bytes()->size() << " bytes of TIFF\n";
    } else {
        std::cout << "none\n";
    }
}

void printAttributes(corvy::CorvyStackClient& client, const std::u16string& path) {
    const auto attributes = client.metaDataForFile(path);
    std::cout << "attributes: " << (attributes ? attributes->size() : 0) << '\n';
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: embedding FILE\n";
        return 2;
    }
    // It ends with this program, and only this program reaches it.
    corvy::PrivateHelper helper;
    if (!helper.start()) {
        std::cerr << "no helper\n";
        return 3;
    }
    // The helper has a working directory of its own.
    const std::string path = std::filesystem::absolute(argv[1]).string();
    const std::u16string name = corvy::pathFromBytes(path);
    helper.client().setTimeout(70);  // long documents may take a minute
    try {
        printText(helper.client(), path);
        printThumbnail(helper.client(), name);
        printAttributes(helper.client(), name);
    } catch (const corvy::TransportError& error) {
        // A time-out, or the helper has died: start() gives a fresh one.
        std::cerr << "the call did not come through: " << error.what() << '\n';
        return 3;
    }
}
