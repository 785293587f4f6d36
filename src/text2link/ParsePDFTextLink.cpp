// Placeholder until the text-to-link job lands.
#include "text2link/ParsePDFTextLink.h"

namespace text2link {
ParsePDFTextLink::ParsePDFTextLink() = default;
void ParsePDFTextLink::parse(const platform::StopFlag&, platform::Reporter& reporter) {
    reporter.log("this job is not available in this build");
}
void ParsePDFTextLink::parsePage(const platform::Document&, int, std::vector<platform::Annotation>&,
                                 const platform::StopFlag&) const {}
}  // namespace text2link
