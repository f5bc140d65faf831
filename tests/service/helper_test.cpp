// The helper as its users meet it: the built program, through its socket.
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cstdio>
#include <fstream>
#include <iterator>

#include "foundation/text.h"
#include "platform/property_list_writer.h"
#include "tests/importers/bundle_builder.h"
#include "tests/support/helper_process.h"
#include "tests/support/processes.h"
#include "tests/support/temporary_folder.h"

namespace corvy {
namespace {

using test::HelperProcess;
using test::RuntimeFolder;

std::string outputOf(const std::string& command) {
    std::string output;
    std::array<char, 4096> buffer;
    FILE* pipe = popen(command.c_str(), "r");
    while (const std::size_t count = fread(buffer.data(), 1, buffer.size(), pipe)) {
        output.append(buffer.data(), count);
    }
    pclose(pipe);
    return output;
}

Bytes contentsOf(const std::string& path) {
    std::ifstream stream(path, std::ios::binary);
    return Bytes::copyOf(std::string(std::istreambuf_iterator<char>(stream), {}));
}

Bytes examplePdf(const std::string& name) {
    return contentsOf(CORVY_EXAMPLES "/" + name);
}

class HelperTest : public testing::Test {
protected:
    void SetUp() override {
        proxy_ = HelperProcess::connect();
        ASSERT_TRUE(proxy_);
    }
    RemoteValue attributed(bool rich, RemoteValue pdf) {
        return proxy_->call("attributed:stringWithPDF:", {PropertyList(rich), std::move(pdf)});
    }

