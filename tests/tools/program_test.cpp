// The program as a person runs it, with the built helper.
#include <sys/stat.h>

#include <algorithm>
#include <set>

#include "foundation/json.h"
#include "foundation/text.h"
#include "tests/support/helper_process.h"
#include "tests/support/pdf_builder.h"
#include "tests/tools/program.h"

namespace corvy::tools {

namespace {

using test::pdfOf;
using test::showText;

class ProgramTest : public testing::Test {
protected:
    test::RuntimeFolder runtime_;
    TemporaryFolder folder_;
    const std::string pdf_ = pdfOf({{showText("Hello")}, {showText("World")}}, "/Title(Greeting)");
};

struct Ran {
    int status;
    std::string out, err;
};

Ran run(std::vector<std::string> arguments, const Program::Setup& setup = {}) {
    Program program(std::move(arguments), setup);
    const int status = program.wait();
    return {status, program.out(), program.err()};
}

// The records, one a line; a line that is no JSON object fails the test.
std::vector<Dictionary> recordsIn(const std::string& lines) {
    std::vector<Dictionary> records;
    for (std::size_t start = 0; start < lines.size();) {
        const std::size_t end = lines.find('\n', start);
        const auto json = propertyListOfJson(std::string_view(lines).substr(start, end - start));
        EXPECT_TRUE(json && json->dictionary()) << lines.substr(start, end - start);
        if (json && json->dictionary()) records.push_back(*json->dictionary());
        start = end == std::string::npos ? lines.size() : end + 1;
    }
    return records;
}

std::string entry(const Dictionary& record, std::u16string_view key) {
    return toUtf8(stringOf(record, key).value_or(u""));
}

}  // namespace

TEST_F(ProgramTest, TellsByItsExitStatus) {
    const std::string file = folder_.write("a.pdf", pdf_);
    struct Case {
        std::vector<std::string> arguments;
        int status;
        std::string_view message;  // part of what stands on standard error
    };
    const Case cases[] = {
        {{}, 2, "Usage"},
        {{"--help"}, 0, ""},
        {{"--version"}, 0, ""},
        {{"help", "call"}, 0, ""},
        {{"help", "impor"}, 2, "no command impor"},
        {{"impor"}, 2, "no command impor"},
        {{"import"}, 2, "PATH"},
        {{"import", "--files-from", folder_.path("missing")}, 1, "missing: No such file"},
        {{"import", file, "--out", folder_.path("o"), "--retry-failed"}, 2, "--resume"},
        {{"import", file, "--jobs", "0"}, 2, "--jobs"},
        {{"import", file, "--resume"}, 2, "--out"},
        {{"import", file, "--out", "/dev/null"}, 1, "/dev/null"},
        {{"import", folder_.path("missing")}, 1, "missing: no such file"},
        {{"pdf"}, 2, "subcommand"},
        {{"pdf", "text", folder_.path("missing")}, 1, "No such file"},
        {{"pdf", "text", file, "--timeout", "nan"}, 2, "nan is no number above 0"},
        {{"supports", ""}, 1, "No such file"},
        {{"serve", "--name", "a/b"}, 2, "not a name"},
        {{"index", folder_.path(), "--db", ""}, 2, "--db"},
        {{"call", "foo:"}, 2, "no operation foo:"},
        {{"call", "supportsFile:"}, 2, "takes path"},
        {{"call", "attributed:stringWithPDF:", "1", "null"}, 2, "true or false"},
        {{"call", "supportsFile:", "x", "--launch", "--no-launch"}, 2, "--no-launch"},
        {{"call", "supportsFile:", "x", "--no-launch"}, 3, "no helper"},
        {{"call", "attributed:stringWithPDF:", "false", "null"}, 1, ""},
        {{"call", "attributed:stringWithPDF:", "false", "@" + folder_.path("no")}, 1, "No such"},
        {{"status"}, 3, ""},
    };
    for (const Case& c : cases) {
        const Ran ran = run(c.arguments);
        const std::string name = testing::PrintToString(c.arguments);
        EXPECT_EQ(ran.status, c.status) << name << ran.err;
        EXPECT_NE(ran.err.find(c.message), std::string::npos) << name << ran.err;
        EXPECT_TRUE(c.status != 2 || ran.out.empty()) << name;
    }
}

TEST_F(ProgramTest, ReadsOnePdf) {
    const std::string file = folder_.write("a.pdf", pdf_);
    EXPECT_EQ(run({"pdf", "text", file}).out, "Hello\nWorld\n");
    EXPECT_EQ(run({"pdf", "text", "-"}, {.input = file}).out, "Hello\nWorld\n");
    const std::string info = run({"pdf", "info", file}).out;
    EXPECT_NE(info.find("PageCount: 2\n"), std::string::npos) << info;
    EXPECT_NE(info.find("Title:     Greeting\n"), std::string::npos) << info;

    EXPECT_EQ(run({"pdf", "text", file, "--rich", folder_.path("a.rtfd")}).status, 0);
    const std::string rich = folder_.read("a.rtfd/TXT.rtf");
    EXPECT_TRUE(rich.starts_with("{\\rtf1")) << rich;
    EXPECT_NE(rich.find("Hello"), std::string::npos) << rich;

    const std::string locked =
        folder_.write("locked.pdf", pdfOf({{showText("x")}}, "", test::PdfBuilder("secret")));
    for (const std::string& bad : {locked, folder_.write("fake.pdf", "GIF89a")}) {
        const Ran ran = run({"pdf", "text", bad});
        EXPECT_EQ(ran.status, 1) << bad;
        EXPECT_EQ(ran.out, "") << bad;
        EXPECT_NE(ran.err.find(bad), std::string::npos) << ran.err;
    }
}

TEST_F(ProgramTest, ReadsOneWebArchive) {
    const std::string xml =
        "<plist><dict><key>WebMainResource</key><dict><key>WebResourceData</key><data>PHA+eA=="
        "</data><key>WebResourceMIMEType</key><string>text/html</string>"
        "<key>WebResourceURL</key><string>http://a/</string></dict></dict></plist>";
    std::string image = xml, nameless = xml;
    image.replace(image.find("text/html"), 9, "image/png");
    nameless.replace(nameless.find("http://a/"), 9, "");
    const std::string file = folder_.write("a.webarchive", xml);
    struct Case {
        std::vector<std::string> arguments;
        int status;
        std::string_view out, message;
    };
    const Case cases[] = {
        {{file}, 0, "\n\nx\n", ""},
        {{file, "--source"}, 0, "<p>x\n", ""},
        {{"--url", file}, 0, "http://a/\n", ""},
        {{"-"}, 0, "\n\nx\n", ""},
        {{"a.webarchive"}, 0, "\n\nx\n", ""},
        {{file, "--source", "--url"}, 2, "", "--url"},
        {{folder_.write("image", image)}, 1, "", "has no text"},
        {{folder_.path("image"), "--source"}, 1, "", "no markup"},
        {{folder_.write("nameless", nameless), "--url"}, 1, "", "no address"},
        {{folder_.write("cut", xml.substr(0, 99))}, 1, "", "cut: not a web archive"},
        {{folder_.path("missing")}, 1, "", "No such file"},
        {{folder_.path()}, 1, "", "Is a directory"},
    };
    for (const Case& c : cases) {
        std::vector<std::string> arguments = {"webarchive"};
        arguments.insert(arguments.end(), c.arguments.begin(), c.arguments.end());
        const Ran ran = run(arguments, {.folder = folder_.path(), .input = file});
        const std::string name = testing::PrintToString(c.arguments);
        EXPECT_EQ(ran.status, c.status) << name << ran.err;
        EXPECT_EQ(ran.out, c.out) << name;
        EXPECT_NE(ran.err.find(c.message), std::string::npos) << name << ran.err;
    }
}

TEST_F(ProgramTest, HandsStandardInputToTheHelper) {
    const std::string made = folder_.path("made.pdf");
    EXPECT_EQ(
        run({"pdf", "from-image", "-", "-o", made}, {.input = folder_.write("a", pdf_)}).status, 0);
    EXPECT_EQ(folder_.read("made.pdf"), pdf_);
    // A text, not a program: the memory that holds it has the mode of a document.
    const Ran type = run({"metadata", "--type", "-"}, {.input = folder_.write("b", "text\n")});
    EXPECT_EQ(type.out, "public.plain-text\n") << type.err;
}

TEST_F(ProgramTest, WritesAReportThroughALink) {
    folder_.write("records.jsonl", "");
    const std::string page = folder_.write("page", ""), link = folder_.path("link");
    ASSERT_EQ(symlink(page.c_str(), link.c_str()), 0);
    EXPECT_EQ(run({"report", folder_.path(), "-o", link}).status, 0);
    EXPECT_NE(folder_.read("page").find("</html>"), std::string::npos);
}

TEST_F(ProgramTest, CallsTheHelperThatRuns) {
    const std::string file = folder_.write("a.pdf", pdf_);
    Program service({"serve"});
    ASSERT_TRUE(test::HelperProcess::connect());
    const Ran status = run({"status"});
    EXPECT_EQ(status.status, 0);
    EXPECT_NE(status.out.find("ProcessId: " + std::to_string(service.pid()) + "\n"),
              std::string::npos)
        << status.out;
    const Ran importers = run({"importers"});
    EXPECT_EQ(importers.status, 0);
    EXPECT_NE(importers.out.find("/Text.mdimporter\n"), std::string::npos) << importers.out;

    const Ran called = run(
        {"call", "attributed:stringWithPDF:", "true", "@a.pdf", "--no-launch", "--out", "results"},
        {.folder = folder_.path()});
    EXPECT_EQ(called.status, 0);
    EXPECT_TRUE(called.out.starts_with(R"({"dict": {"String": {"file": "String.rtfd", "length": )"))
        << called.out;
    EXPECT_TRUE(folder_.read("results/String.rtfd").starts_with("rtfd"));

    service.signal(SIGSTOP);
    const Ran late = run({"call", "supportsFile:", "x", "--timeout", "0.2"});
    EXPECT_EQ(late.status, 3);
    EXPECT_NE(late.err.find("in time"), std::string::npos) << late.err;
    // One of its own is not concerned.
    EXPECT_EQ(run({"call", "supportsFile:", "x", "--launch"}).out, "false\n");
}

TEST_F(ProgramTest, ImportsWhatIsInAFolder) {
    folder_.write("in/1.pdf", pdf_);
    folder_.write("in/2.pdf", pdfOf({{showText("x")}}, "", test::PdfBuilder("secret")));
    folder_.write("in/3\xFF.txt", "gr\xFCn");
    folder_.write("in/4.pdf", "%PDF-1.4 and no more");
    folder_.write("in/5.png", "\x89PNG");
    folder_.write("in/6.pdf", "plain");
    folder_.write("in/sub/7.txt", "deep");
    ASSERT_EQ(mkfifo(folder_.path("in/8").c_str(), 0600), 0);

    const Ran ran = run({"import", folder_.path("in"), "--recursive"});
    EXPECT_EQ(ran.status, 0) << ran.err;
    const auto records = recordsIn(ran.out);
    struct Case {
        std::string_view path, kind, error, text;
    };
    static constexpr Case cases[] = {
        {"1.pdf", "pdf", "", "Hello\nWorld\n"},   {"2.pdf", "pdf", "locked", ""},
        {"3\xFF.txt", "text", "", "gr\xC3\xBCn"}, {"4.pdf", "pdf", "damaged", ""},
        {"5.png", "image", "damaged", ""},        {"6.pdf", "pdf", "notAPDF", ""},
        {"8", "other", "specialFile", ""},        {"sub/7.txt", "text", "", "deep"},
    };
    ASSERT_EQ(records.size(), std::size(cases)) << ran.out;
    for (std::size_t i = 0; i < records.size(); ++i) {
        const Case& c = cases[i];
        EXPECT_EQ(stringOf(records[i], u"path"),
                  pathFromBytes(folder_.path("in/" + std::string(c.path))));
        EXPECT_EQ(entry(records[i], u"kind"), c.kind) << c.path;
        EXPECT_EQ(entry(records[i], u"error"), c.error) << c.path;
        const PropertyList* text = records[i].find(u"text");
        EXPECT_EQ(text ? entry(*text->dictionary(), u"string") : "", c.text) << c.path;
    }
    EXPECT_EQ(records[0].find(u"pages")->integer(), 2);
    EXPECT_EQ(entry(*records[0].find(u"properties")->dictionary(), u"Title"), "Greeting");
    EXPECT_NE(ran.err.find("4 failures: 2 damaged, 1 locked, 1 notAPDF"), std::string::npos)
        << ran.err;

    // A file that is named must come through.
    EXPECT_EQ(run({"import", folder_.path("in/1.pdf"), folder_.path("in/2.pdf")}).status, 1);
    const std::string list =
        folder_.write("list", folder_.path("in/1.pdf") + "\n\n" + folder_.path("in/2.pdf"));
    const Ran listed = run({"import", "--files-from", list});
    EXPECT_EQ(listed.status, 0);
    EXPECT_EQ(recordsIn(listed.out).size(), 2U);
    std::filesystem::create_directory(folder_.path("none"));
    const Ran empty = run({"import", folder_.path("none")});
    EXPECT_EQ(empty.status, 0);
    EXPECT_EQ(empty.out, "");
}

TEST_F(ProgramTest, NamesAFileThatMayNotBeRead) {
    const std::string file = folder_.write("secret.txt", "x");
    chmod(file.c_str(), 0);
    chmod(folder_.path().c_str(), 0755);
    const Ran ran = run({"import", file}, {.unprivileged = true});
    if (ran.status > 125) GTEST_SKIP() << "another user may not run the program here";
    EXPECT_EQ(ran.status, 1);
    const auto records = recordsIn(ran.out);
    ASSERT_EQ(records.size(), 1U);
    EXPECT_EQ(entry(records[0], u"error"), "notReadable");
}

TEST_F(ProgramTest, ImportsTextsWithoutAHelper) {
    const std::string text = folder_.write("a.txt", "text"), pdf = folder_.write("b.pdf", pdf_);
    setenv("CORVYSTACK_LIBEXEC", "/nowhere", 1);
    const Ran ran = run({"import", text, pdf, pdf, pdf, pdf});
    const Ran called = run({"call", "supportsFile:", "x"});
    const Ran served = run({"serve"});
    unsetenv("CORVYSTACK_LIBEXEC");
    EXPECT_EQ(ran.status, 3);
    const auto records = recordsIn(ran.out);
    ASSERT_EQ(records.size(), 5U);
    EXPECT_EQ(entry(records[0], u"error"), "");
    EXPECT_EQ(entry(records[4], u"error"), "noHelper");
    EXPECT_EQ(called.status, 3);
    EXPECT_EQ(served.status, 3);
    EXPECT_NE(served.err.find("/nowhere/corvystack-helper"), std::string::npos);
}

// A long run over many PDF documents, into a folder, which the test disturbs.
class DisturbedImport : public ProgramTest {
protected:
    static constexpr std::size_t kFiles = 600;

