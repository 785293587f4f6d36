#pragma once
// The document of a -b job, opened once and shared by all page converters of the job: reading
// and measuring every page once keeps the job linear in the page count, while each converter
// still renumbers and writes its own page independently.

#include <memory>
#include <vector>

#include "platform/MuPDFDocument.h"

namespace convert {

struct JobDocument {
    platform::Document document;     // open and unlocked
    std::vector<int> widthsOfPDF;    // per page: displayed width in points, truncated
    std::vector<float> aspectOfPDF;  // per page: displayed width / displayed height
};

// Measures every page of an open, unlocked document and keeps it for sharing.
std::shared_ptr<const JobDocument> makeJobDocument(platform::Document document);

}  // namespace convert
