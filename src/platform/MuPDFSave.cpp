// Saving never damages the file it replaces: the engine writes a hidden sibling, which is
// flushed to disk, given the original's permissions and only then renamed over the target.
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "platform/AtomicFile.h"
#include "platform/MuPDFDocument.h"
#include "platform/MuPDFEngine.h"

namespace platform {
namespace {

bool canWriteIncrementally(fz_context* ctx, pdf_document* doc) {
    int result = 0;
    fz_var(result);
    fz_try(ctx) {
        result = doc->file != nullptr && !pdf_was_repaired(ctx, doc) &&
                 pdf_can_be_saved_incrementally(ctx, doc);
    }
    fz_catch(ctx) { result = 0; }
    return result != 0;
}

// An incremental write appends the changes to a copy of the original bytes, which keeps
// signatures valid; either way the encryption stays as it was.
Status writePdf(fz_context* ctx, pdf_document* doc, int* fd, bool incremental) {
    if (::ftruncate(*fd, 0) != 0 || ::lseek(*fd, 0, SEEK_SET) != 0) {
        return makeError(Error::Code::System, std::string("cannot write: ") + std::strerror(errno));
    }
    pdf_write_options options = pdf_default_write_options;
    options.do_incremental = incremental ? 1 : 0;
    options.do_encrypt = PDF_ENCRYPT_KEEP;
    Result<fz_output*> opened = mupdf::openFileOutput(ctx, fd);
    if (!opened) return opened.error();
    fz_output* out = *opened;
    fz_try(ctx) {
        pdf_write_document(ctx, doc, out, &options);
        fz_close_output(ctx, out);
    }
    fz_always(ctx) { fz_drop_output(ctx, out); }
    fz_catch(ctx) { return mupdf::errorFromCaught(ctx, Error::Code::System); }
    return Done{};
}

}  // namespace

Status Document::save(const std::string& path) {
    if (!m_ || !m_->engine->unlocked) {
        return makeError(Error::Code::Password, "the document is locked");
    }
    SiblingFile temporary(path);
    if (!temporary.created()) return temporary.created();
    fz_context* ctx = m_->engine->ctx;
    pdf_document* doc = m_->engine->doc;
    bool incremental = !m_->saved && canWriteIncrementally(ctx, doc);
    Status written = writePdf(ctx, doc, &temporary.fd(), incremental);
    if (!written && incremental) written = writePdf(ctx, doc, &temporary.fd(), false);
    if (!written) return written;
    Status replaced = temporary.placeOverTarget(true);
    if (!replaced) return replaced;
    m_->saved = true;
    return Done{};
}

}  // namespace platform
