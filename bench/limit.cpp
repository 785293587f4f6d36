// The limit program: the least work MuPDF must do for each job, so the jobs' figures can be read
// as ratios to it.
//
//   limit a <book.pdf> <outdir> [page]  read every page's /Annots dictionaries (subtype, rect,
//                                        URI or destination) and write one small XML file a page
//   limit b <book.pdf> [page]           build every page's text with character boxes
//   limit c <book.pdf> [page]           b, plus one link annotation per address or number found
//                                        in the text, saved incrementally over the input
//
// With a page number only that page is walked (the one-page job). Every mode loads MuPDF's page
// map first, since without it each page lookup walks the page tree and a whole book costs time
// quadratic in its pages. Written the way MuPDF's own tools are, in C style: every MuPDF call
// sits under the one fz_try in main, and nothing with a destructor is alive while MuPDF may jump.

#include <mupdf/fitz.h>
#include <mupdf/pdf.h>

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

// MuPDF 1.21 hands out one more reference to a page object found through the page map than it
// keeps for itself (pdf_lookup_page_obj, and so pdf_load_page); without giving it back, every
// page dictionary outlives the document.
void dropMapReference(fz_context* ctx, pdf_obj* page) {
#if FZ_VERSION_MAJOR == 1 && FZ_VERSION_MINOR == 21
    pdf_drop_obj(ctx, page);
#else
    (void)ctx;
    (void)page;
#endif
}

struct Walk {
    int first;  // zero-based
    int last;   // exclusive
};

Walk walkOf(int pageCount, const char* pageArgument) {
    if (!pageArgument) return {0, pageCount};
    int page = std::atoi(pageArgument);
    if (page < 1 || page > pageCount) return {0, 0};
    return {page - 1, page};
}

// ---- mode a ---------------------------------------------------------------------------------

// The target of an annotation in the form the page-editor XML needs it, or "" when it has none.
void targetOf(fz_context* ctx, pdf_document* doc, pdf_obj* annot, char* out, size_t size) {
    out[0] = 0;
    pdf_obj* action = pdf_dict_get(ctx, annot, PDF_NAME(A));
    if (!action) action = pdf_dict_getp(ctx, annot, "AA/D");
    pdf_obj* dest = pdf_dict_get(ctx, annot, PDF_NAME(Dest));
    if (action && pdf_name_eq(ctx, pdf_dict_get(ctx, action, PDF_NAME(S)), PDF_NAME(URI))) {
        fz_snprintf(out, size, "url:%s", pdf_dict_get_text_string(ctx, action, PDF_NAME(URI)));
        return;
    }
    if (action && pdf_name_eq(ctx, pdf_dict_get(ctx, action, PDF_NAME(S)), PDF_NAME(Named))) {
        fz_snprintf(out, size, "named:%s", pdf_dict_get_name(ctx, action, PDF_NAME(N)));
        return;
    }
    if (action) dest = pdf_dict_get(ctx, action, PDF_NAME(D));
    if (pdf_is_array(ctx, dest)) {
        int page = pdf_lookup_page_number(ctx, doc, pdf_array_get(ctx, dest, 0));
        fz_snprintf(out, size, "page:%d", page + 1);
    }
}

// Writes the annotation's rectangle as fractions of the displayed crop box, top-left origin.
void writeLocation(FILE* file, fz_rect r, fz_rect crop, int rotate) {
    double w = crop.x1 - crop.x0, h = crop.y1 - crop.y0;
    double x = (r.x0 - crop.x0) / w, y = (r.y0 - crop.y0) / h;
    double fw = (r.x1 - r.x0) / w, fh = (r.y1 - r.y0) / h;
    if (rotate == 90 || rotate == 270) {
        double t = x;
        x = rotate == 90 ? y : 1 - y - fh;
        y = rotate == 90 ? 1 - t - fw : t;
        t = fw;
        fw = fh;
        fh = t;
    }
    std::fprintf(file, "<location x=\"%f\" y=\"%f\" width=\"%f\" height=\"%f\"/>", x, 1 - (y + fh),
                 fw, fh);
}

