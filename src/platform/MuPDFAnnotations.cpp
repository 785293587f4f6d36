// A page's annotations read straight from its /Annots array (the page is never loaded or
// rendered, which keeps books of thousands of pages fast), and new link annotations.
#include <algorithm>

#include "platform/MuPDFDocument.h"
#include "platform/MuPDFEngine.h"

namespace platform {
namespace {

Action readAction(const PdfObject::Handle& engine, const PdfObject& catalog,
                  const PdfObject& action) {
    Action result;
    std::string kind = action.get("S").name().value_or("");
    if (kind == "GoTo") {
        result.kind = Action::Kind::GoTo;
        result.destination = mupdf::readDestination(engine, catalog, action.get("D"));
    } else if (kind == "URI") {
        result.kind = Action::Kind::URL;
        result.url = action.get("URI").textString();
    } else if (kind == "Named") {
        result.kind = Action::Kind::Named;
        result.name = action.get("N").name().value_or("");
    }
    return result;
}

// The bounding box of each whole quadrilateral of eight numbers.
std::vector<Rect> readQuadPoints(const PdfObject& quadPoints) {
    std::vector<Rect> lines;
    const std::size_t count = quadPoints.arrayLength() / 8;
    for (std::size_t q = 0; q < count; ++q) {
        double minX = 0, minY = 0, maxX = 0, maxY = 0;
        for (std::size_t corner = 0; corner < 4; ++corner) {
            const double x = quadPoints.at(8 * q + 2 * corner).number().value_or(0);
            const double y = quadPoints.at(8 * q + 2 * corner + 1).number().value_or(0);
            minX = corner == 0 ? x : std::min(minX, x);
            maxX = corner == 0 ? x : std::max(maxX, x);
            minY = corner == 0 ? y : std::min(minY, y);
            maxY = corner == 0 ? y : std::max(maxY, y);
        }
        lines.push_back(Rect{minX, minY, maxX - minX, maxY - minY});
    }
    return lines;
}

Annotation readAnnotation(const PdfObject::Handle& engine, const PdfObject& catalog,
                          const PdfObject& dictionary) {
    Annotation annotation;
    annotation.type = dictionary.get("Subtype").name().value_or("");
    annotation.bounds = dictionary.get("Rect").rectangle().value_or(Rect{});
    annotation.lines = readQuadPoints(dictionary.get("QuadPoints"));
    PdfObject action = dictionary.get("A").dictionary();
    if (!action.isNull()) annotation.mouseUpAction = readAction(engine, catalog, action);
    if (annotation.type != "Link") return annotation;

    const std::optional<Action>& mouseUp = annotation.mouseUpAction;
    if (mouseUp && mouseUp->kind == Action::Kind::URL) annotation.url = mouseUp->url;
    PdfObject dest = dictionary.get("Dest");
    if (!dest.isNull()) {
        annotation.destination = mupdf::readDestination(engine, catalog, dest);
    } else if (mouseUp && mouseUp->kind == Action::Kind::GoTo) {
        annotation.destination = mouseUp->destination;
    }
    return annotation;
}

// The /Border [0 0 0] of new links. One array serves many links: a book gains thousands of
// them, and an array of its own costs each five allocations and about 160 bytes. A fresh one is
// made every kLinksPerBorder links, as the engine counts the references to an object in 16 bits.
class SharedBorder {
public:
    static constexpr int kLinksPerBorder = 4096;

    SharedBorder(fz_context* ctx, pdf_document* doc) : ctx_(ctx), doc_(doc) {}
    ~SharedBorder() { pdf_drop_obj(ctx_, border_); }
    SharedBorder(const SharedBorder&) = delete;
    SharedBorder& operator=(const SharedBorder&) = delete;

    // The array for the next link; null when the engine cannot make one.
    pdf_obj* next() {
        if (border_ == nullptr || uses_ == kLinksPerBorder) {
            pdf_drop_obj(ctx_, border_);
            border_ = newBorder(ctx_, doc_);
            uses_ = 0;
        }
        ++uses_;
        return border_;
    }

private:
    static pdf_obj* newBorder(fz_context* ctx, pdf_document* doc) {
        pdf_obj* border = nullptr;
        fz_var(border);
        fz_try(ctx) {
            border = pdf_new_array(ctx, doc, 3);
            for (int i = 0; i < 3; ++i) pdf_array_push_int(ctx, border, 0);
        }
        fz_catch(ctx) {
            pdf_drop_obj(ctx, border);
            border = nullptr;
        }
        return border;
    }

