#include "platform/MuPDFDocument.h"

#include <unistd.h>

#include "platform/MuPDFEngine.h"
#include "platform/RegularFile.h"

namespace platform {
namespace {

Result<pdf_document*> openPdfStream(fz_context* ctx, fz_stream* file) {
    pdf_document* doc = nullptr;
    fz_var(doc);
    fz_try(ctx) { doc = pdf_open_document_with_stream(ctx, file); }
    fz_catch(ctx) { return mupdf::errorFromCaught(ctx, Error::Code::Format); }
    return doc;
}

// The engine follows the cross-reference chain as far as it is sound and repairs the file only
// when that chain is unreadable. A chain that loops, or that leads to an older revision, can
// leave the catalog's page tree out of reach while the objects are all in the file: qpdf and the
// engine's own repair then find every page. The page tree of a document that a password locks
// cannot be read yet, so its count says nothing.
bool needsRepair(fz_context* ctx, pdf_document* doc) {
    return !doc->repair_attempted && mupdf::isOpenWithoutPassword(ctx, doc) &&
           mupdf::countPages(ctx, doc) == 0;
}

// Rebuilds the cross-reference table from the objects themselves, as opening a damaged file
// does. False when the engine cannot; the document is then unusable.
bool repairDocument(fz_context* ctx, pdf_document* doc) {
    bool repaired = false;
    fz_var(repaired);
    fz_try(ctx) {
        pdf_repair_xref(ctx, doc);
        pdf_repair_trailer(ctx, doc);
        repaired = true;
    }
    fz_catch(ctx) { repaired = false; }
    return repaired;
}

// The page tree maps make page lookups by index and by object fast; a broken tree leaves the
// engine's slower walks, which cope with it.
bool loadPageTree(fz_context* ctx, pdf_document* doc) {
    bool loaded = false;
    fz_var(loaded);
    fz_try(ctx) {
        pdf_load_page_tree(ctx, doc);
        loaded = true;
    }
    fz_catch(ctx) { loaded = false; }
    return loaded;
}

int lookupPageNumber(fz_context* ctx, pdf_document* doc, pdf_obj* page) {
    // Without the page maps the engine climbs the page's /Parent chain, searching the whole
    // chain at every step.
    const bool climbable = doc->rev_page_map != nullptr || mupdf::isParentChainReadable(ctx, page);
    int number = -1;
    fz_var(number);
    fz_try(ctx) {
        if (pdf_is_int(ctx, page)) {
            number = pdf_to_int(ctx, page);
        } else if (pdf_is_indirect(ctx, page) && climbable) {
            number = pdf_lookup_page_number(ctx, doc, page);
        }
    }
    fz_catch(ctx) { number = -1; }
    return number;
}

pdf_obj* trailerOf(fz_context* ctx, pdf_document* doc) {
    pdf_obj* trailer = nullptr;
    fz_var(trailer);
    fz_try(ctx) { trailer = pdf_trailer(ctx, doc); }
    fz_catch(ctx) { trailer = nullptr; }
    return trailer;
}

// The engine's map loader recurses through the tree, so the tree is walked first; a tree the
// engine cannot walk at all leaves the document without pages.
void ensurePageTree(PdfObject::Handle& engine) {
    if (engine.pageTreeTried || !engine.unlocked) return;
    engine.pageTreeTried = true;
    const int count = mupdf::countPages(engine.ctx, engine.doc);
    if (count == 0) return;
    const mupdf::PageTreeShape shape = mupdf::readPageTreeShape(engine.ctx, engine.doc, count);
    engine.pageTreeUnreadable = shape == mupdf::PageTreeShape::Unreadable;
    engine.pageTreeLoaded =
        shape == mupdf::PageTreeShape::Sound && loadPageTree(engine.ctx, engine.doc);
}

int pageCountOf(PdfObject::Handle& engine) {
    ensurePageTree(engine);
    return engine.pageTreeUnreadable ? 0 : mupdf::countPages(engine.ctx, engine.doc);
}

}  // namespace

PdfObject::Handle::Handle(std::shared_ptr<mupdf::Context> owner, pdf_document* document)
    : context(std::move(owner)), ctx(context->get()), doc(document) {}

PdfObject::Handle::~Handle() {
    if (pageTreeLoaded) pdf_drop_page_tree(ctx, doc);
    pdf_drop_document(ctx, doc);
}

namespace mupdf {

bool isOpenWithoutPassword(fz_context* ctx, pdf_document* doc) {
    int result = 0;
    fz_var(result);
    fz_try(ctx) { result = doc->crypt == nullptr || pdf_authenticate_password(ctx, doc, ""); }
    fz_catch(ctx) { result = 0; }
    return result != 0;
}

bool authenticate(fz_context* ctx, pdf_document* doc, const char* password) {
    int result = 0;
    fz_var(result);
    fz_try(ctx) { result = pdf_authenticate_password(ctx, doc, password); }
    fz_catch(ctx) { result = 0; }
    return result != 0;
}

pdf_obj* lookupPage(fz_context* ctx, pdf_document* doc, int index, bool fromMap) {
    pdf_obj* page = nullptr;
    fz_var(page);
    fz_try(ctx) {
        if (fromMap) {
            page = pdf_load_object(ctx, doc, doc->fwd_page_map[index]);
        } else {
            page = pdf_keep_obj(ctx, pdf_lookup_page_obj(ctx, doc, index));
        }
    }
    fz_catch(ctx) { page = nullptr; }
    return page;
}

Result<pdf_document*> openDocument(fz_context* ctx, const char* path, const StopFlag& stop) {
    Result<fz_stream*> file = openBudgetedFile(ctx, path, stop);
    if (!file) return file.error();
    Result<pdf_document*> doc = openPdfStream(ctx, *file);
    if (doc && needsRepair(ctx, *doc) && !repairDocument(ctx, *doc)) {
        pdf_drop_document(ctx, *doc);
        doc = makeError(Error::Code::Format, "the document cannot be repaired");
    }
    const ReadBudgetEnd end = readBudgetEnd(*file);
    liftReadBudget(*file);
    fz_drop_stream(ctx, *file);
    if (end != ReadBudgetEnd::None) {
        if (doc) pdf_drop_document(ctx, *doc);
        return makeError(Error::Code::Format, end == ReadBudgetEnd::Stopped
                                                  ? "stopped while the document was opened"
                                                  : "the document needs too much repair to open");
    }
    return doc;
}

int countPages(fz_context* ctx, pdf_document* doc) {
    int count = 0;
    int objects = 0;
    fz_var(count);
    fz_var(objects);
    fz_try(ctx) {
        count = pdf_count_pages(ctx, doc);
        objects = pdf_xref_len(ctx, doc);
    }
    fz_catch(ctx) { count = 0; }
    return count > 0 && count < objects ? count : 0;
}

static_assert(FZ_VERSION_MAJOR == 1 && FZ_VERSION_MINOR == 21,
              "check how this engine version counts page references (isPageFromMap)");

bool isPageFromMap(const PdfObject::Handle& engine, int index) {
    const pdf_document* doc = engine.doc;
    return engine.pageTreeLoaded && index >= 0 && index < doc->map_page_count &&
           doc->fwd_page_map[index] > 0;
}

PdfObject pageObject(const std::shared_ptr<PdfObject::Handle>& engine, int index) {
    if (!engine || !engine->unlocked || index < 0 || index >= pageCountOf(*engine)) return {};
    pdf_obj* page =
        mupdf::lookupPage(engine->ctx, engine->doc, index, isPageFromMap(*engine, index));
    PdfObject result =
        isParentChainReadable(engine->ctx, page) ? PdfObject(engine, page) : PdfObject();
    pdf_drop_obj(engine->ctx, page);
    return result;
}

int pageIndexOf(const PdfObject::Handle& engine, const PdfObject& reference) {
    int count = engine.pageTreeUnreadable ? 0 : mupdf::countPages(engine.ctx, engine.doc);
    if (count == 0) return -1;
    int index = lookupPageNumber(engine.ctx, engine.doc, PdfObjectAccess::raw(reference));
    return index >= 0 && index < count ? index : -1;
}

}  // namespace mupdf

Document::Document(std::unique_ptr<Members> members) : m_(std::move(members)) {}
Document::Document(Document&&) noexcept = default;
Document& Document::operator=(Document&&) noexcept = default;
Document::~Document() = default;

Result<Document> Document::open(const std::string& path) { return open(path, NeverStop()); }

Result<Document> Document::open(const std::string& path, const StopFlag& stop) {
    return open(path, stop, mupdf::sharedContext());
}

Result<Document> Document::open(const std::string& path, const StopFlag& stop,
                                std::shared_ptr<mupdf::Context> context) {
    // The engine reports a missing file like a damaged one; tell them apart first.
    const int probe = openRegularFile(path.c_str());
    if (probe < 0) return makeError(Error::Code::System, "cannot open " + path);
    ::close(probe);
    if (!context) return makeError(Error::Code::System, "out of memory");
    Result<pdf_document*> doc = mupdf::openDocument(context->get(), path.c_str(), stop);
    if (!doc) return doc.error();
    auto members = std::make_unique<Members>();
    members->engine = std::make_shared<PdfObject::Handle>(context, *doc);
    members->engine->unlocked = mupdf::isOpenWithoutPassword(context->get(), *doc);
    return Document(std::move(members));
}

Result<Document> Document::openAgain(const std::string& path, const StopFlag& stop) const {
    if (!m_) return makeError(Error::Code::Argument, "no document");
    Result<Document> again = open(path, stop, mupdf::workerContext());
    if (again && m_->engine->unlocked && !again->unlock(m_->engine->password)) {
        return makeError(Error::Code::Format, "the password no longer unlocks " + path);
    }
    return again;
}

bool Document::isEncrypted() const { return m_ && m_->engine->doc->crypt != nullptr; }

// A wrong password spoils the engine's key, so an open document is never asked again.
bool Document::unlock(const std::string& password) {
    if (!m_) return false;
    PdfObject::Handle& engine = *m_->engine;
    if (!engine.unlocked && mupdf::authenticate(engine.ctx, engine.doc, password.c_str())) {
        engine.unlocked = true;
        engine.password = password;
    }
    return engine.unlocked;
}

bool Document::isUnlocked() const { return m_ && m_->engine->unlocked; }

int Document::pageCount() const {
    if (!m_ || !m_->engine->unlocked) return 0;
    int count = pageCountOf(*m_->engine);
    if (m_->engine->firstPageCount < 0) m_->engine->firstPageCount = count;
    return count;
}

PdfObject Document::pageObject(int index) const {
    return m_ ? mupdf::pageObject(m_->engine, index) : PdfObject();
}

PdfObject Document::catalog() const {
    if (!m_ || !m_->engine->unlocked) return {};
    PdfObject trailer(m_->engine, trailerOf(m_->engine->ctx, m_->engine->doc));
    return trailer.get("Root");
}

}  // namespace platform
