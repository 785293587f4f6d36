#pragma once
// The text-to-link job (-a) and the link text tests it is built on. The front end sets the job
// properties and calls parse once; the conversion writers use parsePage on single pages.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/Reporter.h"
#include "platform/StopFlag.h"

namespace text2link {

class ParsePDFTextLink {
public:
    ParsePDFTextLink();  // builds schumeKeys and domainKeys; parseType 3

    std::vector<std::u16string> schumeKeys;
    std::vector<std::u16string> domainKeys;
    std::string pdfFile;
    std::string pageRange;
    std::optional<std::string> password;
    std::int64_t parseType = 3;
    std::optional<std::string> taskID;

    // Runs the whole job; reports progress through the reporter and saves over pdfFile.
    void parse(const platform::StopFlag& stop, platform::Reporter& reporter);
};

}  // namespace text2link
