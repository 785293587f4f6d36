// Placeholder until the text-to-link job lands.
#include "text2link/ParsePDFTextLink.h"

namespace text2link {
ParsePDFTextLink::ParsePDFTextLink() = default;
void ParsePDFTextLink::parse(const platform::StopFlag&, platform::Reporter& reporter) {
    reporter.log("this job is not available in this build");
}
}  // namespace text2link
