#pragma once
// The text-to-link job (-a) and the link text tests it is built on. The front end sets the job
// properties and calls parse once; the conversion writers use parsePage on single pages.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/MuPDFDocument.h"
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

    // Appends one new link (type "Link", bounds of its text, URL when one could be made) per
    // web address, e-mail address or phone number found in the text of the zero-based page.
    void parsePage(const platform::Document& document, int pageIndex,
                   std::vector<platform::Annotation>& list, const platform::StopFlag& stop) const;
};

}  // namespace text2link
