// A page's content stream run through the engine's interpreter as the engine's own
// pdf_run_page_contents runs it, except that the graphics states saved at once are bounded.
// The interpreter's run processor copies the whole graphics state at every q (about 600 bytes),
// so 4,000,000 nested q in a 15 KB file took 2.4 GB.
#include "platform/MuPDFEngine.h"

namespace platform {
namespace mupdf {
namespace {

static_assert(FZ_VERSION_MAJOR == 1 && FZ_VERSION_MINOR == 21,
              "check runPageContents against this engine version's pdf_run_page_contents");

// The run processor's own q and Q, and how deep the run is nested now, counting the q
// operators that were ignored.
struct SavedStates {
    void (*save)(fz_context*, pdf_processor*) = nullptr;
    void (*restore)(fz_context*, pdf_processor*) = nullptr;
    int depth = 0;
};

// The processor's operators get no pointer of ours, so the run in progress on this thread is
// found here. Forms, patterns and soft masks run through the same processor and count with it.
thread_local SavedStates* currentRun = nullptr;

// The interpreter calls Q only for a q of its own stream, so saves and restores stay paired:
// the restores that close ignored saves are the ones ignored. A save that fails throws before
// the depth counts it, as the interpreter does not count it either.
void saveBounded(fz_context* ctx, pdf_processor* processor) {
    SavedStates& run = *currentRun;
    if (run.depth < kMaxSavedGraphicsStates) run.save(ctx, processor);
    ++run.depth;
}

void restoreBounded(fz_context* ctx, pdf_processor* processor) {
    SavedStates& run = *currentRun;
    if (run.depth > 0) --run.depth;
    if (run.depth < kMaxSavedGraphicsStates) run.restore(ctx, processor);
}

}  // namespace

// Transparency groups and annotations are left out: the text device ignores the one, and page
// text excludes the other.
Status runPageContents(fz_context* ctx, pdf_page* page, fz_device* device, fz_cookie* cookie) {
    fz_default_colorspaces* defaults = nullptr;
    pdf_processor* processor = nullptr;
    SavedStates states;
    SavedStates* outer = currentRun;
    fz_var(defaults);
    fz_var(processor);
    fz_var(states);
    fz_try(ctx) {
        defaults = pdf_load_default_colorspaces(ctx, page->doc, page);
        if (defaults) fz_set_default_colorspaces(ctx, device, defaults);
        fz_rect mediabox;
        fz_matrix ctm;
        pdf_page_transform(ctx, page, &mediabox, &ctm);
        pdf_obj* resources = pdf_page_resources(ctx, page);
        pdf_obj* contents = pdf_page_contents(ctx, page);
        processor = pdf_new_run_processor(ctx, device, ctm, "View", nullptr, defaults, cookie);
        states.save = processor->op_q;
        states.restore = processor->op_Q;
        processor->op_q = saveBounded;
        processor->op_Q = restoreBounded;
        currentRun = &states;
        pdf_process_contents(ctx, processor, page->doc, resources, contents, cookie);
        pdf_close_processor(ctx, processor);
    }
    fz_always(ctx) {
        currentRun = outer;
        pdf_drop_processor(ctx, processor);
        fz_drop_default_colorspaces(ctx, defaults);
    }
    fz_catch(ctx) { return errorFromCaught(ctx, Error::Code::Format); }
    return Done{};
}

}  // namespace mupdf
}  // namespace platform
