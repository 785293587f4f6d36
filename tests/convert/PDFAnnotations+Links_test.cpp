#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "convert/PDFAnnotations.h"

using convert::PDFAnnotations;
using platform::Annotation;
using platform::Rect;

namespace {

struct DecodeCase {
    std::string text;
    std::optional<std::string> expected;
};

Annotation linkAt(Rect bounds, std::string url) {
    Annotation link;
    link.type = "Link";
    link.bounds = bounds;
    link.url = std::move(url);
    return link;
}

}  // namespace

TEST(RemovePercentCoding, DecodesRoundAfterRound) {
    const DecodeCase cases[] = {
        {"http://a.example/%2541", "http://a.example/A"},
        {"%41%42", "AB"},
        {"%C3%A9t%C3%A9", "\xC3\xA9t\xC3\xA9"},
        {"%252541", "A"},
        {"plain text", "plain text"},
        {"", ""},
        {"%0D%0A", "\r\n"},
    };
    for (const DecodeCase& c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(PDFAnnotations::removePercentCoding(c.text), c.expected);
    }
}

TEST(RemovePercentCoding, FailsOnAMalformedEscapeOrBadUtf8) {
    for (std::string text :
         {"http://a.example/%", "a%2", "%zz", "%2G", "%FF", "%C3", "%25", "100%25 sure"}) {
        SCOPED_TRACE(text);
        EXPECT_EQ(PDFAnnotations::removePercentCoding(text), std::nullopt);
    }
}

TEST(DecodeLinkURL, DeletesLineBreaksAfterDecoding) {
    EXPECT_EQ(PDFAnnotations::decodeLinkURL("http://a.example/pa%0D%0Ath"),
              "http://a.example/path");
    EXPECT_EQ(PDFAnnotations::decodeLinkURL("a\r\nb\rc\nd"), "abcd");
    EXPECT_EQ(PDFAnnotations::decodeLinkURL("a%"), std::nullopt);
}

TEST(FindLinkAt, TakesTheFirstLinkWhoseOriginLiesInTheRectangle) {
    std::vector<Annotation> raw = {
        linkAt({0, 0, 50, 50}, "origin outside"),
        linkAt({20, 20, 10, 10}, "first"),
        linkAt({25, 25, 10, 10}, "second"),
    };
    const Annotation* hit = PDFAnnotations::findLinkAt(raw, {10, 10, 100, 100});
    ASSERT_NE(hit, nullptr);
    EXPECT_EQ(hit->url, "first");
    EXPECT_EQ(PDFAnnotations::AnnotationLinkAt(raw, {10, 10, 100, 100}), hit);
}

TEST(FindLinkAt, ExcludesTheUpperEdgesAndEmptyRectangles) {
    std::vector<Annotation> raw = {linkAt({110, 20, 10, 10}, "at maxX"),
                                   linkAt({20, 20, 0, 10}, "empty")};
    EXPECT_EQ(PDFAnnotations::findLinkAt(raw, {10, 10, 100, 100}), nullptr);
    EXPECT_EQ(PDFAnnotations::findLinkAt(raw, {20, 20, 0, 0}), nullptr);
    EXPECT_EQ(PDFAnnotations::findLinkAt({}, {0, 0, 100, 100}), nullptr);
    std::vector<Annotation> atMin = {linkAt({10, 10, 5, 5}, "at min")};
    ASSERT_NE(PDFAnnotations::findLinkAt(atMin, {10, 10, 100, 100}), nullptr);
}

TEST(OutputPathForHalf, NamesTheHalvesBesideTheFile) {
    PDFAnnotations converter;
    converter.outputFile = "/out/dir/12.xml";
    EXPECT_EQ(converter.outputPathForHalf(false, 0), "/out/dir/12.xml");
    EXPECT_EQ(converter.outputPathForHalf(true, 0), "/out/dir/12-w0.xml");
    EXPECT_EQ(converter.outputPathForHalf(true, 1), "/out/dir/12-w1.xml");
    converter.outputFile = "Result.XML";
    EXPECT_EQ(converter.outputPathForHalf(true, 1), "Result-w1.XML");
    converter.outputFile = "/out/a.b.xml";
    EXPECT_EQ(converter.outputPathForHalf(true, 0), "/out/a.b-w0.xml");
}