void writePageAnnotations(fz_context* ctx, pdf_document* doc, int index, const char* outdir) {
    pdf_obj* page = pdf_lookup_page_obj(ctx, doc, index);
    fz_rect media = pdf_to_rect(ctx, pdf_dict_get_inheritable(ctx, page, PDF_NAME(MediaBox)));
    pdf_obj* cropObject = pdf_dict_get_inheritable(ctx, page, PDF_NAME(CropBox));
    fz_rect crop = cropObject ? fz_intersect_rect(pdf_to_rect(ctx, cropObject), media) : media;
    int rotate = pdf_to_int(ctx, pdf_dict_get_inheritable(ctx, page, PDF_NAME(Rotate)));
    pdf_obj* annots = pdf_dict_get(ctx, page, PDF_NAME(Annots));
    char path[4096], target[2048];
    fz_snprintf(path, sizeof path, "%s/%d.xml", outdir, index + 1);
    FILE* file = std::fopen(path, "wb");
    if (!file) fz_throw(ctx, FZ_ERROR_GENERIC, "cannot write %s", path);
    std::fputs("<pageAnnos pageIndex=\"0\">", file);
    int count = pdf_array_len(ctx, annots);
    for (int i = 0; i < count; ++i) {
        pdf_obj* annot = pdf_array_get(ctx, annots, i);
        targetOf(ctx, doc, annot, target, sizeof target);
        if (!target[0]) continue;
        std::fprintf(file, "<anno type=\"%s\"><action>%s</action>",
                     pdf_dict_get_name(ctx, annot, PDF_NAME(Subtype)), target);
        writeLocation(file, pdf_dict_get_rect(ctx, annot, PDF_NAME(Rect)), crop, rotate);
        std::fputs("</anno>", file);
    }
    std::fputs("</pageAnnos>", file);
    std::fclose(file);
    dropMapReference(ctx, page);
}

// Every page's width first (the conversion must know the book's normal page width before it can
// tell a spread), then every page's annotations.
int runAnnotations(fz_context* ctx, const char* path, const char* outdir, const char* page) {
    pdf_document* doc = pdf_open_document(ctx, path);
    pdf_load_page_tree(ctx, doc);
    int pageCount = pdf_count_pages(ctx, doc);
    Walk walk = walkOf(pageCount, page);
    double widest = 0;
    for (int i = 0; i < pageCount; ++i) {
        pdf_obj* pageObject = pdf_lookup_page_obj(ctx, doc, i);
        fz_rect box =
            pdf_to_rect(ctx, pdf_dict_get_inheritable(ctx, pageObject, PDF_NAME(MediaBox)));
        if (box.x1 - box.x0 > widest) widest = box.x1 - box.x0;
        dropMapReference(ctx, pageObject);
    }
    for (int i = walk.first; i < walk.last; ++i) writePageAnnotations(ctx, doc, i, outdir);
    pdf_drop_page_tree(ctx, doc);
    pdf_drop_document(ctx, doc);
    return widest > 0 ? walk.last - walk.first : -1;
}

// ---- modes b and c ----------------------------------------------------------------------------

constexpr int kLineMax = 4096;

struct Line {
    char text[kLineMax];
    fz_rect boxes[kLineMax];
    int length;
};

void readLine(fz_stext_line* line, Line* out) {
    out->length = 0;
    for (fz_stext_char* c = line->first_char; c && out->length < kLineMax; c = c->next) {
        out->text[out->length] = c->c < 128 ? static_cast<char>(c->c) : '?';
        out->boxes[out->length] = fz_rect_from_quad(c->quad);
        ++out->length;
    }
}

