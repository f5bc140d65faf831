#include "client/corvy_client.h"

#include <gtest/gtest.h>

#include <functional>

#include "client/im_export.h"
#include "tests/support/fake_proxy.h"

namespace corvy {
namespace {

using test::FakeObject;
using test::FakeProxy;

enum class Answer { bytesOrNil, dictionary, dictionaryOrNil, flag };

using Arguments = std::vector<RemoteValue>;

const RemoteValue kNil;

struct Call {
    const char* selector;
    Answer answer;
    Arguments arguments;
    // What the call gave: bytes, dictionary or flag; none for nil.
    std::function<RemoteValue(CorvyStackClient&)> operation;
};

constexpr const char16_t* kPath = u"/a/\u00e4";
const PropertyList kPathValue = kPath;
const Bytes kBytes = Bytes::copyOf("%PDF");
constexpr ImageOptions kImageOptions = {.maxThumbnailSize = 5'000'000'000,
                                        .alwaysFromImage = false,
                                        .stringFromPDF = true,
                                        .canUseSpotlight = false};
const HtmlOptions kHtmlOptions = {
    .baseURL = Url{u"http://host/"}, .allowRemoteRequest = true, .charset = u"utf-8"};

// In the protocol's order.
const std::vector<Call>& calls() {
    using Client = CorvyStackClient;
    static const std::vector<Call> all = {
        {"PDFImageRepOfFile:",
         Answer::bytesOrNil,
         {kPathValue},
         [](Client& c) { return c.PDFImageRepOfFile(kPath); }},
        {"imageWithContentsOfFile:maxThumbnailSize:alwaysFromImage:stringFromPDF:canUseSpotlight:",
         Answer::dictionaryOrNil,
         {kPathValue, std::int64_t{5'000'000'000}, false, true, false},
         [](Client& c) { return c.imageWithContentsOfFile(kPath, kImageOptions); }},
        {"attributed:stringWithPDF:",
         Answer::dictionaryOrNil,
         {true, kBytes},
         [](Client& c) { return c.attributedStringWithPDF(true, kBytes); }},
        {"posterImageForMovieWithFile:",
         Answer::dictionary,
         {kPathValue},
         [](Client& c) { return c.posterImageForMovieWithFile(kPath); }},
        {"attributedStringWithContentsOfFile:",
         Answer::dictionaryOrNil,
         {kPathValue},
         [](Client& c) { return c.attributedStringWithContentsOfFile(kPath); }},
        {"searchableTextOfWebArchive:",
         Answer::dictionary,
         {kPathValue},
         [](Client& c) { return c.searchableTextOfWebArchive(kPath); }},
        {"writeRTFDData:toFile:",
         Answer::flag,
         {kBytes, kPathValue},
         [](Client& c) { return c.writeRTFDData(kBytes, kPath); }},
        {"RTFDWithHTML:baseURL:allowRemoteRequest:charset:",
         Answer::bytesOrNil,
         {kBytes, Url{u"http://host/"}, true, PropertyList(u"utf-8")},
         [](Client& c) { return c.RTFDWithHTML(kBytes, kHtmlOptions); }},
        {"metaDataForFile:",
         Answer::dictionaryOrNil,
         {kPathValue},
         [](Client& c) { return c.metaDataForFile(kPath); }},
        {"supportsFile:",
         Answer::flag,
         {kPathValue},
         [](Client& c) { return c.supportsFile(kPath); }},
    };
    return all;
}

PropertyList goodAnswer(Answer answer) {
    switch (answer) {
        case Answer::flag: return true;
        case Answer::bytesOrNil: return kBytes;
        default: return Dictionary{{u"Size", u"{1, 2}"}, {u"Null", Null()}};
    }
}

bool isOfType(const RemoteValue& value, RemoteType type) {
    switch (type) {
        case RemoteType::flag: return value && value->kind() == PropertyList::Kind::boolean;
        case RemoteType::size: return value && value->kind() == PropertyList::Kind::int64;
        case RemoteType::object: return !value || !value->isNull();
    }
    return false;
}

TEST(CorvyStackClient, PassesArgumentsAndAnswersOfAllOperations) {
    FakeObject object;
    CorvyStackClient client(std::make_unique<FakeProxy>(object));
    EXPECT_EQ(object.protocols, std::vector{&CorvyImExport()});
    ASSERT_EQ(calls().size(), CorvyImExport().methods.size());
    for (std::size_t i = 0; i < calls().size(); ++i) {
        const Call& c = calls()[i];
        object.answer = [&] { return goodAnswer(c.answer); };
        EXPECT_EQ(c.operation(client), goodAnswer(c.answer)) << c.selector;
        EXPECT_EQ(object.arguments.back(), c.arguments) << c.selector;
        EXPECT_EQ(object.selectors.back(), c.selector);

        const RemoteMethod& method = CorvyImExport().methods[i];
        EXPECT_EQ(method.selector, c.selector);
        ASSERT_EQ(method.arguments.size(), c.arguments.size()) << c.selector;
        for (std::size_t k = 0; k < c.arguments.size(); ++k) {
            EXPECT_TRUE(isOfType(c.arguments[k], method.arguments[k].type)) << c.selector << k;
        }
        EXPECT_EQ(method.result == RemoteType::flag, c.answer == Answer::flag) << c.selector;
    }
}

TEST(CorvyStackClient, ArgumentsMayBeNilAndOptionsLeftOut) {
    FakeObject object;
    CorvyStackClient client(std::make_unique<FakeProxy>(object));
    client.metaDataForFile({});
    EXPECT_EQ(object.arguments.back(), Arguments{kNil});
    client.attributedStringWithPDF(false, {});
    EXPECT_EQ(object.arguments.back(), (Arguments{false, kNil}));
    client.imageWithContentsOfFile({});
    EXPECT_EQ(object.arguments.back(), (Arguments{kNil, std::int64_t{256}, false, false, true}));
    client.RTFDWithHTML({});
    EXPECT_EQ(object.arguments.back(), (Arguments{kNil, kNil, false, kNil}));
}

TEST(CorvyStackClient, AnswersOfTheWrongTypeAreProtocolErrors) {
    const RemoteValue answers[] = {kNil,
                                   PropertyList(),
                                   PropertyList(false),
                                   PropertyList(std::int64_t{1}),
                                   kBytes,
                                   PropertyList(u""),
                                   Array(),
                                   Dictionary(),
                                   Url{u"http:"}};
    FakeObject object;
    CorvyStackClient client(std::make_unique<FakeProxy>(object));
    for (const Call& c : calls()) {
        for (const RemoteValue& answer : answers) {
            object.answer = [&] { return answer; };
            const bool nil = !answer;
            const bool fits =
                (c.answer == Answer::flag && answer && answer->boolean()) ||
                (c.answer == Answer::bytesOrNil && (nil || answer->bytes())) ||
                (c.answer == Answer::dictionaryOrNil && (nil || answer->dictionary())) ||
                (c.answer == Answer::dictionary && answer && answer->dictionary());
            try {
                EXPECT_EQ(c.operation(client), answer) << c.selector;
                EXPECT_TRUE(fits) << c.selector;
            } catch (const TransportError& error) {
                EXPECT_FALSE(fits) << c.selector;
                EXPECT_EQ(error.kind(), TransportError::Kind::protocol);
                EXPECT_NE(std::string(error.what()).find(c.selector), std::string::npos);
            }
        }
    }
}

TEST(CorvyStackClient, FailuresOfACallPassThrough) {
    FakeObject object;
    CorvyStackClient client(std::make_unique<FakeProxy>(object));
    object.answer = []() -> RemoteValue {
        throw TransportError(TransportError::Kind::timeout, "too slow");
    };
    EXPECT_THROW(client.supportsFile(u"/a"), TransportError);
    object.answer = []() -> RemoteValue { throw RemoteException("passed on"); };
    EXPECT_THROW(client.PDFImageRepOfFile(u"/a"), RemoteException);
}

TEST(CorvyStackClient, OneTimeoutForBothDirections) {
    FakeObject object;
    CorvyStackClient client(std::make_unique<FakeProxy>(object));
    EXPECT_TRUE(object.requestTimeouts.empty());
    client.setTimeout(70);
    EXPECT_EQ(object.requestTimeouts, std::vector<double>{70});
    EXPECT_EQ(object.replyTimeouts, std::vector<double>{70});
}

}  // namespace
}  // namespace corvy
