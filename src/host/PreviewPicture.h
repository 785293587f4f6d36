#pragma once
// A picture of one page with its links drawn over it: an outline around each link and a label
// naming its target, web links in blue and page links in red. Used to check by eye what the
// worker found or wrote.

#include <string>
#include <vector>

#include "host/LinkPreview.h"
#include "platform/MuPDFRender.h"
#include "platform/result.h"

namespace host {

inline constexpr platform::Rgb kWebLinkColor{0, 90, 200};
inline constexpr platform::Rgb kPageLinkColor{200, 40, 0};
inline constexpr platform::Rgb kDividerColor{140, 140, 140};
inline constexpr platform::Rgb kLabelBackground{255, 250, 205};

struct PreviewRequest {
    std::string pdf;
    std::string password;
    int page = 1;        // one-based
    double scale = 1.5;  // pixels per point
    bool rightToLeft = false;
    // The worker's files for the page; none: the PDF's own link annotations.
    std::vector<std::string> xmlFiles;
    std::string png;
};

// The longest label text; longer targets are cut and end in "...".
inline constexpr std::size_t kLabelLength = 60;
std::string toLabelText(const std::string& target);

struct Overlay {
    std::vector<platform::OverlayBox> boxes;
    std::vector<platform::OverlayLabel> labels;
};

// Boxes and labels for links whose frames are in pixels. A label sits on the box's top edge,
// outside when there is room above it, inside otherwise.
Overlay makeOverlay(const std::vector<PreviewLink>& links, double scale);

// Renders the page, draws its links and writes the PNG. Gives the number of links drawn.
platform::Result<std::size_t> writeLinkPreview(const PreviewRequest& request);

}  // namespace host
