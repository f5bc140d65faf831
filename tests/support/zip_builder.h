// Archives for tests: files that are stored as they are.
#pragma once

#include <zlib.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace corvy::test {

class ZipBuilder {
public:
    // `claimedSize`: what the archive says of the size, when it shall lie.
    ZipBuilder& add(std::string_view name, std::string_view contents,
                    std::uint32_t claimedSize = 0) {
        const auto size = static_cast<std::uint32_t>(contents.size());
        std::string head;
        number(head, 20, 2);
        number(head, 0, 8);  // flags, stored, time
        number(head, ::crc32(0, reinterpret_cast<const Bytef*>(contents.data()), size), 4);
        number(head, size, 4);
        number(head, claimedSize != 0 ? claimedSize : size, 4);
        number(head, static_cast<std::uint32_t>(name.size()), 2);
        number(head, 0, 2);
        number(directory_, 0x02014B50, 4);
        number(directory_, 20, 2);
        directory_ += head;
        number(directory_, 0, 10);
        number(directory_, static_cast<std::uint32_t>(files_.size()), 4);
        directory_ += name;
        number(files_, 0x04034B50, 4);
        files_ += head;
        files_ += name;
        files_ += contents;
        ++count_;
        return *this;
    }

    std::string bytes() const {
        std::string all = files_ + directory_;
        number(all, 0x06054B50, 4);
        number(all, 0, 4);
        number(all, count_, 2);
        number(all, count_, 2);
        number(all, static_cast<std::uint32_t>(directory_.size()), 4);
        number(all, static_cast<std::uint32_t>(files_.size()), 4);
        number(all, 0, 2);
        return all;
    }

private:
    static void number(std::string& out, std::uint64_t value, int size) {
        for (; size > 0; --size, value >>= 8) out += static_cast<char>(value & 0xFF);
    }

    std::string files_;
    std::string directory_;
    std::uint32_t count_ = 0;
};

}  // namespace corvy::test
