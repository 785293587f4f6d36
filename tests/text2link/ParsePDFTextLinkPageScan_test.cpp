#include <gtest/gtest.h>

#include <climits>
#include <sstream>

#include "platform/DataDetector.h"
#include "platform/ICUText.h"
#include "text2link/ParsePDFTextLink.h"

using platform::Annotation;
using platform::Rect;
using text2link::ParsePDFTextLink;

namespace {

// Unit i of the text sits at x = 10 i on one line; line breaks get no box.
platform::PageText pageOf(std::u16string text) {
    platform::PageText page;
    page.text = std::move(text);
    for (std::size_t i = 0; i < page.text.size(); ++i) {
        page.boxes.push_back(page.text[i] == u'\n' ? Rect{} : Rect{10.0 * i, 100, 10, 12});
    }
    return page;
}

// One link per line: "Link [x y w h] url".
std::string describe(const std::vector<Annotation>& links) {
    std::ostringstream out;
    for (const Annotation& link : links) {
        out << link.type << " [" << link.bounds.x << " " << link.bounds.y << " "
            << link.bounds.width << " " << link.bounds.height << "] " << link.url.value_or("(none)")
            << "\n";
    }
    return out.str();
}

std::string scan(const ParsePDFTextLink& job, std::u16string text,
                 const platform::StopFlag& stop = platform::NeverStop()) {
    std::vector<Annotation> links;
    job.parsePageText(pageOf(std::move(text)), links, stop);
    return describe(links);
}

ParsePDFTextLink jobOfType(std::int64_t type, bool detector = true) {
    ParsePDFTextLink job;
    job.parseType = type;
    job.useDataDetector = detector;
    return job;
}

// Set from the given poll on (the first poll is number 1).
class StopAtPoll final : public platform::StopFlag {
public:
    explicit StopAtPoll(int poll) : stopAt_(poll) {}
    bool isSet() const override { return ++polls_ >= stopAt_; }
    int polls() const { return polls_; }

private:
    int stopAt_;
    mutable int polls_ = 0;
};

const std::u16string kMixed = u"Web www.example.org mail a@b.cn call 13812345678.";

// How often the detector polls while it scans the text, before the page scan's own polls.
int detectorPolls(std::u16string_view text) {
    StopAtPoll never(INT_MAX);
    platform::findMatches(text, platform::kDetectLinks | platform::kDetectPhoneNumbers, never);
    return never.polls();
}

}  // namespace

TEST(ParsePDFTextLinkParsePage, NoTextAppendsNothing) {
    for (bool detector : {true, false}) {
        EXPECT_EQ(scan(jobOfType(3, detector), u""), "");
    }
}

TEST(ParsePDFTextLinkParsePage, DetectorFindsAllThreeKinds) {
    EXPECT_EQ(scan(jobOfType(3), kMixed),
              "Link [40 100 150 12] http://www.example.org\n"
              "Link [250 100 60 12] mailto:a@b.cn\n"
              "Link [370 100 110 12] tel:13812345678\n");
}

TEST(ParsePDFTextLinkParsePage, TypeTwoLinksOnlyPhoneNumbers) {
    EXPECT_EQ(scan(jobOfType(2), kMixed), "Link [370 100 110 12] tel:13812345678\n");
    EXPECT_EQ(scan(jobOfType(2, false), kMixed), "Link [370 100 110 12] tel:13812345678\n");
}

TEST(ParsePDFTextLinkParsePage, TypeOneLinksNoPhoneNumbers) {
    EXPECT_EQ(scan(jobOfType(1), kMixed),
              "Link [40 100 150 12] http://www.example.org\n"
              "Link [250 100 60 12] mailto:a@b.cn\n");
}

TEST(ParsePDFTextLinkParsePage, DetectedNumbersThePatternsRejectAreSkipped) {
    // Both are telephone numbers to the detector; none of the three patterns admits them.
    EXPECT_EQ(scan(jobOfType(3), u"code 12345 or +44 20 7946 0958"), "");
}

TEST(ParsePDFTextLinkParsePage, PhoneTextWithSpacesFallsBackToItsDigits) {
    EXPECT_EQ(scan(jobOfType(2), u"+86 13812345678"), "Link [0 100 150 12] tel:8613812345678\n");
    EXPECT_EQ(scan(jobOfType(2), u"(86)13812345678"), "Link [0 100 150 12] tel:(86)13812345678\n");
}

TEST(ParsePDFTextLinkParsePage, LinkWithoutAnyValidURLIsAppendedAllTheSame) {
    EXPECT_EQ(scan(jobOfType(1), u"http://x.cn/a#b#c"), "Link [0 100 170 12] (none)\n");
}

