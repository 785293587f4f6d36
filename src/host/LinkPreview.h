#pragma once
// What a link preview shows: the links of a page, read from the worker's XML files or from the
// PDF's own link annotations, each as a rectangle and the target it leads to.
//
// The two XML dialects place links differently. A page-editor file ("pageAnnos") gives each
// "anno" a "location" with x, y, width and height as fractions of the displayed page (or half
// page), origin top-left. A slide file ("slide") gives each "element" a "style" with left, top,
// width and height in points of the page's crop box, whose size the slide's "info" holds.

#include <optional>
#include <string>
#include <vector>

#include "platform/Geometry.h"
#include "platform/MuPDFDocument.h"
#include "platform/result.h"

namespace host {

struct PreviewLink {
    // Fractions of the displayed page, origin top-left (until placed on a picture).
    platform::Rect frame;
    // The web address, or "page N" for a link to a page.
    std::string target;
    bool isPageLink = false;
    bool operator==(const PreviewLink&) const = default;
};

// The links of a page-editor or slide file, in file order. Format error for text that is neither.
platform::Result<std::vector<PreviewLink>> readLinkXml(const std::string& xml);

// Which part of a page a file describes: a divided page's files end in "-w0" and "-w1".
enum class PageHalf { Whole, First, Second };
PageHalf halfOfFile(const std::string& path);

// The page a file describes, from its name: "7.xml" and "7-w1.xml" are page 7. None when the
// name does not start with a number.
std::optional<int> pageNumberOfFile(const std::string& path);

// A frame given as fractions of a half page, as fractions of the whole page. In a right-to-left
// book the first half is the right one.
platform::Rect toWholePage(const platform::Rect& frame, PageHalf half, bool rightToLeft);

// The link annotations of a page (zero-based index) with their frames in PDF page space.
std::vector<PreviewLink> readPdfLinks(const platform::Document& document, int pageIndex);

}  // namespace host