    void SetUp() override {
        const std::string first = folder_.write("in/0.pdf", pdf_);
        for (std::size_t i = 1; i < kFiles; ++i) {
            std::filesystem::create_hard_link(first,
                                              folder_.path("in/" + std::to_string(i) + ".pdf"));
        }
        setenv("TMPDIR", folder_.path("tmp").c_str(), 1);
        std::filesystem::create_directory(folder_.path("tmp"));
    }
    void TearDown() override { unsetenv("TMPDIR"); }

    std::vector<std::string> arguments(std::vector<std::string> more) const {
        std::vector<std::string> all = {"import", folder_.path("in"), "--out", folder_.path("out"),
                                        "--no-thumbnails"};
        all.insert(all.end(), more.begin(), more.end());
        return all;
    }
    std::string lines() const { return folder_.read("out/records.jsonl"); }
    // The program's helper, as soon as it has answered.
    pid_t helperAtWork(const Program& program) const {
        EXPECT_TRUE(eventually([&] { return !lines().empty(); }));
        const auto children = test::childrenOf(program.pid());
        EXPECT_FALSE(children.empty());
        return children.empty() ? 0 : children[0];
    }
    // How many records have the error.
    std::size_t count(std::string_view error) const {
        const auto records = recordsIn(lines());
        return static_cast<std::size_t>(std::ranges::count_if(
            records, [&](const Dictionary& record) { return entry(record, u"error") == error; }));
    }
};

TEST_F(DisturbedImport, TriesAgainWhatAHelperHungOrDiedOn) {
    Program program(arguments({"--jobs", "2", "--timeout", "3"}));
    ASSERT_GT(helperAtWork(program), 0);
    std::vector<pid_t> helpers;
    ASSERT_TRUE(eventually([&] {
        helpers = test::childrenOf(program.pid());
        return helpers.size() == 2;
    }));
    std::this_thread::sleep_for(std::chrono::milliseconds(100));  // until both have a file
    for (const pid_t helper : helpers) kill(helper, SIGSTOP);
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    kill(helpers[0], SIGKILL);
    EXPECT_EQ(program.wait(), 0) << program.err();
    EXPECT_EQ(count(""), kFiles);
    EXPECT_NE(kill(helpers[1], 0), 0);
}

TEST_F(DisturbedImport, EndsCleanlyWhenInterruptedAndIsTakenUpAgain) {
    Program program(arguments({"--jobs", "2"}));
    const pid_t helper = helperAtWork(program);
    const auto workers = test::childrenOf(helper);
    program.signal(SIGINT);
    EXPECT_EQ(program.wait(), 130) << program.err();
    const std::size_t before = recordsIn(lines()).size();
    EXPECT_GT(before, 0U);
    EXPECT_LT(before, kFiles);
    EXPECT_EQ(count(""), before);
    EXPECT_NE(kill(helper, 0), 0);
    for (const pid_t worker : workers) {
        EXPECT_TRUE(eventually([worker] { return kill(worker, 0) != 0; }));
    }
    for (const auto& left : std::filesystem::directory_iterator(folder_.path("tmp"))) {
        EXPECT_FALSE(left.path().filename().string().starts_with("corvystack-")) << left.path();
    }

    // A list takes up what a folder began, when it names the files alike.
    std::string list;
    for (std::size_t i = 0; i < kFiles; ++i) {
        list += folder_.path("in/" + std::to_string(i) + ".pdf\n");
    }
    EXPECT_EQ(run({"import", "--files-from", "-", "--out", folder_.path("out"), "--no-thumbnails",
                   "--resume"},
                  {.input = folder_.write("list", list)})
                  .status,
              0);
    std::set<std::string> paths, texts;
    for (const Dictionary& record : recordsIn(lines())) {
        EXPECT_TRUE(paths.insert(entry(record, u"path")).second);
        EXPECT_TRUE(texts.insert(entry(*record.find(u"text")->dictionary(), u"file")).second);
    }
    EXPECT_EQ(paths.size(), kFiles);
}

TEST_F(DisturbedImport, EndsWhenItsReaderGoes) {
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    Program program({"import", folder_.path("in"), "--jobs", "1"}, {.output = ends[1]});
    close(ends[1]);
    char first = 0;
    EXPECT_EQ(read(ends[0], &first, 1), 1);
    const auto helpers = test::childrenOf(program.pid());
    close(ends[0]);
    EXPECT_EQ(program.wait(), 1);
    ASSERT_FALSE(helpers.empty());
    EXPECT_NE(kill(helpers[0], 0), 0);
    EXPECT_EQ(program.err().find("cannot write"), std::string::npos) << program.err();
}

TEST_F(ProgramTest, EndsItsHelperWhenACallIsInterrupted) {
    Program program({"call", "supportsFile:", "x", "--launch", "--timeout", "30"});
    std::vector<pid_t> helpers;
    // Stopped as early as it is seen, it does not even register.
    EXPECT_TRUE(eventually([&] {
        helpers = test::childrenOf(program.pid());
        return !helpers.empty() || program.out() != "";
    }));
    if (helpers.empty()) GTEST_SKIP() << "the call was faster";
    kill(helpers[0], SIGSTOP);
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    if (program.out() != "") GTEST_SKIP() << "the call was faster";
    program.signal(SIGTERM);
    EXPECT_TRUE(eventually([&] { return kill(helpers[0], 0) != 0; }));
    EXPECT_EQ(program.wait(), 130);
}

}  // namespace corvy::tools