    RuntimeFolder folder_;
    HelperProcess helper_;
    std::unique_ptr<RootProxy> proxy_;
};

TEST_F(HelperTest, NilArgumentsGiveEachOperationsFailureValue) {
    const PropertyList no(false), zero(std::int64_t{0});
    struct Case {
        const char* selector;
        std::vector<RemoteValue> arguments;
        RemoteValue failure;
    };
    const Case cases[] = {
        {"PDFImageRepOfFile:", {std::nullopt}, std::nullopt},
        {"imageWithContentsOfFile:maxThumbnailSize:alwaysFromImage:stringFromPDF:canUseSpotlight:",
         {std::nullopt, zero, no, no, no},
         std::nullopt},
        {"attributed:stringWithPDF:", {no, std::nullopt}, std::nullopt},
        {"posterImageForMovieWithFile:",
         {std::nullopt},
         Dictionary{{u"Duration", 0.0}, {u"Size", u"{0, 0}"}}},
        {"attributedStringWithContentsOfFile:", {std::nullopt}, std::nullopt},
        {"searchableTextOfWebArchive:", {std::nullopt}, Dictionary()},
        {"writeRTFDData:toFile:", {std::nullopt, std::nullopt}, no},
        {"RTFDWithHTML:baseURL:allowRemoteRequest:charset:",
         {std::nullopt, std::nullopt, no, std::nullopt},
         std::nullopt},
        {"metaDataForFile:", {std::nullopt}, std::nullopt},
        {"supportsFile:", {std::nullopt}, no},
    };
    for (const Case& c : cases)
        EXPECT_EQ(proxy_->call(c.selector, c.arguments), c.failure) << c.selector;
}

TEST_F(HelperTest, AnObjectOfTheWrongClassIsAnException) {
    EXPECT_THROW(attributed(false, PropertyList(u"a string")), RemoteException);
    EXPECT_THROW(proxy_->call("supportsFile:", {PropertyList(true)}), RemoteException);
    EXPECT_EQ(proxy_->call("supportsFile:", {PropertyList(u"/etc/hostname")}), PropertyList(true));
}

TEST_F(HelperTest, TextOfPdfComesOutOfTheWorker) {
    const RemoteValue answer = attributed(false, examplePdf("guide.pdf"));
    ASSERT_TRUE(answer && answer->dictionary());
    const Dictionary& result = *answer->dictionary();
    EXPECT_EQ(result.begin()->key, u"String");
    EXPECT_EQ(*result.find(u"PageCount"), PropertyList(std::int32_t{3}));
    EXPECT_TRUE(result.contains(u"Title"));
    EXPECT_FALSE(result.contains(u"Size"));
    EXPECT_FALSE(result.contains(u"Locked"));

    const RemoteValue rich = attributed(true, examplePdf("guide.pdf"));
    ASSERT_TRUE(rich && rich->dictionary()->find(u"String")->bytes());
    EXPECT_TRUE(rich->dictionary()->find(u"String")->bytes()->chars().starts_with("rtfd"));

    const RemoteValue locked = attributed(false, examplePdf("locked.pdf"));
    ASSERT_TRUE(locked && locked->dictionary());
    EXPECT_EQ(*locked->dictionary()->find(u"Locked"), PropertyList(true));
    EXPECT_FALSE(locked->dictionary()->contains(u"String"));
}

TEST_F(HelperTest, WhatIsNoPdfGivesNilAndTheServiceGoesOn) {
    const Bytes good = examplePdf("guide.pdf");
    const Bytes bad[] = {Bytes(), Bytes::copyOf("%PDF-1.7\n"), Bytes::copyOf("hello"),
                         Bytes(std::vector<std::byte>(1 << 20, std::byte{0xFF}))};
    for (const Bytes& bytes : bad) EXPECT_EQ(attributed(false, bytes), std::nullopt);
    EXPECT_TRUE(attributed(false, good));
}

// A hundred broken relatives of one document, while another client is being served.
TEST_F(HelperTest, BrokenDocumentsNeitherEndNorBlockTheService) {
    const std::string good(examplePdf("guide.pdf").chars());
    std::vector<std::string> documents;
    for (std::size_t i = 1; i < 40; ++i) documents.push_back(good.substr(0, good.size() * i / 40));
    for (std::size_t i = 0; i < 60; ++i) {
        documents.push_back(good);
        // Digits become other digits, so that lengths, references and offsets go astray.
        for (std::size_t at = i; at < good.size(); at += 60) {
            char& byte = documents.back()[at];
            byte = byte >= '0' && byte <= '9' ? static_cast<char>('9' - (byte - '0')) : byte;
        }
    }

    std::atomic<bool> done = false;
    std::atomic<int> served = 0;
    std::thread second([&] {
        const auto other = HelperProcess::connect();
        while (other && !done) {
            served += other->call("supportsFile:", {PropertyList(u"/")}) == PropertyList(false);
        }
    });
    int read = 0;
    for (const std::string& document : documents) {
        const RemoteValue answer = attributed(false, Bytes::copyOf(document));
        read += answer && answer->dictionary() && answer->dictionary()->contains(u"String");
    }
    done = true;
    second.join();
    EXPECT_GT(read, 20);  // much can be repaired
    EXPECT_GT(served, 0);
    EXPECT_TRUE(helper_.runs());
    EXPECT_TRUE(attributed(false, Bytes::copyOf(good)));
}

TEST_F(HelperTest, DeathInMidCallIsALostConnection) {
    std::thread killer([this] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        helper_.signal(SIGSTOP);  // so that the call is surely under way
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        helper_.signal(SIGKILL);
    });
    const Bytes pdf = examplePdf("guide.pdf");
    try {
        while (true) attributed(false, pdf);
    } catch (const TransportError& error) {
        EXPECT_EQ(error.kind(), TransportError::Kind::connectionLost);
    }
    killer.join();
}

TEST_F(HelperTest, WebArchiveGivesTextSourceAndAddress) {
    const test::TemporaryFolder folder;
    const auto answerFor = [&](std::string_view contents) {
        std::ofstream(folder.path("a"), std::ios::binary) << contents;
        return proxy_->call("searchableTextOfWebArchive:",
                            {PropertyList(fromUtf8(folder.path("a")))});
    };
    const auto archive = [](std::u16string_view type, Array frames) {
        return Dictionary{
            {u"WebMainResource", Dictionary{{u"WebResourceData", Bytes::copyOf("<p>gr\xFCn\n")},
                                            {u"WebResourceMIMEType", type},
                                            {u"WebResourceURL", u"http://example.org/"}}},
            {u"WebSubframeArchives", std::move(frames)}};
    };
    const auto file = [](const PropertyList& list) {
        return std::string(Bytes(*platform::binaryPropertyList(list)).chars());
    };
    const Dictionary page = archive(u"text/html", {});
    const std::string whole = file(archive(u"text/html", {page}));
    const std::string image = file(archive(u"image/png", {page, u"no frame"}));
    const RemoteValue answer = answerFor(whole);
    ASSERT_TRUE(answer && answer->dictionary());
    EXPECT_EQ(answer->dictionary()->begin()->key, u"String");
    EXPECT_EQ(answer, PropertyList(Dictionary{{u"String", u"\n\ngr\xFCn\n\ngr\xFCn"},
                                              {u"Source", u"<p>gr\xFCn\n"},
                                              {u"URL", u"http://example.org/"}}));
    EXPECT_EQ(answerFor(image), PropertyList(Dictionary{{u"String", u"\n\ngr\xFCn"},
                                                        {u"URL", u"http://example.org/"}}));

    for (const std::string& bad : {whole.substr(0, whole.size() - 1), std::string("<html>")}) {
        EXPECT_EQ(answerFor(bad), PropertyList(Dictionary())) << bad.substr(0, 40);
    }
    EXPECT_EQ(proxy_->call("searchableTextOfWebArchive:", {PropertyList(u"/nowhere")}),
              PropertyList(Dictionary()));
    EXPECT_EQ(answerFor(whole), answer);
}

TEST_F(HelperTest, StatusNamesVersionAndLibraries) {
    const Dictionary status = platform::statusOf(*proxy_);
    EXPECT_EQ(stringOf(status, u"Version"), fromUtf8(CORVY_VERSION));
    const PropertyList* libraries = status.find(u"Libraries");
    ASSERT_TRUE(libraries && libraries->dictionary());
    for (const char16_t* name : {u"GLib", u"ICU", u"libsystemd", u"FFmpeg", u"Poppler"}) {
        EXPECT_TRUE(libraries->dictionary()->contains(name)) << toUtf8(name);
    }
}

TEST_F(HelperTest, IsOnTheSessionBusWhenAsked) {
    if (outputOf("command -v dbus-run-session").empty()) GTEST_SKIP() << "no dbus-run-session";
    const test::TemporaryFolder folder;
    const std::string script = folder.script(
        "session",
        "CORVYSTACK_RUNTIME_DIR=" + folder.path("run") +
            " " CORVY_BUILD_DIR
            "/corvystack-helper --session-bus >/dev/null 2>&1 & helper=$!\n"
            "gdbus wait --session --timeout 10 org.corvystack.Helper64\n"
            "gdbus call --session --dest org.corvystack.Helper64 --object-path /CorvyStackHelper "
            "--method org.corvystack.ImExport1.SupportsFile \"[<'/nowhere'>]\"\n"
            "kill $helper\n");
    EXPECT_EQ(outputOf("dbus-run-session -- " + script + " 2>/dev/null"), "(false,)\n");
}

TEST_F(HelperTest, OrdinaryToolsSpeakToTheSocket) {
    const std::string socket = "unix:path=" + folder_.path() + "/CorvyStackHelper64.1";
    for (const char* tool : {"busctl", "gdbus", "/usr/bin/python3"}) {
        if (outputOf(std::string("command -v ") + tool).empty()) GTEST_SKIP() << "no " << tool;
    }
    const std::string listing =
        outputOf("busctl --address=" + socket + " introspect :1.0 /CorvyStackHelper 2>&1 | " +
                 "awk '$2 == \"interface\" { ours = $1 == \"org.corvystack.ImExport1\" } " +
                 "ours && $2 == \"method\"' | wc -l");
    EXPECT_EQ(listing, "10\n");
    EXPECT_EQ(outputOf("gdbus call --address " + socket +
                       " --dest :1.0 --object-path /CorvyStackHelper --method "
                       "org.corvystack.ImExport1.SupportsFile \"[<'/etc/hostname'>]\" 2>&1"),
              "(true,)\n");
    const std::string python = outputOf("/usr/bin/python3 " CORVY_EXAMPLES
                                        "/python_client.py " CORVY_EXAMPLES "/guide.pdf 2>&1");
    EXPECT_NE(python.find("PageCount: 3"), std::string::npos) << python;
    if (outputOf("command -v node").empty()) GTEST_SKIP() << "no node";
    const std::string node =
        outputOf("node " CORVY_EXAMPLES "/node_client.mjs " CORVY_EXAMPLES "/guide.pdf 2>&1");
    EXPECT_NE(node.find("PageCount: 3"), std::string::npos) << node;
}

TEST(Helper, AsksImportersForMetadata) {
    const test::TemporaryFolder folder;
    std::filesystem::create_directories(folder.path("Library"));
    std::filesystem::create_symlink(CORVY_BUILD_DIR "/tests/importers",
                                    folder.path("Library/Spotlight"));
    setenv("CORVYSTACK_ROOT", folder.path().c_str(), 1);
    setenv("XDG_DATA_HOME", folder.path().c_str(), 1);
    const RuntimeFolder runtime;
    const HelperProcess helper;
    const auto proxy = HelperProcess::connect();
    unsetenv("CORVYSTACK_ROOT");
    const auto call = [&](const char* selector, const char* name) {
        return proxy->call(selector, {PropertyList(fromUtf8(folder.write(name, "x")))});
    };
    // The first bundle that declares the type dies while it is loaded, and is asked all the same.
    const std::u16string type = u"dyn.ah62d4rv4ge81n5xwsz0hw";
    EXPECT_EQ(call("supportsFile:", "a.unruly"), PropertyList(false));
    EXPECT_EQ(call("metaDataForFile:", "a.unruly"), std::nullopt);
    const std::string stillborn = folder.path("Library/Spotlight/Stillborn.mdimporter");
    const Dictionary status = platform::statusOf(*proxy);
    EXPECT_EQ(status.find(u"Importers")->array()->size(), 2U);
    EXPECT_EQ(*status.find(u"ImporterTypes")->dictionary()->find(fromUtf8(stillborn)),
              PropertyList(Array{type}));
    EXPECT_TRUE(status.find(u"SkippedImporters")->dictionary()->empty());

    setenv("CORVYSTACK_ROOT", folder.path("other").c_str(), 1);
    std::filesystem::create_directories(folder.path("other/Library/Spotlight"));
    std::filesystem::create_symlink(CORVY_BUILD_DIR "/tests/importers/Unruly.mdimporter",
                                    folder.path("other/Library/Spotlight/U.mdimporter"));
    test::writeBundle(
        folder.path("other/Library/Spotlight/P.mdimporter"),
        test::infoFor("com.adobe.pdf", test::factoryEntries({"CorvyImporterFactory"})));
    const HelperProcess second("Second");
    unsetenv("CORVYSTACK_ROOT");
    unsetenv("XDG_DATA_HOME");
    const auto other = HelperProcess::connect("Second");
    const PropertyList path(fromUtf8(folder.path("a.unruly")));
    const PropertyList kinds(fromUtf8(folder.write("kinds.unruly", "x")));
    EXPECT_EQ(other->call("supportsFile:", {path}), PropertyList(true));
    EXPECT_EQ(other->call("metaDataForFile:", {path}),
              PropertyList(Dictionary{{u"kMDItemTitle", type}}));
    const RemoteValue all = other->call("metaDataForFile:", {kinds});
    ASSERT_TRUE(all && all->dictionary());
    EXPECT_EQ(all->dictionary()->size(), 9U);
    EXPECT_FALSE(all->dictionary()->contains(u"null"));

    // The text of a PDF comes from its importer, if that may be asked and tells one.
    const auto textOfPdf = [&](const char* name, bool canUseSpotlight) {
        const std::string file = folder.write(name, examplePdf("guide.pdf").chars());
        const RemoteValue answer = other->call(
            "imageWithContentsOfFile:maxThumbnailSize:alwaysFromImage:stringFromPDF:"
            "canUseSpotlight:",
            {PropertyList(fromUtf8(file)), PropertyList(std::int64_t{0}), PropertyList(true),
             PropertyList(true), PropertyList(canUseSpotlight)});
        return toUtf8(stringOf(*answer->dictionary(), u"String").value_or(u"none"));
    };
    EXPECT_EQ(textOfPdf("text.pdf", true), "its text");
    const std::string own = textOfPdf("text.pdf", false);
    EXPECT_GT(own.size(), 100U);
    EXPECT_EQ(textOfPdf("crash.pdf", true), own);
}

TEST(Helper, TellsTheServiceManagerThatItIsReady) {
    const RuntimeFolder folder;
    const std::string path = folder.path() + "/notify";
    const int socket = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    ASSERT_EQ(bind(socket, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    setenv("NOTIFY_SOCKET", path.c_str(), 1);
    const HelperProcess helper;
    unsetenv("NOTIFY_SOCKET");

    char message[64] = {};
    const timeval limit{.tv_sec = 10, .tv_usec = 0};
    setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    const ssize_t length = recv(socket, message, sizeof message - 1, 0);
    close(socket);
    EXPECT_EQ(std::string(message, length > 0 ? static_cast<std::size_t>(length) : 0), "READY=1");
    // Ready means registered.
    EXPECT_TRUE(platform::rootProxyForConnectionWithRegisteredName(kCorvyStackHelperName));
}

TEST(Helper, PrivateOneEndsWithItsOwner) {
    const test::TemporaryFolder folder;
    const std::string runtime = folder.path("runtime");
    std::filesystem::create_directory(runtime);
    chmod(runtime.c_str(), 0700);
    setenv("CORVYSTACK_RUNTIME_DIR", runtime.c_str(), 1);
    char program[] = "/bin/sleep", duration[] = "60";
    char* arguments[] = {program, duration, nullptr};
    pid_t owner = -1;
    ASSERT_EQ(posix_spawn(&owner, program, nullptr, nullptr, arguments, environ), 0);
    setenv("CORVYSTACK_OWNER", std::to_string(owner).c_str(), 1);
    const HelperProcess helper;
    unsetenv("CORVYSTACK_OWNER");
    EXPECT_TRUE(HelperProcess::connect());
    EXPECT_TRUE(helper.runs());

    kill(owner, SIGKILL);
    waitpid(owner, nullptr, 0);
    EXPECT_TRUE(test::eventually([&helper] { return !helper.runs(); }));
    EXPECT_FALSE(std::filesystem::exists(runtime));
    unsetenv("CORVYSTACK_RUNTIME_DIR");
}

}  // namespace
}  // namespace corvy