TEST(ParsePDFTextLinkParsePage, BoundsCoverTextOverTwoLines) {
    // The address ends the first line; the number starts the second.
    std::vector<Annotation> links;
    platform::PageText page = pageOf(u"go 13812345678\nx");
    page.boxes[3] = Rect{500, 700, 8, 10};
    page.boxes[13] = Rect{40, 680, 8, 10};
    jobOfType(3).parsePageText(page, links, platform::NeverStop());
    EXPECT_EQ(describe(links), "Link [40 100 468 610] tel:13812345678\n");
}

TEST(ParsePDFTextLinkParsePage, DetectorPathStopsBeforeTheNextMatch) {
    const int detector = detectorPolls(kMixed);
    ASSERT_GT(detector, 0);
    StopAtPoll stop(detector + 2);
    EXPECT_EQ(scan(jobOfType(3), kMixed, stop), "Link [40 100 150 12] http://www.example.org\n");
    EXPECT_EQ(stop.polls(), detector + 2);
}

TEST(ParsePDFTextLinkParsePage, FallbackFindsAllThreeKinds) {
    // Targets are made from the text: no "http://" is added to a bare www address.
    EXPECT_EQ(scan(jobOfType(3, false), kMixed),
              "Link [40 100 150 12] www.example.org\n"
              "Link [250 100 60 12] mailto:a@b.cn\n"
              "Link [370 100 110 12] tel:13812345678\n");
}

TEST(ParsePDFTextLinkParsePage, FallbackKeepsWrittenSchemes) {
    EXPECT_EQ(scan(jobOfType(1, false), u"see http://x.cn/a_b, mailto:c@d.cn ok"),
              "Link [40 100 150 12] http://x.cn/a_b\n"
              "Link [210 100 130 12] mailto:c@d.cn\n");
}

TEST(ParsePDFTextLinkParsePage, FallbackSkipsAddressesWithoutAKnownDomainKey) {
    // The detector knows "xyz"; the domain keys do not, and no phone pattern fits.
    EXPECT_EQ(scan(jobOfType(3, false), u"see shop.xyz now"), "");
    EXPECT_EQ(scan(jobOfType(3, true), u"see shop.xyz now"),
              "Link [40 100 80 12] http://shop.xyz\n");
}

TEST(ParsePDFTextLinkParsePage, FallbackFindsAMatchRightAfterAnother) {
    // The character after the first range is skipped, but the lookup at the next index still
    // returns the whole number around it.
    EXPECT_EQ(scan(jobOfType(3, false), u"a.cn+8613812345678 ok"),
              "Link [0 100 40 12] a.cn\n"
              "Link [40 100 140 12] tel:8613812345678\n");
}

TEST(ParsePDFTextLinkParsePage, FallbackExaminesAMatchEndingTheTextAgainAtEachIndex) {
    // Only a range ending before the text's end moves the index past it.
    EXPECT_EQ(scan(jobOfType(1, false), u"go a.cn"),
              "Link [30 100 40 12] a.cn\nLink [30 100 40 12] a.cn\nLink [30 100 40 12] a.cn\n"
              "Link [30 100 40 12] a.cn\n");
}

TEST(ParsePDFTextLinkParsePage, FallbackPollsAtEachIndexAndStops) {
    const int detector = detectorPolls(u"ab www.a.cn x");
    StopAtPoll stop(detector + 4);
    EXPECT_EQ(scan(jobOfType(3, false), u"ab www.a.cn x", stop), "");
    EXPECT_EQ(stop.polls(), detector + 4);
    StopAtPoll later(detector + 5);
    EXPECT_EQ(scan(jobOfType(3, false), u"ab www.a.cn x", later), "Link [30 100 80 12] www.a.cn\n");
}

namespace {

Annotation linkAt(Rect bounds, std::optional<std::string> url) {
    Annotation link;
    link.type = "Link";
    link.bounds = bounds;
    link.url = std::move(url);
    return link;
}

const Rect kExisting{100, 100, 200, 20};

}  // namespace

TEST(ParsePDFTextLinkCheckRemove, NewHostContainingTheExistingHostIsRemoved) {
    std::vector<Annotation> list = {linkAt({0, 0, 5, 5}, "http://a.cn"),
                                    linkAt({110, 105, 100, 10}, "http://www.example.org/x")};
    std::vector<Annotation> existing = {linkAt(kExisting, "https://example.org")};
    EXPECT_TRUE(ParsePDFTextLink::checkRemoveAnnoFrom(list, 1, existing, platform::NeverStop()));
    EXPECT_EQ(describe(list), "Link [0 0 5 5] http://a.cn\n");
}

TEST(ParsePDFTextLinkCheckRemove, ExistingHostContainingTheNewHostRemovesToo) {
    std::vector<Annotation> list = {linkAt({110, 105, 100, 10}, "http://example.org")};
    std::vector<Annotation> existing = {linkAt(kExisting, "http://www.example.org")};
    EXPECT_TRUE(ParsePDFTextLink::checkRemoveAnnoFrom(list, 0, existing, platform::NeverStop()));
    EXPECT_TRUE(list.empty());
}

