#include "convert/JobDocument.h"

namespace convert {

namespace {

bool hasSettings(const pdf::WidePages& pages, std::int64_t wideMode, bool isNewMode,
                 double aspectRatio, double pageWidth) {
    return pages.wideMode == wideMode && pages.isNewMode == isNewMode &&
           pages.aspectRatio == aspectRatio && pages.pageWidth == pageWidth;
}

}  // namespace

JobDocument::JobDocument(platform::Document document)
    : document_(std::move(document)), measures_(pdf::measurePages(document_)) {}

platform::Rect JobDocument::cropBox(int index) const {
    if (index < 0 || static_cast<std::size_t>(index) >= measures_.cropBoxes.size()) return {};
    return measures_.cropBoxes[static_cast<std::size_t>(index)];
}

int JobDocument::rotation(int index) const {
    if (index < 0 || static_cast<std::size_t>(index) >= measures_.rotations.size()) return 0;
    return measures_.rotations[static_cast<std::size_t>(index)];
}

std::shared_ptr<const pdf::WidePages> JobDocument::widePagesFor(std::int64_t wideMode,
                                                                bool isNewMode, double aspectRatio,
                                                                double pageWidth) const {
    if (widePages_ && hasSettings(*widePages_, wideMode, isNewMode, aspectRatio, pageWidth)) {
        return widePages_;
    }
    auto pages = std::make_shared<pdf::WidePages>();
    pages->wideMode = wideMode;
    pages->isNewMode = isNewMode;
    pages->aspectRatio = aspectRatio;
    pages->pageWidth = pageWidth;
    pages->checkDetectWidePage(measures_);
    pages->collectNewPageOrder();
    widePages_ = pages;
    return widePages_;
}

}  // namespace convert
