#include "platform/post_script.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "foundation/descriptor.h"
#include "foundation/file_contents.h"
#include "foundation/text.h"

namespace corvy::platform {

namespace {

constexpr const char* kInterpreter = "/usr/bin/gs";
// Comments stand at the begin of a file, or at its end where the begin says so.
constexpr std::size_t kCommentBytes = std::size_t{64} << 10;

std::string_view charsOf(std::span<const std::byte> bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

std::uint32_t littleEndian32(std::span<const std::byte> bytes, std::size_t at) {
    std::uint32_t value = 0;
    for (std::size_t i = 4; i-- > 0;)
        value = value << 8 | std::to_integer<std::uint32_t>(bytes[at + i]);
    return value;
}

// The four numbers behind a comment's colon.
std::optional<Size> boxSize(std::string_view text) {
    std::array<double, 4> corners{};
    for (double& corner : corners) {
        while (!text.empty() && (text.front() == ' ' || text.front() == '\t'))
            text.remove_prefix(1);
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), corner);
        if (error != std::errc() || !std::isfinite(corner)) return std::nullopt;
        text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    }
    const Size size{corners[2] - corners[0], corners[3] - corners[1]};
    if (!(size.width > 0) || !(size.height > 0)) return std::nullopt;
    return size;
}

std::optional<Size> boxIn(std::string_view text, std::string_view comment) {
    for (std::size_t at = text.find(comment); at != std::string_view::npos;
         at = text.find(comment, at + 1)) {
        const bool startsLine = at == 0 || text[at - 1] == '\n' || text[at - 1] == '\r';
        if (!startsLine) continue;
        if (const auto size = boxSize(text.substr(at + comment.size()))) return size;
    }
    return std::nullopt;
}

bool writeFile(const std::string& path, std::span<const std::byte> bytes) {
    const Descriptor file(::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    while (file && !bytes.empty()) {
        const ssize_t count = ::write(file.get(), bytes.data(), bytes.size());
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return false;
        bytes = bytes.subspan(static_cast<std::size_t>(count));
    }
    return static_cast<bool>(file);
}

// A folder of nobody else's inside another, while it lives; without a path when it cannot be made.
class OwnFolder {
public:
    explicit OwnFolder(const std::string& inside) {
        std::string path = inside + "/postscript-XXXXXX";
        if (!inside.empty() && ::mkdtemp(path.data()) != nullptr) path_ = path;
    }
    ~OwnFolder() {
        std::error_code error;
        if (!path_.empty()) std::filesystem::remove_all(path_, error);
    }
    OwnFolder(const OwnFolder&) = delete;
    OwnFolder& operator=(const OwnFolder&) = delete;
    const std::string& path() const { return path_; }

private:
    std::string path_;
};

// As the system wants them, with a null behind the last.
std::vector<char*> wordsOf(std::vector<std::string>& texts) {
    std::vector<char*> words(texts.size() + 1);
    std::ranges::transform(texts, words.begin(), [](std::string& text) { return text.data(); });
    return words;
}

// Runs the program, with an environment of its own and the null device as its standard files. True
// when it ends well in time; it does not outlive the call, nor this process.
bool runProgram(std::vector<std::string> arguments, std::vector<std::string> environment,
                double seconds) {
    const std::vector<char*> words = wordsOf(arguments);
    const std::vector<char*> variables = wordsOf(environment);
    const Descriptor nothing(::open("/dev/null", O_RDWR | O_CLOEXEC));
    const pid_t parent = ::getpid();
    const pid_t pid = ::fork();
    if (pid == 0) {
        // Only what may be called between fork and exec.
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (::getppid() != parent) ::_exit(EXIT_FAILURE);
        for (int standard = 0; standard < 3; ++standard) ::dup2(nothing.get(), standard);
        ::execve(words[0], words.data(), variables.data());
        ::_exit(EXIT_FAILURE);
    }
    if (pid < 0) return false;
    const Descriptor process(static_cast<int>(::syscall(SYS_pidfd_open, pid, 0)));
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    pollfd entry{process.get(), POLLIN, 0};
    int ended = 0;
    do {
        const auto rest = std::chrono::ceil<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        ended = process && rest.count() > 0 ? ::poll(&entry, 1, static_cast<int>(rest.count())) : 0;
    } while (ended < 0 && errno == EINTR);
    if (ended <= 0) ::kill(pid, SIGKILL);
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFEXITED(status) && WEXITSTATUS(status) == EXIT_SUCCESS;
}

}  // namespace

std::span<const std::byte> postScriptIn(std::span<const std::byte> file) {
    constexpr std::uint32_t kHeaderMark = 0xC6D3D0C5;
    constexpr std::size_t kHeaderBytes = 30;
    if (file.size() < kHeaderBytes || littleEndian32(file, 0) != kHeaderMark) return file;
    const std::uint64_t start = littleEndian32(file, 4);
    const std::uint64_t length = littleEndian32(file, 8);
    if (start > file.size() || length > file.size() - start) return {};
    return file.subspan(start, length);
}

std::optional<Size> boundingBoxSize(std::span<const std::byte> postScript) {
    const std::string_view all = charsOf(postScript);
    const std::string_view head = all.substr(0, kCommentBytes);
    const std::string_view tail =
        all.size() > kCommentBytes ? all.substr(all.size() - kCommentBytes) : std::string_view();
    for (const std::string_view comment : {"%%HiResBoundingBox:", "%%BoundingBox:"}) {
        if (auto size = boxIn(head, comment)) return size;
        if (auto size = boxIn(tail, comment)) return size;
    }
    return std::nullopt;
}

std::optional<Bytes> pdfOfPostScript(std::span<const std::byte> postScript,
                                     const PostScriptConversion& options) {
    const OwnFolder folder(options.folder);
    const std::string in = folder.path() + "/in.ps";
    const std::string out = folder.path() + "/out.pdf";
    // A program may read and write the folder for temporary files: this one holds nothing.
    const std::string temporary = folder.path() + "/tmp";
    if (folder.path().empty() || postScript.empty() || ::mkdir(temporary.c_str(), S_IRWXU) != 0 ||
        !writeFile(in, postScript)) {
        return std::nullopt;
    }
    std::vector<std::string> arguments{kInterpreter, "-q",        "-dSAFER",
                                       "-dBATCH",    "-dNOPAUSE", "-sDEVICE=pdfwrite"};
    if (options.toBoundingBox) arguments.emplace_back("-dEPSCrop");
    arguments.insert(arguments.end(), {"-sOutputFile=" + out, "-f", in});
    if (!runProgram(std::move(arguments), {"TMPDIR=" + temporary, "PATH=/usr/bin:/bin"},
                    options.wallSeconds)) {
        return std::nullopt;
    }
    auto pdf = contentsOfFile(pathFromBytes(out));
    return pdf && !pdf->empty() ? pdf : std::nullopt;
}

}  // namespace corvy::platform
