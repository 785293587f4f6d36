// Page geometry read from the page dictionary and its /Parent chain, without loading the page.
#include <algorithm>
#include <cmath>

#include "platform/MuPDFDocument.h"
#include "platform/MuPDFEngine.h"

namespace platform {
namespace {

// Deep enough for any real page tree; stops a /Parent cycle.
constexpr int kMaxTreeDepth = 64;

// The engine's own fallback for a page without a usable media box: US Letter.
constexpr Rect kLetter{0, 0, 612, 792};

// The entry of the node or of its nearest ancestor that has one. The whole walk is one engine
// call: every page of a book is measured, most of them through two or three ancestors.
pdf_obj* inheritedEntry(fz_context* ctx, pdf_obj* node, const char* key) {
    pdf_obj* result = nullptr;
    fz_var(node);
    fz_var(result);
    fz_try(ctx) {
        for (int depth = 0; depth < kMaxTreeDepth && pdf_is_dict(ctx, node); ++depth) {
            pdf_obj* value = pdf_dict_gets(ctx, node, key);
            if (!pdf_is_null(ctx, value)) {
                result = value;
                break;
            }
            node = pdf_dict_get(ctx, node, PDF_NAME(Parent));
        }
    }
    fz_catch(ctx) { result = nullptr; }
    return result;
}

PdfObject inheritedEntry(const std::shared_ptr<PdfObject::Handle>& engine, const PdfObject& page,
                         const char* key) {
    if (page.isNull()) return {};
    return PdfObject(engine, inheritedEntry(engine->ctx, PdfObjectAccess::raw(page), key));
}

// 0, 90, 180 or 270 for any multiple of 90, negative and beyond a full turn included.
int normalisedRotation(double degrees) {
    if (!std::isfinite(degrees)) return 0;
    double turned = std::fmod(std::trunc(degrees), 360.0);
    if (turned < 0) turned += 360.0;
    int rotation = static_cast<int>(turned);
    return rotation % 90 == 0 ? rotation : 0;
}

Rect intersection(const Rect& a, const Rect& b) {
    double x0 = std::max(a.minX(), b.minX());
    double y0 = std::max(a.minY(), b.minY());
    double x1 = std::min(a.maxX(), b.maxX());
    double y1 = std::min(a.maxY(), b.maxY());
    if (x1 <= x0 || y1 <= y0) return {};
    return {x0, y0, x1 - x0, y1 - y0};
}

}  // namespace

int Document::rotation(int index) const {
    if (!m_) return 0;
    PdfObject rotate = inheritedEntry(m_->engine, pageObject(index), "Rotate");
    return normalisedRotation(rotate.number().value_or(0));
}

Rect Document::cropBox(int index) const {
    PdfObject page = pageObject(index);
    if (!m_ || page.isNull()) return {};
    Rect mediaBox = inheritedEntry(m_->engine, page, "MediaBox").rectangle().value_or(kLetter);
    std::optional<Rect> crop = inheritedEntry(m_->engine, page, "CropBox").rectangle();
    if (!crop) return mediaBox;
    Rect clipped = intersection(*crop, mediaBox);
    return clipped.isEmpty() ? mediaBox : clipped;
}

}  // namespace platform
