// A folder for one test, removed with everything in it.
#pragma once

#include <stdlib.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

namespace corvy::test {

class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "corvy-XXXXXX").string();
        path_ = mkdtemp(name.data());
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::string path(std::string_view name) const { return path_ + "/" + std::string(name); }
    const std::string& path() const { return path_; }
    // Makes a file, and the folders above it.
    std::string write(std::string_view name, std::string_view contents) const {
        std::string file = path(name);
        std::filesystem::create_directories(std::filesystem::path(file).parent_path());
        std::ofstream(file, std::ios::binary) << contents;
        return file;
    }
    // Writes an executable shell script; gives its path.
    std::string script(std::string_view name, std::string_view body) const {
        std::string file = write(name, "#!/bin/sh\n" + std::string(body) + "\n");
        chmod(file.c_str(), 0700);
        return file;
    }
    // "" when there is no such file.
    std::string read(std::string_view name) const {
        std::ifstream in(path(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }

private:
    std::string path_;
};

}  // namespace corvy::test
