#pragma once
// The document of a -b job, opened once and shared by all page converters of the job. Reading,
// measuring and numbering the pages once keeps the job linear in the page count, while each
// converter still writes its own page independently.

#include <cstdint>
#include <memory>

#include "pdf/WidePages.h"
#include "platform/MuPDFDocument.h"

namespace convert {

class JobDocument {
public:
    // Takes an open, unlocked document and measures its pages.
    explicit JobDocument(platform::Document document);

    const platform::Document& document() const { return document_; }
    const pdf::PageMeasures& measures() const { return measures_; }
    // The crop box and rotation of a zero-based page as measured at the start; an empty box and
    // 0 for a page the document does not have.
    platform::Rect cropBox(int index) const;
    int rotation(int index) const;

    // The pages measured, tested and numbered for these wide-page settings. The result for the
    // settings asked last is kept, so converters of one job (which all ask the same) share it.
    std::shared_ptr<const pdf::WidePages> widePagesFor(std::int64_t wideMode, bool isNewMode,
                                                       double aspectRatio, double pageWidth) const;

private:
    platform::Document document_;
    pdf::PageMeasures measures_;
    // A cache only; jobs run on one thread.
    mutable std::shared_ptr<const pdf::WidePages> widePages_;
};

}  // namespace convert