    fz_context* ctx_;
    pdf_document* doc_;
    pdf_obj* border_ = nullptr;
    int uses_ = 0;
};

// Builds << /Type /Annot /Subtype /Link /Rect [...] /Border [0 0 0] /A <</S /URI /URI (...)>> >>
// (with /QuadPoints when quadCount quadrilaterals of eight numbers are given) and appends a
// reference to it to the page's /Annots, creating the array when there is none. border is the
// [0 0 0] to use, null when none could be made.
Status appendLink(fz_context* ctx, pdf_document* doc, pdf_obj* page, fz_rect rect, const char* url,
                  size_t urlLength, const float* quads, size_t quadCount, pdf_obj* border) {
    pdf_obj* link = nullptr;
    pdf_obj* reference = nullptr;
    fz_var(link);
    fz_var(reference);
    fz_try(ctx) {
        if (border == nullptr) fz_throw(ctx, FZ_ERROR_MEMORY, "cannot make a link's border");
        link = pdf_new_dict(ctx, doc, 5);
        pdf_dict_put(ctx, link, PDF_NAME(Type), PDF_NAME(Annot));
        pdf_dict_put(ctx, link, PDF_NAME(Subtype), PDF_NAME(Link));
        pdf_dict_put_rect(ctx, link, PDF_NAME(Rect), rect);
        pdf_dict_put(ctx, link, PDF_NAME(Border), border);
        if (quadCount > 0) {
            pdf_obj* points = pdf_dict_put_array(ctx, link, PDF_NAME(QuadPoints),
                                                 static_cast<int>(8 * quadCount));
            for (size_t i = 0; i < 8 * quadCount; ++i) pdf_array_push_real(ctx, points, quads[i]);
        }
        if (url != nullptr) {
            pdf_obj* action = pdf_dict_put_dict(ctx, link, PDF_NAME(A), 2);
            pdf_dict_put(ctx, action, PDF_NAME(S), PDF_NAME(URI));
            pdf_dict_put_string(ctx, action, PDF_NAME(URI), url, urlLength);
        }
        reference = pdf_add_object(ctx, doc, link);
        pdf_obj* annots = pdf_dict_get(ctx, page, PDF_NAME(Annots));
        if (!pdf_is_array(ctx, annots)) annots = pdf_dict_put_array(ctx, page, PDF_NAME(Annots), 1);
        pdf_array_push(ctx, annots, reference);
    }
    fz_always(ctx) {
        pdf_drop_obj(ctx, link);
        pdf_drop_obj(ctx, reference);
    }
    fz_catch(ctx) { return mupdf::errorFromCaught(ctx, Error::Code::Format); }
    return Done{};
}

}  // namespace

std::vector<Annotation> Document::annotations(int index) const {
    PdfObject annots = pageObject(index).get("Annots");
    std::size_t count = annots.arrayLength();
    std::vector<Annotation> result;
    for (std::size_t i = 0; i < count; ++i) {
        PdfObject entry = annots.at(i).dictionary();
        if (!entry.isNull()) result.push_back(annotation(entry));
    }
    return result;
}

Annotation Document::annotation(const PdfObject& dictionary) const {
    return readAnnotation(*m_->engine, catalog(), dictionary);
}

Status Document::addLinks(int index, std::span<const Annotation> links) {
    PdfObject page = pageObject(index);
    if (!page.isDictionary()) {
        return makeError(Error::Code::Argument, "no page " + std::to_string(index + 1));
    }
    Status firstFailure = Done{};
    SharedBorder border(m_->engine->ctx, m_->engine->doc);
    for (const Annotation& link : links) {
        const Rect& bounds = link.bounds;
        fz_rect rect =
            fz_make_rect(static_cast<float>(bounds.minX()), static_cast<float>(bounds.minY()),
                         static_cast<float>(bounds.maxX()), static_cast<float>(bounds.maxY()));
        // Upper left, upper right, lower left, lower right: the order viewers read.
        std::vector<float> quads;
        for (const Rect& line : link.lines) {
            const auto x0 = static_cast<float>(line.minX()), x1 = static_cast<float>(line.maxX());
            const auto y0 = static_cast<float>(line.minY()), y1 = static_cast<float>(line.maxY());
            quads.insert(quads.end(), {x0, y1, x1, y1, x0, y0, x1, y0});
        }
        const std::optional<std::string>& url = link.url;
        Status added = appendLink(m_->engine->ctx, m_->engine->doc, PdfObjectAccess::raw(page),
                                  rect, url ? url->c_str() : nullptr, url ? url->size() : 0,
                                  quads.data(), link.lines.size(), border.next());
        if (!added && firstFailure) firstFailure = added;
    }
    return firstFailure;
}

}  // namespace platform
