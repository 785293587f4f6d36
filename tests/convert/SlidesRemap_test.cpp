// Go-to renumbering of slide link elements and the class-level link lookup.

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "convert/AnimationLinkFormat.h"
#include "convert/PDFAnnotations.h"
#include "platform/PugiXML.h"

namespace {

using convert::PDFAnnotations;

// A converter for a book of four pages of which page 2 is divided.
PDFAnnotations dividedBook() {
    auto pages = std::make_shared<pdf::WidePages>();
    pages->indexesOfPDFDivided = {1, 2, 4, 5};
    PDFAnnotations c;
    c.useWidePages(pages);
    return c;
}

std::string remapped(const std::string& elementText, bool isDestPart1) {
    std::optional<platform::XmlDocument> element = platform::XmlDocument::parse(elementText);
    EXPECT_TRUE(element);
    if (!element) return {};
    dividedBook().changeGotoPageForAnimationEditor(element->root(), isDestPart1);
    return element->toCompactString();
}

std::string targetOf(const std::string& elementText) {
    std::optional<platform::XmlDocument> element = platform::XmlDocument::parse(elementText);
    if (!element) return "(unparsed)";
    return element->root().lastChild("action").lastChild("params").lastChild("target").text();
}

TEST(changeGotoPageForAnimationEditor, RenumbersTheTargetForTheDividedBook) {
    EXPECT_EQ(targetOf(remapped(convert::getGotoPageString(1, 2, 3, 4, 3, 0), false)), "4");
    EXPECT_EQ(targetOf(remapped(convert::getGotoPageString(1, 2, 3, 4, 2, 0), false)), "2");
}

TEST(changeGotoPageForAnimationEditor, SecondHalfAddsOne) {
    EXPECT_EQ(targetOf(remapped(convert::getGotoPageString(1, 2, 3, 4, 2, 0), true)), "3");
}

TEST(changeGotoPageForAnimationEditor, ChangesNothingElse) {
    std::string before = convert::getGotoPageString(1, 2, 3, 4, 3, 7);
    std::string after = remapped(before, false);
    std::string expected = before;
    expected.replace(expected.find("<target>3</target>"), 18, "<target>4</target>");
    EXPECT_EQ(after, expected);
}

TEST(changeGotoPageForAnimationEditor, LeavesWebLinksAlone) {
    std::string before = convert::getLinkString(1, 2, 3, 4, "https://a.example/", 0);
    EXPECT_EQ(remapped(before, true), before);
}

TEST(changeGotoPageForAnimationEditor, ReadsTheTargetsLeadingInteger) {
    EXPECT_EQ(targetOf(remapped("<element><action><type>goToPage</type><params>"
                                "<target> 3.9xyz</target></params></action></element>",
                                false)),
              "4");
}

TEST(changeGotoPageForAnimationEditor, TakesTheLastTypeParamsAndTarget) {
    EXPECT_EQ(remapped("<element><action><type>openUrl</type><type>goToPage</type>"
                       "<params><target>9</target></params><params><target>1</target>"
                       "<target>3</target></params></action></element>",
                       false),
              "<element><action><type>openUrl</type><type>goToPage</type>"
              "<params><target>9</target></params><params><target>1</target>"
              "<target>4</target></params></action></element>");
}

TEST(changeGotoPageForAnimationEditor, StopsAtAnActionThatIsNotGoTo) {
    const std::string text =
        "<element><action><type>openUrl</type></action>"
        "<action><type>goToPage</type><params><target>3</target></params></action></element>";
    EXPECT_EQ(remapped(text, false), text);
}

TEST(changeGotoPageForAnimationEditor, StopsAtParamsWithoutTarget) {
    const std::string text =
        "<element><action><type>goToPage</type><params></params></action>"
        "<action><type>goToPage</type><params><target>3</target></params></action></element>";
    EXPECT_EQ(remapped(text, false), text);
}

TEST(changeGotoPageForAnimationEditor, GoesOnPastAnActionWithoutParams) {
    EXPECT_EQ(remapped("<element><action><type>goToPage</type></action>"
                       "<action><type>goToPage</type><params><target>3</target></params>"
                       "</action></element>",
                       true),
              "<element><action><type>goToPage</type></action>"
              "<action><type>goToPage</type><params><target>5</target></params>"
              "</action></element>");
}

TEST(changeGotoPageForAnimationEditor, ActionWithoutTypeStops) {
    const std::string text =
        "<element><action><params><target>3</target></params></action></element>";
    EXPECT_EQ(remapped(text, false), text);
}

platform::Annotation linkAt(double x, double y, double width, double height,
                            const std::string& url) {
    platform::Annotation link;
    link.type = "Link";
    link.bounds = {x, y, width, height};
    link.url = url;
    return link;
}

std::string found(const std::vector<platform::Annotation>& list, const platform::Rect& rect) {
    const platform::Annotation* hit = PDFAnnotations::AnnotationLinkAt(list, rect);
    return hit ? hit->url.value_or("(no url)") : "(none)";
}

TEST(AnnotationLinkAt, EmptyListFindsNothing) { EXPECT_EQ(found({}, {0, 0, 10, 10}), "(none)"); }

TEST(AnnotationLinkAt, FirstEntryWhoseOriginLiesInTheRectangleWins) {
    std::vector<platform::Annotation> list = {linkAt(50, 50, 10, 10, "far"),
                                              linkAt(5, 5, 10, 10, "first"),
                                              linkAt(6, 6, 10, 10, "second")};
    EXPECT_EQ(found(list, {0, 0, 20, 20}), "first");
}

TEST(AnnotationLinkAt, OriginOnTheUpperEdgeIsOutside) {
    std::vector<platform::Annotation> list = {linkAt(20, 5, 10, 10, "right edge"),
                                              linkAt(0, 0, 10, 10, "inside")};
    EXPECT_EQ(found(list, {0, 0, 20, 20}), "inside");
}

TEST(AnnotationLinkAt, OverlapWithoutTheOriginInsideIsNoMatch) {
    std::vector<platform::Annotation> list = {linkAt(-5, -5, 10, 10, "overlapping")};
    EXPECT_EQ(found(list, {0, 0, 20, 20}), "(none)");
}

TEST(AnnotationLinkAt, EmptyRectanglesMatchNothing) {
    std::vector<platform::Annotation> list = {linkAt(0, 0, 0, 0, "empty bounds"),
                                              linkAt(0, 0, 10, 10, "usable")};
    EXPECT_EQ(found(list, {0, 0, 20, 20}), "usable");
    EXPECT_EQ(found(list, {0, 0, 0, 20}), "(none)");
}

}  // namespace
