// A page's text as the engine's structured-text device sees it, with every character's box taken
// back from the engine's display space into PDF page space.
#include <algorithm>
#include <cmath>

#include "platform/MuPDFDocument.h"
#include "platform/MuPDFEngine.h"
#include "platform/StopRelay.h"

namespace platform {
namespace {

struct PageDeleter {
    fz_context* ctx;
    void operator()(fz_page* page) const { fz_drop_page(ctx, page); }
};
struct TextDeleter {
    fz_context* ctx;
    void operator()(fz_stext_page* text) const { fz_drop_stext_page(ctx, text); }
};

Result<pdf_page*> loadPage(fz_context* ctx, pdf_document* doc, int index, bool fromMap) {
    pdf_page* page = nullptr;
    fz_var(page);
    fz_try(ctx) {
        page = pdf_load_page(ctx, doc, index);
        // The surplus reference; the page keeps its own. Only a first load of the page looks it
        // up, and pageText drops every page it loads before it returns.
        if (fromMap) pdf_drop_obj(ctx, page->obj);
    }
    fz_catch(ctx) { return mupdf::errorFromCaught(ctx, Error::Code::Format); }
    return page;
}

struct DeviceDeleter {
    fz_context* ctx;
    void operator()(fz_device* device) const { fz_drop_device(ctx, device); }
};
using OwnedText = std::unique_ptr<fz_stext_page, TextDeleter>;

Result<fz_stext_page*> newTextPage(fz_context* ctx, pdf_page* page) {
    fz_stext_page* text = nullptr;
    fz_var(text);
    fz_try(ctx) { text = fz_new_stext_page(ctx, pdf_bound_page(ctx, page)); }
    fz_catch(ctx) { return mupdf::errorFromCaught(ctx, Error::Code::Format); }
    return text;
}

Result<fz_device*> newTextDevice(fz_context* ctx, fz_stext_page* text) {
    fz_device* device = nullptr;
    fz_var(device);
    fz_try(ctx) {
        fz_stext_options options = {0, 1};
        device = fz_new_stext_device(ctx, text, &options);
    }
    fz_catch(ctx) { return mupdf::errorFromCaught(ctx, Error::Code::Format); }
    return device;
}

Status closeDevice(fz_context* ctx, fz_device* device) {
    fz_try(ctx) { fz_close_device(ctx, device); }
    fz_catch(ctx) { return mupdf::errorFromCaught(ctx, Error::Code::Format); }
    return Done{};
}

// Runs the page's content stream only: the text of annotations and form fields is not page
// text.
Result<OwnedText> readStructuredText(fz_context* ctx, pdf_page* page, fz_cookie* cookie) {
    Result<fz_stext_page*> made = newTextPage(ctx, page);
    if (!made) return made.error();
    OwnedText text(*made, TextDeleter{ctx});
    Result<fz_device*> device = newTextDevice(ctx, text.get());
    if (!device) return device.error();
    std::unique_ptr<fz_device, DeviceDeleter> owned(*device, DeviceDeleter{ctx});
    Status run = mupdf::runPageContents(ctx, page, owned.get(), cookie);
    if (!run) return run.error();
    Status closed = closeDevice(ctx, owned.get());
    if (!closed) return closed.error();
    return text;
}

// The page's structured text; with a relay, the stop flag is heard while the engine runs the
// page, and a page cut short by it has no text.
Result<OwnedText> readStopping(fz_context* ctx, pdf_page* page, StopRelay* relay,
                               const StopFlag& stop, int index) {
    fz_cookie cookie = {};
    Result<OwnedText> text = [&] {
        ArmedStopRelay armed(*relay, stop, cookie.abort);
        return readStructuredText(ctx, page, &cookie);
    }();
    if (cookie.abort != 0) {
        return makeError(Error::Code::Format,
                         "stopped while page " + std::to_string(index + 1) + " was read");
    }
    return text;
}

// From the engine's display space (top-left origin, rotated) back to PDF page space.
Result<fz_matrix> displayToPageSpace(fz_context* ctx, pdf_page* page) {
    fz_matrix ctm = fz_identity;
    fz_var(ctm);
    fz_try(ctx) {
        fz_rect mediabox;
        pdf_page_transform(ctx, page, &mediabox, &ctm);
    }
    fz_catch(ctx) { return mupdf::errorFromCaught(ctx, Error::Code::Format); }
    return fz_invert_matrix(ctm);
}

float transformedX(fz_point p, const fz_matrix& m) { return p.x * m.a + p.y * m.c + m.e; }
float transformedY(fz_point p, const fz_matrix& m) { return p.x * m.b + p.y * m.d + m.f; }
float min4(float a, float b, float c, float d) { return fz_min(fz_min(a, b), fz_min(c, d)); }
float max4(float a, float b, float c, float d) { return fz_max(fz_max(a, b), fz_max(c, d)); }

// A coordinate that is infinite or not a number makes the sum so; a sum that overflows only
// sends a finite quad the engine's way, which gives the same box.
bool isFinite(const fz_quad& q) {
    return std::isfinite(q.ll.x + q.ll.y + q.lr.x + q.lr.y + q.ul.x + q.ul.y + q.ur.x + q.ur.y);
}

// The engine's own arithmetic (fz_transform_quad, then fz_rect_from_quad's minima and maxima in
// its order), written out: through its functions it cost two calls for every character of every
// page. Quads the engine treats apart, with coordinates that are not finite, take its path.
CharBox toPageBox(const fz_quad& q, const fz_matrix& toPage) {
    if (!isFinite(q)) {
        const fz_rect r = fz_rect_from_quad(fz_transform_quad(q, toPage));
        return CharBox::corners(r.x0, r.y0, r.x1, r.y1);
    }
    const float llx = transformedX(q.ll, toPage), lly = transformedY(q.ll, toPage);
    const float lrx = transformedX(q.lr, toPage), lry = transformedY(q.lr, toPage);
    const float ulx = transformedX(q.ul, toPage), uly = transformedY(q.ul, toPage);
    const float urx = transformedX(q.ur, toPage), ury = transformedY(q.ur, toPage);
    return CharBox::corners(min4(llx, lrx, ulx, urx), min4(lly, lry, uly, ury),
                            max4(llx, lrx, ulx, urx), max4(lly, lry, uly, ury));
}

void appendCodePoint(PageText& out, int c, const CharBox& box) {
    if (c < 0 || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) c = 0xFFFD;
    if (c > 0xFFFF) {
        c -= 0x10000;
        out.text.push_back(static_cast<char16_t>(0xD800 + (c >> 10)));
        out.text.push_back(static_cast<char16_t>(0xDC00 + (c & 0x3FF)));
        out.boxes.insert(out.boxes.end(), 2, box);
    } else {
        out.text.push_back(static_cast<char16_t>(c));
        out.boxes.push_back(box);
    }
}

void appendLine(PageText& out, const fz_stext_line& line, const fz_matrix& toPage) {
    if (line.first_char == nullptr) return;
    if (!out.text.empty()) appendCodePoint(out, '\n', CharBox{});
    for (const fz_stext_char* ch = line.first_char; ch != nullptr; ch = ch->next) {
        appendCodePoint(out, ch->c, toPageBox(ch->quad, toPage));
    }
}

PageText collectText(const fz_stext_page& text, const fz_matrix& toPage) {
    PageText out;
    for (const fz_stext_block* block = text.first_block; block; block = block->next) {
        if (block->type != FZ_STEXT_BLOCK_TEXT) continue;
        for (const fz_stext_line* line = block->u.t.first_line; line; line = line->next) {
            appendLine(out, *line, toPage);
        }
    }
    return out;
}

// relay, when given, passes stop on to the engine's run of the page.
Result<PageText> readPageText(const Document& document, PdfObject::Handle& engine, StopRelay* relay,
                              const StopFlag& stop, int index) {
    if (!engine.unlocked || index < 0 || index >= document.pageCount()) {
        return makeError(Error::Code::Argument, "no page " + std::to_string(index + 1));
    }
    // The engine refuses some pages only after its lookup took a reference it keeps; such a
    // page has no page object here and is never handed to it. Nor is a page whose loading
    // would recurse too deep.
    fz_context* ctx = engine.ctx;
    PdfObject page = document.pageObject(index);
    if (page.isNull() || !mupdf::isPageLoadBounded(ctx, engine.doc, PdfObjectAccess::raw(page))) {
        return makeError(Error::Code::Format,
                         "page " + std::to_string(index + 1) + " cannot be read");
    }
    Result<pdf_page*> loaded =
        loadPage(ctx, engine.doc, index, mupdf::isPageFromMap(engine, index));
    if (!loaded) return loaded.error();
    std::unique_ptr<fz_page, PageDeleter> loadedPage(&(*loaded)->super, PageDeleter{ctx});
    Result<fz_matrix> toPage = displayToPageSpace(ctx, *loaded);
    if (!toPage) return toPage.error();
    Result<OwnedText> text = relay ? readStopping(ctx, *loaded, relay, stop, index)
                                   : readStructuredText(ctx, *loaded, nullptr);
    if (!text) return text.error();
    PageText pageText = collectText(**text, *toPage);
    pageText.cropBox = document.cropBox(index);
    return pageText;
}

}  // namespace

Result<PageText> Document::pageText(int index) const {
    if (!m_) return makeError(Error::Code::Argument, "no page " + std::to_string(index + 1));
    return readPageText(*this, *m_->engine, nullptr, NeverStop(), index);
}

Result<PageText> Document::pageText(int index, const StopFlag& stop) const {
    if (!m_) return makeError(Error::Code::Argument, "no page " + std::to_string(index + 1));
    return readPageText(*this, *m_->engine, &m_->stopRelay, stop, index);
}

}  // namespace platform
