#include "platform/PublicSuffix.h"

#include <gtest/gtest.h>

using platform::isTopLevelDomain;

TEST(PublicSuffix, KnownTopLevelDomains) {
    for (const char* label : {"com", "org", "cn", "tv", "io", "COM", "Cn", "xyz", "xn--fiqs8s"}) {
        EXPECT_TRUE(isTopLevelDomain(label)) << label;
    }
}

TEST(PublicSuffix, UnknownOrMalformedLabels) {
    for (const char* label :
         {"", "notatld", "example", "zz", "localhost", "co.uk", "com.", "2", "c_m", "\xC3\xA9"}) {
        EXPECT_FALSE(isTopLevelDomain(label)) << label;
    }
    EXPECT_FALSE(isTopLevelDomain(std::string(64, 'a')));
}
