// Prints the text of an RTF file, for rtf_similarity.py, or writes what was read as an RTFD package,
// for other programs to open: rtf_text FILE [PACKAGE]
#include <fstream>
#include <iostream>
#include <iterator>
#include <span>
#include <string>

#include "foundation/text.h"
#include "platform/rich_text/rtf_reader.h"
#include "platform/rich_text/rtfd.h"
#include "platform/rich_text/rtfd_package.h"

int main(int argc, char** argv) {
    if (argc < 2 || argc > 3) return 2;
    std::ifstream file(argv[1], std::ios::binary);
    const std::string bytes(std::istreambuf_iterator<char>(file), {});
    const auto document = corvy::platform::documentOfRtf(std::as_bytes(std::span(bytes)));
    if (!document) return 1;
    if (argc == 3) {
        return corvy::platform::writePackage(argv[2], corvy::platform::rtfdFolderOf(*document));
    }
    std::cout << corvy::toUtf8(document->text.string());
    return 0;
}