TEST(ParsePDFTextLinkCheckRemove, OtherHostOverTheSameRectangleStays) {
    std::vector<Annotation> list = {linkAt(kExisting, "http://other.net")};
    std::vector<Annotation> existing = {linkAt(kExisting, "http://example.org")};
    EXPECT_FALSE(ParsePDFTextLink::checkRemoveAnnoFrom(list, 0, existing, platform::NeverStop()));
    EXPECT_EQ(list.size(), 1u);
}

TEST(ParsePDFTextLinkCheckRemove, HostTestIsCaseSensitive) {
    std::vector<Annotation> list = {linkAt(kExisting, "http://EXAMPLE.org")};
    std::vector<Annotation> existing = {linkAt(kExisting, "http://example.org")};
    EXPECT_FALSE(ParsePDFTextLink::checkRemoveAnnoFrom(list, 0, existing, platform::NeverStop()));
}

TEST(ParsePDFTextLinkCheckRemove, OverlapRules) {
    struct Case {
        const char* name;
        Rect newBounds;
        bool removed;
    };
    const Case cases[] = {
        {"new inside existing", {150, 105, 10, 10}, true},
        {"existing inside new", {0, 0, 1000, 1000}, true},
        {"same rectangle", kExisting, true},
        {"existing centre (200, 110) in new", {190, 108, 400, 5}, true},
        {"new centre (105, 115) in existing", {60, 100, 90, 30}, true},
        {"touching the right edge", {300, 100, 50, 20}, false},
        {"touching the top edge", {100, 120, 200, 20}, false},
        {"new centre on the existing upper edge", {90, 115, 30, 10}, false},
        {"apart", {400, 400, 10, 10}, false},
        {"empty new rectangle inside", {150, 105, 0, 0}, true},  // its centre lies inside
        {"empty new rectangle on the upper edge", {150, 120, 0, 0}, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        std::vector<Annotation> list = {linkAt(c.newBounds, "http://example.org")};
        std::vector<Annotation> existing = {linkAt(kExisting, "http://example.org")};
        EXPECT_EQ(ParsePDFTextLink::checkRemoveAnnoFrom(list, 0, existing, platform::NeverStop()),
                  c.removed);
        EXPECT_EQ(list.size(), c.removed ? 0u : 1u);
    }
}

TEST(ParsePDFTextLinkCheckRemove, IndexOutOfRangeChangesNothing) {
    std::vector<Annotation> list = {linkAt(kExisting, "http://example.org")};
    std::vector<Annotation> existing = {linkAt(kExisting, "http://example.org")};
    for (std::int64_t index : {std::int64_t{-1}, std::int64_t{1}, std::int64_t{1} << 40}) {
        EXPECT_FALSE(
            ParsePDFTextLink::checkRemoveAnnoFrom(list, index, existing, platform::NeverStop()));
        EXPECT_EQ(list.size(), 1u);
    }
}

TEST(ParsePDFTextLinkCheckRemove, LinksWithoutHostAreNeverRemoved) {
    std::vector<Annotation> existing = {linkAt(kExisting, "mailto:a@example.org"),
                                        linkAt(kExisting, "http://example.org")};
    for (const char* url : {"mailto:a@example.org", "tel:13812345678", "www.example.org"}) {
        std::vector<Annotation> list = {linkAt(kExisting, url)};
        EXPECT_FALSE(
            ParsePDFTextLink::checkRemoveAnnoFrom(list, 0, existing, platform::NeverStop()));
    }
    std::vector<Annotation> noURL = {linkAt(kExisting, std::nullopt)};
    EXPECT_FALSE(ParsePDFTextLink::checkRemoveAnnoFrom(noURL, 0, existing, platform::NeverStop()));
}

TEST(ParsePDFTextLinkCheckRemove, ExistingLinksWithoutHostDoNotMatch) {
    std::vector<Annotation> list = {linkAt(kExisting, "http://example.org")};
    std::vector<Annotation> existing = {linkAt(kExisting, std::nullopt),
                                        linkAt(kExisting, "mailto:example.org")};
    EXPECT_FALSE(ParsePDFTextLink::checkRemoveAnnoFrom(list, 0, existing, platform::NeverStop()));
    EXPECT_FALSE(ParsePDFTextLink::checkRemoveAnnoFrom(list, 0, {}, platform::NeverStop()));
}

TEST(ParsePDFTextLinkCheckRemove, StopBeforeAComparisonRemovesNothing) {
    std::vector<Annotation> list = {linkAt(kExisting, "http://example.org")};
    std::vector<Annotation> existing = {linkAt({0, 0, 1, 1}, "http://a.cn"),
                                        linkAt(kExisting, "http://example.org")};
    StopAtPoll stop(2);
    EXPECT_FALSE(ParsePDFTextLink::checkRemoveAnnoFrom(list, 0, existing, stop));
    EXPECT_EQ(list.size(), 1u);
    EXPECT_EQ(stop.polls(), 2);
}
