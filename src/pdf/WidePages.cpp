#include "pdf/WidePages.h"

#include <cmath>
#include <limits>

namespace pdf {
namespace {

// Truncated toward zero and held to the int range; a damaged box must not overflow it.
int truncatedWidth(double width) {
    if (!(width > 0)) return 0;
    if (width >= std::numeric_limits<int>::max()) return std::numeric_limits<int>::max();
    return static_cast<int>(width);
}

template <class List>
bool isKnownPage(const List& list, std::int64_t page) {
    return page >= 1 && page <= static_cast<std::int64_t>(list.size());
}

}  // namespace

PageMeasures measurePages(const platform::Document& document) {
    PageMeasures measures;
    int count = document.pageCount();
    for (int index = 0; index < count; ++index) {
        const platform::PageGeometry geometry = document.pageGeometry(index);
        const platform::Rect& box = geometry.cropBox;
        const int rotation = geometry.rotation;
        bool turned = rotation == 90 || rotation == 270;
        double width = turned ? box.height : box.width;
        double height = turned ? box.width : box.height;
        measures.widthsOfPDF.push_back(truncatedWidth(width));
        measures.aspectOfPDF.push_back(static_cast<float>(width / height));
        measures.cropBoxes.push_back(box);
        measures.rotations.push_back(rotation);
    }
    return measures;
}

void WidePages::checkDetectWidePage(const platform::Document& document) {
    checkDetectWidePage(measurePages(document));
}

void WidePages::checkDetectWidePage(const PageMeasures& measures) {
    widthsOfPDF = measures.widthsOfPDF;
    aspectOfPDF = measures.aspectOfPDF;
    for (std::size_t page = 1; page <= widthsOfPDF.size(); ++page) {
        indexesOfPDFDivided.push_back(static_cast<std::int64_t>(page));
    }
}

bool WidePages::isWidePageAt(std::int64_t page) const {
    if (isNewMode ? !isKnownPage(aspectOfPDF, page) : !isKnownPage(widthsOfPDF, page)) {
        return false;
    }
    if (wideMode > 1) return true;
    if (wideMode != 1) return false;
    if (isNewMode) {
        // 1e-7 keeps a zero reference aspect from dividing by zero.
        double aspect = aspectOfPDF[page - 1];
        return std::trunc(aspect / (aspectRatio + 1e-7) + 0.5) >= 2;
    }
    return widthsOfPDF[page - 1] > pageWidth * 1.8;
}

void WidePages::collectNewPageOrder() {
    if (wideMode == 0) return;
    indexesOfPDFDivided.clear();
    std::int64_t next = 1;
    for (std::int64_t page = 1; page <= static_cast<std::int64_t>(widthsOfPDF.size()); ++page) {
        indexesOfPDFDivided.push_back(next);
        // wideMode 3 and above test every page wide but divide none.
        bool divided = (isWidePageAt(page) && wideMode == 1) || wideMode == 2;
        next += divided ? 2 : 1;
    }
}

std::int32_t WidePages::NewPageIndexAt(std::int64_t page) const {
    if (!isKnownPage(indexesOfPDFDivided, page)) return static_cast<std::int32_t>(page);
    return static_cast<std::int32_t>(indexesOfPDFDivided[page - 1]);
}

}  // namespace pdf
