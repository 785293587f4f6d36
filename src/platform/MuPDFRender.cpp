#include "platform/MuPDFRender.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <string>

#include "platform/MuPDFEngine.h"

namespace platform {
namespace {

using mupdf::errorFromCaught;

// A label's box: the text plus this share of its size on either side, 1.3 sizes high, the
// baseline one size below its top.
constexpr float kLabelMargin = 0.3f;
constexpr float kLabelHeight = 1.3f;

// What a pixmap's pixels look like, read while the engine may still throw.
struct PixmapView {
    int width = 0;
    int height = 0;
    int stride = 0;
    int components = 0;
    const unsigned char* samples = nullptr;
};

void toColor(Rgb rgb, float* color) {
    color[0] = rgb.red / 255.0f;
    color[1] = rgb.green / 255.0f;
    color[2] = rgb.blue / 255.0f;
}

// The tree's shape first: the engine's lookup itself could not cope with a tree too deep.
bool isPageReadable(fz_context* ctx, pdf_document* doc, int index, int count) {
    if (mupdf::readPageTreeShape(ctx, doc, count) == mupdf::PageTreeShape::Unreadable) {
        return false;
    }
    pdf_obj* page = mupdf::lookupPage(ctx, doc, index, false);
    const bool readable =
        mupdf::isParentChainReadable(ctx, page) && mupdf::isPageLoadBounded(ctx, doc, page);
    pdf_drop_obj(ctx, page);
    return readable;
}

// The page maps are never loaded here, so the engine's lookups hand out borrowed references; a
// page tree or /Parent chain the jobs refuse to read is refused here too.
Result<pdf_page*> loadPdfPage(fz_context* ctx, pdf_document* doc, int index) {
    const int count = mupdf::countPages(ctx, doc);
    if (index < 0 || index >= count) return makeError(Error::Code::Argument, "no such page");
    if (!isPageReadable(ctx, doc, index, count)) {
        return makeError(Error::Code::Format,
                         "page " + std::to_string(index + 1) + " cannot be read");
    }
    pdf_page* page = nullptr;
    fz_var(page);
    fz_try(ctx) { page = pdf_load_page(ctx, doc, index); }
    fz_catch(ctx) { return errorFromCaught(ctx, Error::Code::Format); }
    return page;
}

// Renders the page on white and notes how page space maps onto the pixmap's pixels.
Result<fz_pixmap*> renderOnWhite(fz_context* ctx, pdf_page* page, float scale,
                                 fz_matrix* pageToImage) {
    fz_pixmap* pixmap = nullptr;
    fz_device* device = nullptr;
    fz_var(pixmap);
    fz_var(device);
    fz_try(ctx) {
        fz_matrix pageToDevice;
        pdf_page_transform(ctx, page, nullptr, &pageToDevice);
        const fz_matrix zoom = fz_scale(scale, scale);
        const fz_irect box =
            fz_round_rect(fz_transform_rect(fz_bound_page(ctx, &page->super), zoom));
        pixmap = fz_new_pixmap_with_bbox(ctx, fz_device_rgb(ctx), box, nullptr, 0);
        fz_clear_pixmap_with_value(ctx, pixmap, 255);
        device = fz_new_draw_device(ctx, fz_identity, pixmap);
        fz_run_page(ctx, &page->super, device, zoom, nullptr);
        fz_close_device(ctx, device);
        *pageToImage =
            fz_concat(fz_concat(pageToDevice, zoom),
                      fz_translate(static_cast<float>(-box.x0), static_cast<float>(-box.y0)));
    }
    fz_always(ctx) { fz_drop_device(ctx, device); }
    fz_catch(ctx) {
        fz_drop_pixmap(ctx, pixmap);
        return errorFromCaught(ctx, Error::Code::Format);
    }
    return pixmap;
}

bool viewPixmap(fz_context* ctx, fz_pixmap* pixmap, PixmapView* view) {
    bool ok = false;
    fz_var(ok);
    fz_try(ctx) {
        view->width = fz_pixmap_width(ctx, pixmap);
        view->height = fz_pixmap_height(ctx, pixmap);
        view->stride = fz_pixmap_stride(ctx, pixmap);
        view->components = fz_pixmap_components(ctx, pixmap);
        view->samples = fz_pixmap_samples(ctx, pixmap);
        ok = true;
    }
    fz_catch(ctx) { ok = false; }
    return ok;
}

// Copies an RGB pixmap without alpha into an Image.
Result<Image> toImage(fz_context* ctx, fz_pixmap* pixmap) {
    PixmapView view;
    if (!viewPixmap(ctx, pixmap, &view) || view.components != 3 || view.width <= 0 ||
        view.height <= 0) {
        return makeError(Error::Code::Format, "not an RGB picture");
    }
    Image image{view.width, view.height, {}};
    const std::size_t row = static_cast<std::size_t>(view.width) * 3;
    image.pixels.resize(row * static_cast<std::size_t>(view.height));
    for (int y = 0; y < view.height; ++y) {
        std::memcpy(image.pixels.data() + row * y, view.samples + std::size_t(view.stride) * y,
                    row);
    }
    return image;
}

// A pixmap over the image's own pixels; drawing on it changes the image.
Result<fz_pixmap*> wrapImage(fz_context* ctx, Image& image) {
    fz_pixmap* pixmap = nullptr;
    fz_var(pixmap);
    fz_try(ctx) {
        pixmap = fz_new_pixmap_with_data(ctx, fz_device_rgb(ctx), image.width, image.height,
                                         nullptr, 0, image.width * 3, image.pixels.data());
    }
    fz_catch(ctx) { return errorFromCaught(ctx, Error::Code::System); }
    return pixmap;
}

Result<fz_device*> newDrawDevice(fz_context* ctx, fz_pixmap* pixmap) {
    fz_device* device = nullptr;
    fz_var(device);
    fz_try(ctx) { device = fz_new_draw_device(ctx, fz_identity, pixmap); }
    fz_catch(ctx) { return errorFromCaught(ctx, Error::Code::System); }
    return device;
}

bool closeDevice(fz_context* ctx, fz_device* device) {
    bool ok = false;
    fz_var(ok);
    fz_try(ctx) {
        fz_close_device(ctx, device);
        ok = true;
    }
    fz_catch(ctx) { ok = false; }
    return ok;
}

Result<fz_font*> labelFont(fz_context* ctx) {
    fz_font* font = nullptr;
    fz_var(font);
    fz_try(ctx) { font = fz_new_base14_font(ctx, "Helvetica"); }
    fz_catch(ctx) { return errorFromCaught(ctx, Error::Code::System); }
    return font;
}

// Fills (or, with a stroke state, outlines) the rectangle x0, y0 to x1, y1 in pixels.
bool paintRect(fz_context* ctx, fz_device* device, fz_rect r, const fz_stroke_state* stroke,
               const float* color) {
    fz_path* path = nullptr;
    bool ok = false;
    fz_var(path);
    fz_var(ok);
    fz_try(ctx) {
        path = fz_new_path(ctx);
        fz_rectto(ctx, path, r.x0, r.y0, r.x1, r.y1);
        if (stroke != nullptr) {
            fz_stroke_path(ctx, device, path, stroke, fz_identity, fz_device_rgb(ctx), color, 1,
                           fz_default_color_params);
        } else {
            fz_fill_path(ctx, device, path, 0, fz_identity, fz_device_rgb(ctx), color, 1,
                         fz_default_color_params);
        }
        ok = true;
    }
    fz_always(ctx) { fz_drop_path(ctx, path); }
    fz_catch(ctx) { ok = false; }
    return ok;
}

bool strokeBox(fz_context* ctx, fz_device* device, const OverlayBox& box) {
    float color[3];
    toColor(box.color, color);
    fz_stroke_state stroke = fz_default_stroke_state;
    stroke.refs = -2;  // on the stack: the engine must neither keep nor free it
    stroke.linewidth = static_cast<float>(box.lineWidth);
    const fz_rect r = {static_cast<float>(box.frame.minX()), static_cast<float>(box.frame.minY()),
                       static_cast<float>(box.frame.maxX()), static_cast<float>(box.frame.maxY())};
    return paintRect(ctx, device, r, &stroke, color);
}

// The advance of text set at size pixels; -1 when the engine fails.
float measureText(fz_context* ctx, fz_font* font, const char* text, float size) {
    float width = -1;
    fz_var(width);
    fz_try(ctx) {
        width = fz_measure_string(ctx, font, fz_scale(size, -size), text, 0, 0, FZ_BIDI_LTR,
                                  FZ_LANG_UNSET)
                    .e;
    }
    fz_catch(ctx) { width = -1; }
    return width;
}

bool showText(fz_context* ctx, fz_device* device, fz_font* font, const char* text, fz_matrix at,
              const float* color) {
    fz_text* line = nullptr;
    bool ok = false;
    fz_var(line);
    fz_var(ok);
    fz_try(ctx) {
        line = fz_new_text(ctx);
        fz_show_string(ctx, line, font, at, text, 0, 0, FZ_BIDI_LTR, FZ_LANG_UNSET);
        fz_fill_text(ctx, device, line, fz_identity, fz_device_rgb(ctx), color, 1,
                     fz_default_color_params);
        ok = true;
    }
    fz_always(ctx) { fz_drop_text(ctx, line); }
    fz_catch(ctx) { ok = false; }
    return ok;
}

bool showLabel(fz_context* ctx, fz_device* device, fz_font* font, const OverlayLabel& label) {
    const float size = static_cast<float>(label.size);
    const float width = measureText(ctx, font, label.text.c_str(), size);
    if (width < 0) return false;
    const float x = static_cast<float>(label.origin.x);
    const float y = static_cast<float>(label.origin.y);
    float background[3];
    float color[3];
    toColor(label.background, background);
    toColor(label.color, color);
    const fz_rect box = {x, y, x + width + 2 * kLabelMargin * size, y + kLabelHeight * size};
    fz_matrix at = fz_scale(size, -size);
    at.e = x + kLabelMargin * size;
    at.f = y + size;
    return paintRect(ctx, device, box, nullptr, background) &&
           showText(ctx, device, font, label.text.c_str(), at, color);
}

Status drawAll(fz_context* ctx, fz_device* device, const std::vector<OverlayBox>& boxes,
               const std::vector<OverlayLabel>& labels) {
    for (const OverlayBox& box : boxes) {
        if (!strokeBox(ctx, device, box)) return makeError(Error::Code::System, "cannot draw");
    }
    if (labels.empty()) return Done{};
    Result<fz_font*> font = labelFont(ctx);
    if (!font) return font.error();
    bool ok = true;
    for (const OverlayLabel& label : labels) ok = ok && showLabel(ctx, device, *font, label);
    fz_drop_font(ctx, *font);
    if (!ok) return makeError(Error::Code::System, "cannot draw a label");
    return Done{};
}

Status savePng(fz_context* ctx, fz_pixmap* pixmap, const char* path) {
    fz_try(ctx) { fz_save_pixmap_as_png(ctx, pixmap, path); }
    fz_catch(ctx) { return errorFromCaught(ctx, Error::Code::System); }
    return Done{};
}

// The picture in a file as an RGB pixmap without alpha.
Result<fz_pixmap*> loadRgbPicture(fz_context* ctx, const char* path) {
    fz_image* picture = nullptr;
    fz_pixmap* decoded = nullptr;
    fz_pixmap* rgb = nullptr;
    fz_var(picture);
    fz_var(decoded);
    fz_var(rgb);
    fz_try(ctx) {
        picture = fz_new_image_from_file(ctx, path);
        decoded = fz_get_pixmap_from_image(ctx, picture, nullptr, nullptr, nullptr, nullptr);
        rgb = fz_convert_pixmap(ctx, decoded, fz_device_rgb(ctx), nullptr, nullptr,
                                fz_default_color_params, 0);
    }
    fz_always(ctx) {
        fz_drop_pixmap(ctx, decoded);
        fz_drop_image(ctx, picture);
    }
    fz_catch(ctx) { return errorFromCaught(ctx, Error::Code::Format); }
    return rgb;
}

Result<RenderedPage> renderOpenPage(fz_context* ctx, pdf_document* doc, int pageIndex,
                                    double scale) {
    Result<pdf_page*> page = loadPdfPage(ctx, doc, pageIndex);
    if (!page) return page.error();
    fz_matrix pageToImage = fz_identity;
    Result<fz_pixmap*> pixmap = renderOnWhite(ctx, *page, static_cast<float>(scale), &pageToImage);
    fz_drop_page(ctx, &(*page)->super);
    if (!pixmap) return pixmap.error();
    Result<Image> image = toImage(ctx, *pixmap);
    fz_drop_pixmap(ctx, *pixmap);
    if (!image) return image.error();
    const fz_matrix& m = pageToImage;
    return RenderedPage{std::move(*image), {m.a, m.b, m.c, m.d, m.e, m.f}};
}

Error outOfMemory() { return makeError(Error::Code::System, "out of memory"); }

}  // namespace

Rgb Image::at(int x, int y) const {
    if (x < 0 || y < 0 || x >= width || y >= height) return {};
    const std::size_t at = (static_cast<std::size_t>(y) * width + x) * 3;
    return {pixels[at], pixels[at + 1], pixels[at + 2]};
}

Rect PageTransform::applyToRect(const Rect& r) const {
    const Point corners[4] = {apply({r.minX(), r.minY()}), apply({r.maxX(), r.minY()}),
                              apply({r.minX(), r.maxY()}), apply({r.maxX(), r.maxY()})};
    double x0 = corners[0].x, x1 = corners[0].x, y0 = corners[0].y, y1 = corners[0].y;
    for (const Point& p : corners) {
        x0 = std::min(x0, p.x);
        x1 = std::max(x1, p.x);
        y0 = std::min(y0, p.y);
        y1 = std::max(y1, p.y);
    }
    return {x0, y0, x1 - x0, y1 - y0};
}

Result<RenderedPage> renderPdfPage(const std::string& path, const std::string& password,
                                   int pageIndex, double scale) {
    std::shared_ptr<mupdf::Context> context = mupdf::sharedContext();
    if (!context) return outOfMemory();
    fz_context* ctx = context->get();
    Result<pdf_document*> doc = mupdf::openDocument(ctx, path.c_str());
    if (!doc) return doc.error();
    Result<RenderedPage> rendered =
        mupdf::isOpenWithoutPassword(ctx, *doc) || mupdf::authenticate(ctx, *doc, password.c_str())
            ? renderOpenPage(ctx, *doc, pageIndex, scale)
            : Result<RenderedPage>(
                  makeError(Error::Code::Password, "the password does not open " + path));
    pdf_drop_document(ctx, *doc);
    return rendered;
}

Result<Size> measureLabel(const std::string& text, double size) {
    std::shared_ptr<mupdf::Context> context = mupdf::sharedContext();
    if (!context) return outOfMemory();
    Result<fz_font*> font = labelFont(context->get());
    if (!font) return font.error();
    const float width = measureText(context->get(), *font, text.c_str(), static_cast<float>(size));
    fz_drop_font(context->get(), *font);
    if (width < 0) return makeError(Error::Code::Format, "cannot measure the label");
    return Size{width + 2 * kLabelMargin * size, kLabelHeight * size};
}

Status drawOverlay(Image& image, const std::vector<OverlayBox>& boxes,
                   const std::vector<OverlayLabel>& labels) {
    if (image.pixels.size() != static_cast<std::size_t>(image.width) * image.height * 3) {
        return makeError(Error::Code::Argument, "the picture's pixels do not match its size");
    }
    std::shared_ptr<mupdf::Context> context = mupdf::sharedContext();
    if (!context) return outOfMemory();
    fz_context* ctx = context->get();
    Result<fz_pixmap*> pixmap = wrapImage(ctx, image);
    if (!pixmap) return pixmap.error();
    Result<fz_device*> device = newDrawDevice(ctx, *pixmap);
    Status drawn = device ? drawAll(ctx, *device, boxes, labels) : Status(device.error());
    const bool closed = device && closeDevice(ctx, *device);
    if (device) fz_drop_device(ctx, *device);
    fz_drop_pixmap(ctx, *pixmap);
    if (drawn && !closed) return makeError(Error::Code::System, "cannot draw");
    return drawn;
}

Status writePng(const Image& image, const std::string& path) {
    std::shared_ptr<mupdf::Context> context = mupdf::sharedContext();
    if (!context) return outOfMemory();
    // The engine only reads the pixels while saving.
    Image& pixels = const_cast<Image&>(image);
    Result<fz_pixmap*> pixmap = wrapImage(context->get(), pixels);
    if (!pixmap) return pixmap.error();
    Status saved = savePng(context->get(), *pixmap, path.c_str());
    fz_drop_pixmap(context->get(), *pixmap);
    return saved;
}

Result<Image> readPng(const std::string& path) {
    std::shared_ptr<mupdf::Context> context = mupdf::sharedContext();
    if (!context) return outOfMemory();
    Result<fz_pixmap*> pixmap = loadRgbPicture(context->get(), path.c_str());
    if (!pixmap) return pixmap.error();
    Result<Image> image = toImage(context->get(), *pixmap);
    fz_drop_pixmap(context->get(), *pixmap);
    return image;
}

}  // namespace platform
