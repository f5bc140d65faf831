// A small application: asks a helper about one file and prints the text of a PDF.
//
//     cpp_client FILE
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>

#include "client/helper_connection.h"
#include "foundation/text.h"

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: cpp_client FILE\n";
        return 2;
    }
    // The helper that runs already, or one that ends with this program.
    auto helper = corvy::connectToHelper();
    if (!helper) {
        std::cerr << "no helper\n";
        return 3;
    }
    // The helper has a working directory of its own.
    const std::string path = std::filesystem::absolute(argv[1]);
    try {
        const bool supported = helper->supportsFile(corvy::pathFromBytes(path));
        std::cout << path << (supported ? ": read by an importer\n" : ": no importer\n");

        std::ifstream file(path, std::ios::binary);
        const std::string content(std::istreambuf_iterator<char>(file), {});
        helper->setTimeout(70);  // long documents may take a minute
        const auto result = helper->attributedStringWithPDF(false, corvy::Bytes::copyOf(content));
        if (!result) {
            std::cerr << "not a PDF\n";
            return 1;
        }
        if (const auto text = corvy::stringOf(*result, u"String")) {
            std::cout << corvy::toUtf8(*text) << '\n';
        }
    } catch (const corvy::TransportError& error) {
        std::cerr << "the call did not come through: " << error.what() << '\n';
        return 3;
    } catch (const corvy::RemoteException& error) {
        std::cerr << "the helper passed on: " << error.what() << '\n';
        return 1;
    }
}
