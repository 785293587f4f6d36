#include "platform/URIParser.h"

#include <gtest/gtest.h>

using platform::addingPercentEscapes;
using platform::hostOfURL;
using platform::parseURL;

TEST(URIParser, ValidReferencesComeBackUnchanged) {
    for (const char* text : {"http://www.example.org/a?b=1#c", "mailto:a@b.cn", "tel:13812345678",
                             "www.example.org", "tel:(010)12345678", "file:///tmp/x"}) {
        EXPECT_EQ(parseURL(text), std::optional<std::string>(text)) << text;
    }
}

TEST(URIParser, InvalidTextGivesNothing) {
    for (const char* text :
         {"", "http://a b", "tel:+86 138", "http://x/%zz", "a|b", "http://x/\xC3\xA9", "a{b}",
          "a\\b", "a^b", "a`b", "a<b>", "a\"b", "a#b#c"}) {
        EXPECT_EQ(parseURL(text), std::nullopt) << text;
    }
}

TEST(URIParser, HostOfURLs) {
    EXPECT_EQ(hostOfURL("http://www.example.org/path"), "www.example.org");
    EXPECT_EQ(hostOfURL("https://user@Example.COM:8080/"), "Example.COM");
    EXPECT_EQ(hostOfURL("http://[::1]/x"), "::1");
}

TEST(URIParser, NoHostWithoutAuthority) {
    EXPECT_EQ(hostOfURL("mailto:a@example.org"), std::nullopt);
    EXPECT_EQ(hostOfURL("tel:13812345678"), std::nullopt);
    EXPECT_EQ(hostOfURL("www.example.org"), std::nullopt);
    EXPECT_EQ(hostOfURL("file:///tmp/x"), std::nullopt);
    EXPECT_EQ(hostOfURL("http://a b"), std::nullopt);
    EXPECT_EQ(hostOfURL(""), std::nullopt);
}

TEST(URIParser, EscapesBytesOutsideTheLegalSet) {
    EXPECT_EQ(addingPercentEscapes("http://a.b/c d"), "http://a.b/c%20d");
    EXPECT_EQ(addingPercentEscapes("100%"), "100%25");
    EXPECT_EQ(addingPercentEscapes("\xC3\xA9"), "%C3%A9");
    EXPECT_EQ(addingPercentEscapes("<>\"{}|\\^`[]"), "%3C%3E%22%7B%7D%7C%5C%5E%60%5B%5D");
    EXPECT_EQ(addingPercentEscapes("aZ09-._~:/?#@!$&'()*+,;="), "aZ09-._~:/?#@!$&'()*+,;=");
    EXPECT_EQ(addingPercentEscapes(std::string("\x01\x7F", 2)), "%01%7F");
    EXPECT_EQ(addingPercentEscapes(""), "");
}

TEST(URIParser, EscapedTextParses) {
    EXPECT_EQ(parseURL(addingPercentEscapes("http://x.cn/\xE4\xB8\xAD 1")),
              "http://x.cn/%E4%B8%AD%201");
}
