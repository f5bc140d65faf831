#include <gtest/gtest.h>

#include "tests/importers/imported.h"

namespace corvy {
namespace {

using namespace std::literals;

constexpr auto kText = u"kMDItemTextContent";

TEST(MailImporter, TellsHeadersTextAndAttachments) {
    const test::Imported mail(CORVY_EXAMPLES "/harvest.eml");
    EXPECT_EQ(mail[u"kMDItemSubject"], R"("Apples, quinces – and baskets")");
    EXPECT_EQ(mail[u"kMDItemAuthors"], R"(["Jürgen Mühlbach"])");
    EXPECT_EQ(mail[u"kMDItemRecipients"],
              R"(["Anneliese Moor", "tom@walks.example", "Ferry House, Kitchen"])");
    EXPECT_EQ(mail[u"kMDItemRecipientEmailAddresses"],
              R"(["anneliese@walks.example", "tom@walks.example", "kitchen@ferry.example"])");
    EXPECT_EQ(mail[u"kMDItemContentCreationDate"], "1709626365");
    EXPECT_EQ(mail[u"org_corvystack_attachmentNames"], R"(["Äpfel.csv"])");
    EXPECT_EQ(mail.text(),
              "Dear both,\n\nthe quinces are ripe early this year. Please bring baskets für "
              "Übermorgen.");
}

TEST(MailImporter, ReadsBodiesOfEveryForm) {
    const auto multipart = [](std::string type, std::string parts) {
        return "Content-Type: multipart/" + std::move(type) + "; boundary=b\n\n" +
               std::move(parts) + "--b--\n";
    };
    const std::string html = "--b\nContent-Type: text/html\n\n<p>rich</p>\n";
    const std::string emptyPlain = "--b\nContent-Type: text/plain\n\n \n";
    const std::string carried = "--b\nContent-Type: message/rfc822\n\nSubject: Inner\n\nwithin\n";
    std::string nested = "Subject: deep\n";
    for (int i = 0; i < 3000; ++i) {
        const std::string b = std::to_string(i);
        nested += "Content-Type: multipart/mixed; boundary=" + b + "\n\n--" + b + "\n";
    }
    test::expectImported({
        {"a.eml", "Subject: x\n\nplain\n", kText, R"("plain")"},
        {"a.eml", "Subject: caf\xE9\n\n", u"kMDItemTitle", R"("café")"},
        {"a.eml", "Content-Type: text/plain; charset=x-unknown\n\n\xC3\xA9\n", kText, R"("é")"},
        {"a.eml", "Content-Type: text/plain; charset=us-ascii\n\n\xE9\n", kText, R"("é")"},
        {"a.eml", "Content-Type: text/html; charset=koi8-r\n\n<b>\xC1\xC2</b>\n", kText, R"("аб")"},
        {"a.eml", multipart("alternative", emptyPlain + html), kText, R"("rich")"},
        {"a.eml", multipart("mixed", html + carried), kText, R"("rich\n\nInner\n\nwithin")"},
        {"a.eml", multipart("mixed", carried), u"org_corvystack_attachmentNames", R"(["Inner"])"},
        {"a.eml", "From: Group: a@x.example, B <b@x.example>;\n\n", u"kMDItemAuthors",
         R"(["a@x.example", "B"])"},
        {"a.eml", "Subject: no end\nDate: yesterday", u"kMDItemContentCreationDate", ""},
        {"a.eml", nested, u"kMDItemTitle", R"("deep")"},
        {"a.emlx", "16\nSubject: s\n\nbody<?xml version", kText, R"("body")"},
        {"a.emlx", "x\nSubject: s\n\nbody", u"kMDItemTitle", ""},
    });
}

TEST(MailImporter, GathersMailboxes) {
    const test::Imported box(CORVY_EXAMPLES "/replies.mbox");
    EXPECT_EQ(box[u"org_corvystack_itemCount"], "2");
    EXPECT_EQ(box[u"kMDItemAuthors"], R"(["Anneliese Moor", "Tom Weir"])");
    EXPECT_EQ(box[u"kMDItemContentCreationDate"], "1709629200");
    EXPECT_EQ(box[u"kMDItemContentModificationDate"], "1709706600");
    EXPECT_TRUE(box.text().ends_with("Re: baskets\n\nAnd I have a cart.")) << box.text();
    EXPECT_EQ(test::Imported("a.mbox", "no mail")[kText], "");
}

}  // namespace
}  // namespace corvy
