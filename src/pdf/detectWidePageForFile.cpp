#include "pdf/detectWidePageForFile.h"

#include <cstdlib>
#include <limits>
#include <set>
#include <vector>

#include "pdf/CGPDFDocumentCreateX.h"

namespace pdf {
namespace {

std::int64_t truncatedWidth(double width) {
    if (!(width > 0)) return 0;
    if (width >= static_cast<double>(std::numeric_limits<std::int64_t>::max())) {
        return std::numeric_limits<std::int64_t>::max();
    }
    return static_cast<std::int64_t>(width);
}

// Truncated integer mean of a non-empty list.
template <class Widths>
std::int64_t integerMean(const Widths& widths) {
    std::int64_t sum = 0;
    for (std::int64_t width : widths) sum += width;
    return sum / static_cast<std::int64_t>(widths.size());
}

// bestDistance starts at the first width itself, not at its distance from the mean: a quirk of
// the original search that decides which width wins, kept as it is.
std::int64_t nearestToMean(const std::vector<std::int64_t>& widths) {
    std::int64_t mean = integerMean(widths);
    std::int64_t best = widths.front();
    std::int64_t bestDistance = widths.front();
    for (std::size_t i = 1; i < widths.size(); ++i) {
        std::int64_t distance = std::llabs(widths[i] - mean);
        if (bestDistance > distance) best = widths[i];
        bestDistance = std::min(bestDistance, distance);
    }
    return best;
}

std::int64_t estimateFromWidths(const std::set<std::int64_t>& widths) {
    if (widths.size() < 2) return 0;
    if (widths.size() == 2) {
        std::int64_t smaller = *widths.begin();
        std::int64_t larger = *widths.rbegin();
        return static_cast<double>(larger) * 0.8 > static_cast<double>(smaller) ? smaller : 0;
    }
    std::int64_t mean = integerMean(widths);
    std::vector<std::int64_t> atMostMean(widths.begin(), widths.upper_bound(mean));
    if (atMostMean.empty()) return *widths.begin();
    if (atMostMean.size() == 1) return atMostMean.front();
    return nearestToMean(atMostMean);
}

}  // namespace

std::int64_t detectWidePageForFile(const std::string& path,
                                   const std::optional<std::string>& password) {
    std::optional<platform::Document> document = CGPDFDocumentCreateX(path, password);
    return document ? detectWidePage(measurePages(*document)) : 0;
}

std::int64_t detectWidePage(const PageMeasures& measures) {
    std::set<std::int64_t> widths;
    for (const platform::Rect& box : measures.cropBoxes) widths.insert(truncatedWidth(box.width));
    return estimateFromWidths(widths);
}

}  // namespace pdf