int digitCount(const char* text, int length) {
    int digits = 0;
    for (int i = 0; i < length; ++i) {
        if (std::isdigit(static_cast<unsigned char>(text[i])))
            ++digits;
        else if (text[i] != '-')
            return 0;
    }
    return digits;
}

bool isFind(const char* word, int length) {
    char text[kLineMax + 1];
    std::memcpy(text, word, length);
    text[length] = 0;
    return std::strstr(text, "http") || std::strstr(text, "www.") || std::strchr(text, '@') ||
           digitCount(text, length) >= 10;
}

// Adds one link per word of the line that looks like an address or a number; returns the count.
int linkFinds(fz_context* ctx, fz_page* page, const Line* line) {
    int finds = 0;
    for (int start = 0; start < line->length;) {
        int end = start;
        while (end < line->length && line->text[end] != ' ') ++end;
        if (end > start && isFind(line->text + start, end - start)) {
            fz_rect box = fz_empty_rect;
            for (int i = start; i < end; ++i) box = fz_union_rect(box, line->boxes[i]);
            char uri[kLineMax + 8];
            fz_snprintf(uri, sizeof uri, "https://%.*s", end - start, line->text + start);
            fz_drop_link(ctx, fz_create_link(ctx, page, box, uri));
            ++finds;
        }
        start = end + 1;
    }
    return finds;
}

int scanPage(fz_context* ctx, fz_page* page, bool addLinks) {
    static Line line;
    fz_stext_page* text = fz_new_stext_page_from_page(ctx, page, nullptr);
    int found = 0;
    for (fz_stext_block* block = text->first_block; block; block = block->next) {
        if (block->type != FZ_STEXT_BLOCK_TEXT) continue;
        for (fz_stext_line* l = block->u.t.first_line; l; l = l->next) {
            readLine(l, &line);
            found += addLinks ? linkFinds(ctx, page, &line) : line.length;
        }
    }
    fz_drop_stext_page(ctx, text);
    return found;
}

int runText(fz_context* ctx, const char* path, const char* page, bool addLinks) {
    pdf_document* doc = pdf_open_document(ctx, path);
    pdf_load_page_tree(ctx, doc);
    Walk walk = walkOf(pdf_count_pages(ctx, doc), page);
    int found = 0;
    for (int i = walk.first; i < walk.last; ++i) {
        pdf_page* p = pdf_load_page(ctx, doc, i);
        dropMapReference(ctx, p->obj);
        found += scanPage(ctx, &p->super, addLinks);
        fz_drop_page(ctx, &p->super);
    }
    if (addLinks) {
        pdf_write_options options = pdf_default_write_options;
        options.do_incremental = 1;
        pdf_save_document(ctx, doc, path, &options);
    }
    pdf_drop_page_tree(ctx, doc);
    pdf_drop_document(ctx, doc);
    return found;
}

int usage() {
    std::fprintf(stderr,
                 "usage: limit a <book.pdf> <outdir> [page]\n"
                 "       limit b|c <book.pdf> [page]\n");
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3 || std::strlen(argv[1]) != 1) return usage();
    char mode = argv[1][0];
    if ((mode == 'a' && argc < 4) || (mode != 'a' && mode != 'b' && mode != 'c')) return usage();
    fz_context* ctx = fz_new_context(nullptr, nullptr, FZ_STORE_DEFAULT);
    if (!ctx) return 1;
    fz_register_document_handlers(ctx);
    int result = -1;
    fz_var(result);
    fz_try(ctx) {
        if (mode == 'a')
            result = runAnnotations(ctx, argv[2], argv[3], argc > 4 ? argv[4] : nullptr);
        else
            result = runText(ctx, argv[2], argc > 3 ? argv[3] : nullptr, mode == 'c');
    }
    fz_catch(ctx) { std::fprintf(stderr, "limit: %s\n", fz_caught_message(ctx)); }
    fz_drop_context(ctx);
    if (result < 0) return 1;
    std::printf("%d\n", result);
    return 0;
}
