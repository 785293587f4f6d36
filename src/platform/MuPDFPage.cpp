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
pdf_obj* inheritedEntry(fz_context* ctx, pdf_obj* node, pdf_obj* key) {
    pdf_obj* result = nullptr;
    fz_var(node);
    fz_var(result);
    fz_try(ctx) {
        for (int depth = 0; depth < kMaxTreeDepth && pdf_is_dict(ctx, node); ++depth) {
            pdf_obj* value = pdf_dict_get(ctx, node, key);
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
                         pdf_obj* key) {
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

int rotationOf(const std::shared_ptr<PdfObject::Handle>& engine, const PdfObject& page) {
    PdfObject rotate = inheritedEntry(engine, page, PDF_NAME(Rotate));
    return normalisedRotation(rotate.number().value_or(0));
}

Rect cropBoxOf(const std::shared_ptr<PdfObject::Handle>& engine, const PdfObject& page) {
    if (page.isNull()) return {};
    Rect mediaBox = inheritedEntry(engine, page, PDF_NAME(MediaBox)).rectangle().value_or(kLetter);
    std::optional<Rect> crop = inheritedEntry(engine, page, PDF_NAME(CropBox)).rectangle();
    if (!crop) return mediaBox;
    Rect clipped = intersection(*crop, mediaBox);
    return clipped.isEmpty() ? mediaBox : clipped;
}

}  // namespace

int Document::rotation(int index) const {
    if (!m_) return 0;
    return rotationOf(m_->engine, pageObject(index));
}

Rect Document::cropBox(int index) const {
    if (!m_) return {};
    return cropBoxOf(m_->engine, pageObject(index));
}

PageGeometry Document::pageGeometry(int index) const {
    if (!m_) return {};
    PdfObject page = pageObject(index);
    return {cropBoxOf(m_->engine, page), rotationOf(m_->engine, page)};
}

}  // namespace platform
