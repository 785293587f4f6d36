#pragma once
// One link added to a page the way the text-to-link job adds a page's links.

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/MuPDFDocument.h"

namespace testsupport {

inline platform::Status addLink(platform::Document& document, int index,
                                const platform::Rect& bounds, const std::optional<std::string>& url,
                                const std::vector<platform::Rect>& lines = {}) {
    platform::Annotation link;
    link.bounds = bounds;
    link.url = url;
    link.lines = lines;
    return document.addLinks(index, std::span<const platform::Annotation>(&link, 1));
}

}  // namespace testsupport
