#include "platform/worker_once.h"

#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string_view>
#include <system_error>
#include <vector>

#include "foundation/json.h"
#include "foundation/text.h"

namespace corvy::platform {

namespace {

constexpr int kNoResult = 1;
constexpr int kWrongUse = 2;

void printLine(std::u16string_view key, const PropertyList& value) {
    std::cout << jsonOf(Dictionary{{std::u16string(key), value}}, {.plainDictionaries = true})
              << std::endl;
}

class PrintingChannel final : public WorkerChannel {
public:
    PrintingChannel() = default;
    ~PrintingChannel() override {
        std::error_code error;
        if (!folder_.empty()) std::filesystem::remove_all(folder_, error);
    }
    PrintingChannel(const PrintingChannel&) = delete;
    PrintingChannel& operator=(const PrintingChannel&) = delete;

    void sendPart(const PropertyList& part) override { printLine(u"part", part); }
    PropertyList ask(const PropertyList& question) override {
        printLine(u"question", question);
        return {};
    }
    std::string temporaryFolder() override {
        if (!folder_.empty()) return folder_;
        std::error_code error;
        std::string path =
            (std::filesystem::temp_directory_path(error) / "corvystack-XXXXXX").string();
        if (!::mkdtemp(path.data())) return {};
        ::setenv("TMPDIR", path.c_str(), 1);
        return folder_ = path;
    }

private:
    std::string folder_;
};

std::optional<Bytes> bytesOfFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) return std::nullopt;
    std::error_code unknown;  // a pipe has no size
    const auto size = std::filesystem::file_size(path, unknown);
    std::vector<std::byte> content((unknown ? 0 : size) + 1);
    std::size_t length = 0;
    while (file) {
        if (length == content.size()) content.resize(2 * length);
        file.read(reinterpret_cast<char*>(content.data()) + length,
                  static_cast<std::streamsize>(content.size() - length));
        length += static_cast<std::size_t>(file.gcount());
    }
    content.resize(length);
    return Bytes(std::move(content));
}

// None for a file that cannot be read.
std::optional<PropertyList> argumentOf(std::string_view text) {
    if (text.starts_with('@')) {
        auto bytes = bytesOfFile(std::string(text.substr(1)));
        if (!bytes) return std::nullopt;
        return PropertyList(std::move(*bytes));
    }
    auto value = propertyListOfJson(text);
    if (value && (value->boolean() || value->number())) return value;
    return PropertyList(pathFromBytes(text));
}

int explain(const WorkerFamily& family, const char* program) {
    std::cerr << "usage: " << program << " --once OPERATION [KEY=VALUE | KEY=@FILE]...\n"
              << "operations: libraries";
    for (const auto& [name, operation] : family.operations) std::cerr << ' ' << name;
    std::cerr << '\n';
    return kWrongUse;
}

}  // namespace

std::optional<PropertyList> runWorkerOperation(const WorkerFamily& family,
                                               const std::string& operation,
                                               const Dictionary& arguments,
                                               WorkerChannel& channel) {
    if (operation == "libraries") {
        Dictionary libraries;
        for (const auto& [name, version] : family.libraries) {
            libraries.set(fromUtf8(name), fromUtf8(version));
        }
        return libraries;
    }
    const auto found = family.operations.find(operation);
    if (found == family.operations.end()) return std::nullopt;
    return found->second(arguments, channel);
}

int runWorkerOnce(const WorkerFamily& family, int argc, char** argv) {
    if (argc < 3 || std::string_view(argv[1]) != "--once") return explain(family, argv[0]);
    const std::string operation = argv[2];
    if (operation != "libraries" && !family.operations.contains(operation)) {
        return explain(family, argv[0]);
    }
    Dictionary arguments;
    for (int i = 3; i < argc; ++i) {
        const std::string_view pair = argv[i];
        const std::size_t separator = pair.find('=');
        if (separator == std::string_view::npos) return explain(family, argv[0]);
        const auto value = argumentOf(pair.substr(separator + 1));
        if (!value) {
            std::cerr << "cannot read " << pair.substr(separator + 2) << '\n';
            return kWrongUse;
        }
        arguments.set(fromUtf8(pair.substr(0, separator)), *value);
    }

    PrintingChannel channel;
    try {
        if (family.initialise) family.initialise();
        const auto result = runWorkerOperation(family, operation, arguments, channel);
        if (result) {
            printLine(u"result", *result);
            return EXIT_SUCCESS;
        }
        std::cerr << "no result\n";
    } catch (const std::exception& exception) {
        std::cerr << "no result: " << exception.what() << '\n';
    }
    return kNoResult;
}

}  // namespace corvy::platform
