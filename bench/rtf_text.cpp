// Prints the text of RTF files, for rtf_similarity.py: rtf_text FILE
#include <fstream>
#include <iostream>
#include <iterator>
#include <span>
#include <string>

#include "foundation/text.h"
#include "platform/rich_text/rtf_reader.h"

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    std::ifstream file(argv[1], std::ios::binary);
    const std::string bytes(std::istreambuf_iterator<char>(file), {});
    const auto document = corvy::platform::documentOfRtf(std::as_bytes(std::span(bytes)));
    if (!document) return 1;
    std::cout << corvy::toUtf8(document->text.string());
    return 0;
}
