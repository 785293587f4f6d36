#pragma once
// Wide pages: pages holding a two-page spread that the host shows as two pages. Measuring the
// pages, deciding which are wide and renumbering the pages of the divided book. Page numbers
// are one-based throughout.

#include <cstdint>
#include <vector>

#include "platform/MuPDFDocument.h"

namespace pdf {

// What the wide test needs of every page, in page order. Plain data: measured once per
// document and copied or shared by every page converter of a job.
struct PageMeasures {
    std::vector<int> widthsOfPDF;           // displayed width in points, truncated toward zero
    std::vector<float> aspectOfPDF;         // displayed width / displayed height
    std::vector<platform::Rect> cropBoxes;  // as the document gives them, not turned
    std::vector<int> rotations;             // 0, 90, 180 or 270
};

// The crop box of each page, its sides swapped when the page is turned by 90 or 270 degrees.
// A page that cannot be read measures 0 wide (and its aspect is not a number).
PageMeasures measurePages(const platform::Document& document);

class WidePages {
public:
    std::int64_t wideMode = 0;  // 0 off, 1 divide pages found wide, 2 (or more) every page
    bool isNewMode = false;     // the wide test compares aspects instead of widths
    double aspectRatio = 0;     // width / height of one single page (new mode)
    double pageWidth = 0;       // width of one single page in points (old mode)

    std::vector<int> widthsOfPDF;
    std::vector<float> aspectOfPDF;
    // Entry p - 1: the number, in the divided book, of the first page made from page p.
    std::vector<std::int64_t> indexesOfPDFDivided;

    // Replaces the two measure lists and appends 1..n to indexesOfPDFDivided (which it does not
    // empty first).
    void checkDetectWidePage(const platform::Document& document);
    void checkDetectWidePage(const PageMeasures& measures);

    // Page p is wide: every page when wideMode > 1; with wideMode 1, in new mode when its aspect
    // rounds to at least twice aspectRatio, in old mode when it is more than 1.8 pageWidth
    // wide. False for wideMode 0 and for a page outside the measured pages.
    bool isWidePageAt(std::int64_t page) const;

    // With wideMode other than 0, numbers the divided book again: a page divided in two takes
    // two numbers. wideMode 0 leaves the list alone.
    void collectNewPageOrder();

    // The divided-book number of page p's first half; p itself outside the known pages.
    std::int32_t NewPageIndexAt(std::int64_t page) const;
};

}  // namespace pdf
