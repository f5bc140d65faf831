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

// The bytes, the dictionary or the flag that a call gave; none when it gave nil.
using Operation = std::function<RemoteValue(CorvyStackClient&)>;

struct Call {
    const char* selector;
    Operation operation;
    Arguments arguments;
    Operation nilOperation;  // all that may be nil is
    Arguments nilArguments;
    Answer answer;
};

const PropertyList kPath = u"/a/\u00e4";
const Bytes kBytes = Bytes::copyOf("%PDF");

// In the protocol's order.
const std::vector<Call>& calls() {
    static const std::vector<Call> all = {
        {"PDFImageRepOfFile:",
         [](auto& client) { return client.PDFImageRepOfFile(u"/a/\u00e4"); },
         {kPath},
         [](auto& client) { return client.PDFImageRepOfFile({}); },
         {kNil},
         Answer::bytesOrNil},
        {"imageWithContentsOfFile:maxThumbnailSize:alwaysFromImage:stringFromPDF:canUseSpotlight:",
         [](auto& client) {
             return client.imageWithContentsOfFile(u"/a/\u00e4", {.maxThumbnailSize = 5'000'000'000,
                                                                  .alwaysFromImage = false,
                                                                  .stringFromPDF = true,
                                                                  .canUseSpotlight = false});
         },
         {kPath, std::int64_t{5'000'000'000}, false, true, false},
         [](auto& client) {
             return client.imageWithContentsOfFile({}, {.maxThumbnailSize = -1,
                                                        .alwaysFromImage = true,
                                                        .stringFromPDF = false,
                                                        .canUseSpotlight = true});
         },
         {kNil, std::int64_t{-1}, true, false, true},
         Answer::dictionaryOrNil},
        {"attributed:stringWithPDF:",
         [](auto& client) { return client.attributedStringWithPDF(true, kBytes); },
         {true, kBytes},
         [](auto& client) { return client.attributedStringWithPDF(false, {}); },
         {false, kNil},
         Answer::dictionaryOrNil},
        {"posterImageForMovieWithFile:",
         [](auto& client) { return client.posterImageForMovieWithFile(u"/a/\u00e4"); },
         {kPath},
         [](auto& client) { return client.posterImageForMovieWithFile({}); },
         {kNil},
         Answer::dictionary},
        {"attributedStringWithContentsOfFile:",
         [](auto& client) { return client.attributedStringWithContentsOfFile(u"/a/\u00e4"); },
         {kPath},
         [](auto& client) { return client.attributedStringWithContentsOfFile({}); },
         {kNil},
         Answer::dictionaryOrNil},
        {"searchableTextOfWebArchive:",
         [](auto& client) { return client.searchableTextOfWebArchive(u"/a/\u00e4"); },
         {kPath},
         [](auto& client) { return client.searchableTextOfWebArchive({}); },
         {kNil},
         Answer::dictionary},
        {"writeRTFDData:toFile:",
         [](auto& client) { return client.writeRTFDData(kBytes, u"/a/\u00e4"); },
         {kBytes, kPath},
         [](auto& client) { return client.writeRTFDData({}, {}); },
         {kNil, kNil},
         Answer::flag},
        {"RTFDWithHTML:baseURL:allowRemoteRequest:charset:",
         [](auto& client) {
             return client.RTFDWithHTML(kBytes, {.baseURL = Url{u"http://host/"},
                                                 .allowRemoteRequest = true,
                                                 .charset = u"utf-8"});
         },
         {kBytes, Url{u"http://host/"}, true, PropertyList(u"utf-8")},
         [](auto& client) { return client.RTFDWithHTML({}); },
         {kNil, kNil, false, kNil},
         Answer::bytesOrNil},
        {"metaDataForFile:",
         [](auto& client) { return client.metaDataForFile(u"/a/\u00e4"); },
         {kPath},
         [](auto& client) { return client.metaDataForFile({}); },
         {kNil},
         Answer::dictionaryOrNil},
        {"supportsFile:",
         [](auto& client) { return client.supportsFile(u"/a/\u00e4"); },
         {kPath},
         [](auto& client) { return client.supportsFile({}); },
         {kNil},
         Answer::flag},
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
        c.nilOperation(client);
        EXPECT_EQ(object.arguments.back(), c.nilArguments) << c.selector;
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
