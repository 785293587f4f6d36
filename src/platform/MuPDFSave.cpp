// Saving never damages the file it replaces: the engine writes a hidden sibling, which is
// flushed to disk, given the original's owner, group and permissions and only then renamed over
// the target. A file with several names is not replaced.
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "platform/AtomicFile.h"
#include "platform/MuPDFDocument.h"
#include "platform/MuPDFEngine.h"

namespace platform {
namespace {

// An update lists the objects it changes as runs of object numbers, and the engine walks that
// list for every object it looks up in the file ever after: a book whose every page gained a
// link would open and read many times slower, in the next job too. An update of more runs than
// this is written as a whole new file instead, unless the document has signatures, which only an
// update keeps valid.
constexpr int kMostUpdateRuns = 256;

// The runs of object numbers an incremental write would list.
int updateRuns(fz_context* ctx, pdf_document* doc) {
    // Without changes there is no update section to look at.
    if (doc->num_incremental_sections == 0) return 0;
    int runs = 0;
    bool inRun = false;
    const int length = pdf_xref_len(ctx, doc);
    for (int num = 0; num < length; ++num) {
        const bool changed = pdf_xref_is_incremental(ctx, doc, num) != 0;
        runs += changed && !inRun;
        inRun = changed;
    }
    return runs;
}

enum class Write { Whole, UpdateOrWhole, WholeOrUpdate };

// How the document may be written, the preferred way first.
Write writesOf(fz_context* ctx, pdf_document* doc) {
    int updatable = 0, preferred = 0;
    fz_var(updatable);
    fz_var(preferred);
    fz_try(ctx) {
        updatable = doc->file != nullptr && !pdf_was_repaired(ctx, doc) &&
                    pdf_can_be_saved_incrementally(ctx, doc);
        preferred = updatable && (updateRuns(ctx, doc) <= kMostUpdateRuns ||
                                  pdf_count_signatures(ctx, doc) > 0);
    }
    fz_catch(ctx) {}
    if (!updatable) return Write::Whole;
    return preferred ? Write::UpdateOrWhole : Write::WholeOrUpdate;
}

// An incremental write appends the changes to a copy of the original bytes, which keeps
// signatures valid; either way the encryption stays as it was.
Status writePdf(fz_context* ctx, pdf_document* doc, int fd, bool incremental) {
    if (::ftruncate(fd, 0) != 0 || ::lseek(fd, 0, SEEK_SET) != 0) {
        return makeError(Error::Code::System, std::string("cannot write: ") + std::strerror(errno));
    }
    pdf_write_options options = pdf_default_write_options;
    options.do_incremental = incremental ? 1 : 0;
    options.do_encrypt = PDF_ENCRYPT_KEEP;
    Result<fz_output*> opened = mupdf::openFileOutput(ctx, fd);
    if (!opened) return opened.error();
    fz_output* out = *opened;
    // A whole write loads every object. A damaged one, which nothing the job read had touched,
    // would make the engine repair the document in the middle of the write and put back what
    // the file holds in place of the job's changes; refused a repair, the write fails instead
    // and an update is written.
    const int repairAttempted = doc->repair_attempted;
    if (!incremental) doc->repair_attempted = 1;
    fz_try(ctx) {
        pdf_write_document(ctx, doc, out, &options);
        fz_close_output(ctx, out);
    }
    fz_always(ctx) {
        fz_drop_output(ctx, out);
        doc->repair_attempted = repairAttempted;
    }
    fz_catch(ctx) { return mupdf::errorFromCaught(ctx, Error::Code::System); }
    return Done{};
}

// The written file must open again as the original did: without repair, with the password that
// unlocked the original, and with as many pages. The engine can write a repaired encrypted file
// whose keys no longer match, and replacing the input with that would lose it.
bool opensAsWritten(fz_context* ctx, const char* path, const char* password, int pages) {
    pdf_document* doc = nullptr;
    int ok = 0;
    fz_var(doc);
    fz_var(ok);
    fz_try(ctx) {
        doc = pdf_open_document(ctx, path);
        ok = !pdf_was_repaired(ctx, doc) &&
             (!pdf_needs_password(ctx, doc) || pdf_authenticate_password(ctx, doc, password)) &&
             pdf_count_pages(ctx, doc) == pages;
    }
    fz_always(ctx) { pdf_drop_document(ctx, doc); }
    fz_catch(ctx) { ok = 0; }
    return ok != 0;
}

bool isRepaired(fz_context* ctx, pdf_document* doc) {
    int repaired = 1;
    fz_var(repaired);
    fz_try(ctx) { repaired = pdf_was_repaired(ctx, doc); }
    fz_catch(ctx) {}
    return repaired != 0;
}

Status writeVerifiedPdf(const PdfObject::Handle& engine, SiblingFile& file, bool incremental,
                        int pages) {
    const bool wasRepaired = isRepaired(engine.ctx, engine.doc);
    Status written = writePdf(engine.ctx, engine.doc, file.fd(), incremental);
    if (!written) return written;
    if (!wasRepaired && isRepaired(engine.ctx, engine.doc)) {
        return makeError(Error::Code::Format, "the document was repaired while it was written");
    }
    if (!opensAsWritten(engine.ctx, file.path().c_str(), engine.password.c_str(), pages)) {
        return makeError(Error::Code::Format, "the written file does not open as the original");
    }
    return Done{};
}

}  // namespace

Status Document::save(const std::string& path) {
    if (!m_ || !m_->engine->unlocked) {
        return makeError(Error::Code::Password, "the document is locked");
    }
    // Renaming over one name of a file with several would leave the others with the old
    // content; writing through the shared file in place could leave it half written.
    struct stat name {};
    if (::lstat(path.c_str(), &name) == 0 && name.st_nlink > 1) {
        return makeError(Error::Code::Unsupported, path + " has other names (hard links)");
    }
    SiblingFile temporary(path);
    if (!temporary.created()) return temporary.created();
    const PdfObject::Handle& engine = *m_->engine;
    const int pages = pageCount();
    // A repair while pages were read can leave the engine with fewer pages than the file had;
    // writing that out would replace the input with what is left.
    if (pages != m_->engine->firstPageCount) {
        return makeError(Error::Code::Format, "the document lost pages while it was read");
    }
    // A document written before has no update to append to; one way failing, the other may not.
    const Write writes = m_->saved ? Write::Whole : writesOf(engine.ctx, engine.doc);
    const bool incremental = writes == Write::UpdateOrWhole;
    Status written = writeVerifiedPdf(engine, temporary, incremental, pages);
    if (!written && writes != Write::Whole) {
        written = writeVerifiedPdf(engine, temporary, !incremental, pages);
    }
    if (!written) return written;
    Status replaced = temporary.placeOverTarget(true);
    if (!replaced) return replaced;
    m_->saved = true;
    return Done{};
}

}  // namespace platform
