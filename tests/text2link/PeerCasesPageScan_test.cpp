// Every peer case through the page scan, as a page whose one line holds the case's text.
#include <gtest/gtest.h>

#include <cstdio>
#include <set>

#include "text2link/ParsePDFTextLink.h"
#include "text2link/PeerCases.h"

namespace {

using peercases::Link;

// Unit i of the text sits at x = 10 i; line breaks get no box, so a link's bounds give back
// the units it covers.
platform::PageText pageOf(const std::u16string& text) {
    platform::PageText page;
    page.text = text;
    for (std::size_t i = 0; i < text.size(); ++i) {
        page.boxes.push_back(text[i] == u'\n' ? platform::Rect{}
                                              : platform::Rect{10.0 * i, 100, 10, 12});
    }
    return page;
}

std::vector<Link> scan(const std::string& text) {
    const std::u16string units = platform::toUTF16(text);
    std::vector<platform::Annotation> found;
    text2link::ParsePDFTextLink job;
    job.parsePageText(pageOf(units), found, platform::NeverStop());
    std::vector<Link> links;
    for (const platform::Annotation& annotation : found) {
        const auto start = static_cast<std::size_t>(annotation.bounds.x / 10);
        const auto length = static_cast<std::size_t>(annotation.bounds.width / 10);
        links.push_back({start, platform::toUTF8(units.substr(start, length)),
                         annotation.url.value_or("(none)")});
    }
    return links;
}

const std::map<std::string, peercases::Difference>& differences() {
    static const auto listed = peercases::readDifferences();
    return listed;
}

class PeerSuite : public testing::TestWithParam<std::string> {};

TEST_P(PeerSuite, PageScanGivesThePeersLinks) {
    const peercases::Suite suite = peercases::readSuite(GetParam());
    ASSERT_FALSE(suite.cases.empty());
    int agreeing = 0, counted = 0, different = 0, linked = 0;
    for (const peercases::Case& c : suite.cases) {
        const std::vector<Link> ours = scan(c.text);
        linked += !ours.empty();
        auto listed = differences().find(c.id);
        if (listed != differences().end()) {
            ++different;
            EXPECT_TRUE(peercases::agrees(ours, listed->second.links, false))
                << c.id << " \"" << c.text << "\": listed as " << describe(listed->second.links)
                << "but gives " << describe(ours);
            continue;
        }
        ++counted;
        if (peercases::agrees(ours, c.links, suite.firstLinkOnly)) {
            ++agreeing;
        } else {
            ADD_FAILURE() << c.id << " \"" << c.text << "\": the peer finds " << describe(c.links)
                          << "we find " << describe(ours);
        }
    }
    std::printf(
        "[ agreement ] %s (%s): %d of %d cases agree (%.1f %%), %d answered differently "
        "on purpose, %d of %d cases give a link\n",
        suite.name.c_str(), suite.source.c_str(), agreeing, counted,
        counted ? 100.0 * agreeing / counted : 100.0, different, linked,
        static_cast<int>(suite.cases.size()));
}

INSTANTIATE_TEST_SUITE_P(PeerCases, PeerSuite, testing::ValuesIn(peercases::suiteNames()),
                         [](const testing::TestParamInfo<std::string>& info) {
                             std::string name = info.param;
                             for (char& c : name) c = c == '-' ? '_' : c;
                             return name;
                         });

TEST(PeerCases, EveryListedDifferenceIsACaseOfASuite) {
    std::set<std::string> ids;
    for (const std::string& name : peercases::suiteNames()) {
        for (const peercases::Case& c : peercases::readSuite(name).cases) ids.insert(c.id);
    }
    for (const auto& [id, difference] : differences()) {
        EXPECT_TRUE(ids.count(id)) << id << " is listed in differences.tsv but is no case";
    }
}

}  // namespace
