#include "convert/TextTemplate.h"

#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <string>

namespace {

using convert::TextTemplate;

std::string fill(const std::string& text, const std::map<std::string, std::string>& items) {
    TextTemplate tmpl(text);
    for (const auto& [key, value] : items) tmpl.setItem(key, value);
    return tmpl.parse();
}

TEST(TextTemplate, EmptyTemplateYieldsEmptyText) { EXPECT_EQ(fill("", {{"x", "1"}}), ""); }

TEST(TextTemplate, MissingTemplateYieldsEmptyText) {
    TextTemplate tmpl(std::nullopt);
    tmpl.setItem("x", "1");
    EXPECT_EQ(tmpl.parse(), "");
}

TEST(TextTemplate, ReplacesPlaceholderBetweenLiterals) {
    EXPECT_EQ(fill("a${x}b", {{"x", "1"}}), "a1b");
}

TEST(TextTemplate, DropsPlaceholderWithoutItem) {
    EXPECT_EQ(fill("a${x}b", {}), "ab");
    EXPECT_EQ(fill("a${x}b", {{"y", "1"}}), "ab");
}

TEST(TextTemplate, ReplacesEveryOccurrence) { EXPECT_EQ(fill("${x}${x}", {{"x", "2"}}), "22"); }

TEST(TextTemplate, EmptyKeyFindsNoItem) { EXPECT_EQ(fill("${}", {{"x", "2"}}), ""); }

// Every literal part is looked up with the key that follows it, and a trailing literal has the
// empty key; an item under the empty key therefore follows it too.
TEST(TextTemplate, EmptyKeyItemAlsoFollowsTheTrailingLiteral) {
    EXPECT_EQ(fill("<${}>", {{"", "e"}}), "<e>e");
    EXPECT_EQ(fill("ab", {{"", "e"}}), "abe");
}

TEST(TextTemplate, KeyKeepsItsBlanks) {
    EXPECT_EQ(fill("${ x }", {{"x", "1"}}), "");
    EXPECT_EQ(fill("${ x }", {{" x ", "1"}}), "1");
}

TEST(TextTemplate, KeysAreCaseSensitive) { EXPECT_EQ(fill("${X}", {{"x", "1"}}), ""); }

TEST(TextTemplate, UnterminatedPlaceholderTakesTheRestAsKey) {
    EXPECT_EQ(fill("abc ${x", {{"x", "9"}}), "abc 9");
    EXPECT_EQ(fill("abc ${x y", {{"x", "9"}}), "abc ");
}

TEST(TextTemplate, CopiesBracesAndDollarsOutsidePlaceholders) {
    EXPECT_EQ(fill("a}b$c", {{"x", "1"}}), "a}b$c");
    EXPECT_EQ(fill("$", {}), "$");
    EXPECT_EQ(fill("{x}", {{"x", "1"}}), "{x}");
}

TEST(TextTemplate, CopiesTextAfterTheLastPlaceholder) {
    EXPECT_EQ(fill("${x} and the rest\n", {{"x", "1"}}), "1 and the rest\n");
}

TEST(TextTemplate, KeepsBlanksAndLineBreaksOfLiterals) {
    EXPECT_EQ(fill(" \t\n${x}\r\n ", {{"x", "1"}}), " \t\n1\r\n ");
}

TEST(TextTemplate, InsertsValuesLiterally) {
    EXPECT_EQ(fill("[${x}]", {{"x", "${y}"}, {"y", "2"}}), "[${y}]");
    EXPECT_EQ(fill("${x}", {{"x", "<&]]>"}}), "<&]]>");
}

TEST(TextTemplate, SentinelMarkerIsOrdinaryText) {
    EXPECT_EQ(fill("a___${__}b", {{"__", "X"}}), "a___Xb");
}

TEST(TextTemplate, LaterItemReplacesEarlierValue) {
    TextTemplate tmpl("${x}");
    tmpl.setItem("x", "1");
    tmpl.setItem("x", "2");
    EXPECT_EQ(tmpl.parse(), "2");
    EXPECT_EQ(tmpl.keyAndValues(), (std::map<std::string, std::string>{{"x", "2"}}));
}

TEST(TextTemplate, EachParseReflectsTheItemsOfItsTime) {
    TextTemplate tmpl("v=${x};");
    tmpl.setItem("x", "1");
    std::string first = tmpl.parse();
    tmpl.setItem("x", "2");
    std::string second = tmpl.parse();
    EXPECT_EQ(first, "v=1;");
    EXPECT_EQ(second, "v=2;");
}

TEST(TextTemplate, ItemsCanBeReplacedAsAWhole) {
    TextTemplate tmpl("${a}${b}");
    tmpl.setItem("a", "1");
    tmpl.setKeyAndValues({{"b", "2"}});
    EXPECT_EQ(tmpl.parse(), "2");
}

TEST(TextTemplate, KeepsMultiByteText) { EXPECT_EQ(fill("ä${ü}ö", {{"ü", "€"}}), "ä€ö"); }

}  // namespace
