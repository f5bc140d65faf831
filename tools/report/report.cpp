#include "tools/report/report.h"

#include <sys/random.h>

#include <algorithm>
#include <cstring>
#include <deque>
#include <future>
#include <optional>
#include <stdexcept>
#include <utility>

#include "foundation/json.h"
#include "foundation/text.h"
#include "tools/files.h"
#include "tools/import/file_importer.h"
#include "tools/import/record_folder.h"
#include "tools/report/page_files.h"
#include "tools/report/page_record.h"

namespace corvy::tools {

namespace {

// The script of the page counts on it.
constexpr std::size_t kPicturesInBlock = 64;
constexpr std::size_t kRecordsInBlock = 250;
// Up to so many records the page holds thumbnails as they are; beyond it they are made smaller, so
// that it stays one that a browser opens at once.
constexpr std::uint64_t kFewRecords = 2000;
constexpr std::int64_t kSmallSide = 160;
// In bytes: a PNG below it is as small as a JPEG would be.
constexpr std::size_t kSmallPicture = 4096;
constexpr std::uint64_t kLongestPicture = std::uint64_t{16} << 20;

struct Stopped {};

std::string escapedHtml(std::string_view text) {
    std::string out;
    for (const char unit : text) {
        switch (unit) {
            case '&': out += "&amp;"; break;
            case '<': out += "&lt;"; break;
            case '>': out += "&gt;"; break;
            case '"': out += "&quot;"; break;
            default: out += unit;
        }
    }
    return out;
}

// The page's own scripts carry it, so that no other one runs, whatever gets into the page.
std::string freshNonce() {
    char bytes[18];
    if (::getrandom(bytes, sizeof bytes, 0) != static_cast<ssize_t>(sizeof bytes)) {
        throw std::runtime_error("no random numbers");
    }
    return base64Of({bytes, sizeof bytes});
}

class Report {
public:
    Report(const ReportOptions& options, const ShrinkPicture& shrink,
           const std::function<bool(std::string_view)>& write)
        : options_(options), shrink_(shrink), write_(write), nonce_(freshNonce()) {}

    ReportCounts run() {
        std::string_view rest = kPageHtml;
        for (std::size_t at; (at = rest.find("{{")) != rest.npos;) {
            const std::size_t end = rest.find("}}", at);
            put(rest.substr(0, at));
            putPart(rest.substr(at + 2, end - at - 2));
            rest.remove_prefix(end + 2);
        }
        put(rest);
        return counts_;
    }

private:
    struct Source {
        std::string file;  // empty: the record has no picture
        bool missing = false;
    };
    struct Block {
        std::string json;
        std::uint64_t pictures = 0, missing = 0;
    };

    void put(std::string_view text) {
        if (!write_(text)) throw Stopped();
    }

    void putPart(std::string_view name) {
        if (name == "title") put(escapedHtml(options_.title));
        if (name == "nonce") put(nonce_);
        if (name == "style") put(kPageCss);
        if (name == "script") put(kPageJs);
        if (name == "records") putRecords();
        if (name == "thumbnails") putPictures();
    }

    void forEach(const std::function<void(const Dictionary&, const std::string& folder)>& visit) {
        for (const std::string& folder : options_.folders) {
            forEachRecord(folder, [&](const std::string&, const Dictionary& record) {
                visit(record, folder);
            });
        }
    }

    void putRecords() {
        std::string block;
        const auto flush = [&] {
            if (block.empty()) return;
            put("<script type=\"application/json\" class=\"records\">[" + block + "]</script>\n");
            block.clear();
        };
        forEach([&](const Dictionary& record, const std::string& folder) {
            if (counts_.records > 0 && counts_.records % kRecordsInBlock == 0) flush();
            block += (block.empty() ? "" : ",\n") + pageRecord(record, folder);
            ++counts_.records;
        });
        flush();
    }

    // Blocks are made ahead by several threads, and written in their order.
    void putPictures() {
        if (options_.pixels == 0) return;
        std::deque<std::future<Block>> underWay;
        std::vector<Source> sources;
        std::size_t begun = 0, written = 0;
        const auto putNext = [&] {
            const Block block = underWay.front().get();
            underWay.pop_front();
            counts_.pictures += block.pictures;
            counts_.picturesMissing += block.missing;
            if (block.pictures > 0) {
                put("<script type=\"application/json\" id=\"pictures-" + std::to_string(written) +
                    "\">{" + block.json + "}</script>\n");
            }
            ++written;
        };
        const auto begin = [&] {
            if (underWay.size() == options_.jobs) putNext();
            const std::size_t thread = begun++ % options_.jobs;
            underWay.push_back(
                std::async(std::launch::async, [this, thread, taken = std::exchange(sources, {})] {
                    return blockOf(thread, taken);
                }));
        };
        forEach([&](const Dictionary& record, const std::string& folder) {
            sources.push_back(sourceOf(record, folder));
            if (sources.size() == kPicturesInBlock) begin();
        });
        if (!sources.empty()) begin();
        while (!underWay.empty()) putNext();
    }

    static Source sourceOf(const Dictionary& record, const std::string& folder) {
        const Dictionary* thumbnail = partOf(record, u"thumbnail");
        const auto file = thumbnail ? stringOf(*thumbnail, u"file") : std::nullopt;
        if (!file) return {};
        return {isInside(*file) ? folder + "/" + toUtf8(*file) : std::string(), !isInside(*file)};
    }

    Block blockOf(std::size_t thread, const std::vector<Source>& sources) const {
        Block block;
        for (std::size_t i = 0; i < sources.size(); ++i) {
            const auto picture = pictureOf(thread, sources[i]);
            if (sources[i].missing || (!sources[i].file.empty() && !picture)) ++block.missing;
            if (!picture) continue;
            block.json += (block.json.empty() ? "\"" : ",\n\"") + std::to_string(i) + "\":\"" +
                          base64Of(picture->chars()) + "\"";
            ++block.pictures;
        }
        return block;
    }

    std::optional<Bytes> pictureOf(std::size_t thread, const Source& source) const {
        if (source.file.empty()) return std::nullopt;
        const FileContents file =
            readFile(source.file, {.longest = kLongestPicture, .regularOnly = true});
        if (file.error != 0 || !file.bytes.chars().starts_with("\x89PNG")) return std::nullopt;
        if (file.bytes.size() <= kSmallPicture) return file.bytes;
        return shrink_(thread, file.bytes, side());
    }

    std::int64_t side() const {
        if (options_.pixels > 0) return options_.pixels;
        return counts_.records > kFewRecords ? kSmallSide : kThumbnailSide;
    }

    const ReportOptions& options_;
    const ShrinkPicture& shrink_;
    const std::function<bool(std::string_view)>& write_;
    const std::string nonce_;
    ReportCounts counts_;
};

}  // namespace

ReportCounts writeReport(const ReportOptions& options, const ShrinkPicture& shrink,
                         const std::function<bool(std::string_view)>& write) {
    Report report(options, shrink, write);
    try {
        return report.run();
    } catch (const Stopped&) {
        return {};
    }
}

}  // namespace corvy::tools
