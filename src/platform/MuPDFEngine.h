#pragma once
// Private to src/platform: the engine state behind Document and PdfObject, shared by the MuPDF*
// files. Nothing outside src/platform includes this header.

#include <mupdf/fitz.h>
#include <mupdf/pdf.h>

#include <memory>
#include <optional>
#include <string>

#include "platform/MuPDFDocument.h"
#include "platform/PdfObject.h"
#include "platform/StopFlag.h"
#include "platform/StopRelay.h"
#include "platform/result.h"

namespace platform {
namespace mupdf {

// An engine context: the process-wide one, created on first use and dropped when the last
// document using it and the process-wide reference are gone, or one for a worker thread. Each
// is used from one thread at a time and shares nothing with the others.
class Context {
public:
    explicit Context(fz_context* ctx) : ctx_(ctx) {}
    ~Context();
    Context(const Context&) = delete;
    Context& operator=(const Context&) = delete;
    fz_context* get() const { return ctx_; }

private:
    fz_context* ctx_;
};

// Null when the engine cannot even allocate its context.
std::shared_ptr<Context> sharedContext();
// A context for a worker thread, with a store and fonts of its own; null when the engine
// cannot allocate it. Cloned contexts, which share one store under the engine's locks, are
// not used: the engine's fallback font is stored unguarded against two threads loading it at
// once (one copy leaked), and the locks, taken on every allocation and reference count, cost
// 7 % more instructions.
std::shared_ptr<Context> workerContext();

// The Error for the error just caught; call only inside fz_catch.
Error errorFromCaught(fz_context* ctx, Error::Code code);

}  // namespace mupdf

// One open document. Objects handed out as PdfObject keep it alive.
struct PdfObject::Handle {
    std::shared_ptr<mupdf::Context> context;
    fz_context* ctx = nullptr;
    pdf_document* doc = nullptr;
    bool unlocked = false;
    std::string password;     // the one that unlocked the document ("" when none was needed)
    int firstPageCount = -1;  // the count first read; a repair while reading pages can drop pages
    bool pageTreeTried = false;
    bool pageTreeLoaded = false;
    bool pageTreeUnreadable = false;  // the document then counts as having no pages

    Handle(std::shared_ptr<mupdf::Context> owner, pdf_document* document);
    ~Handle();
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
};

struct Document::Members {
    std::shared_ptr<PdfObject::Handle> engine;
    bool saved = false;   // later saves rewrite the whole file: the first one ended our increment
    StopRelay stopRelay;  // hears the stop flag while the engine runs a page for its text
};

// What the MuPDF* files may see of a PdfObject.
struct PdfObjectAccess {
    static pdf_obj* raw(const PdfObject& object) { return static_cast<pdf_obj*>(object.object_); }
};

namespace mupdf {

// Opens the file as a PDF document. Opening may repair the file, and some damage makes the
// engine's repair run for hours, so the file is read under a budget until the document is open;
// a document that spent it counts as unreadable. A stop set while a repair reads the file ends
// the opening the same way.
Result<pdf_document*> openDocument(fz_context* ctx, const char* path,
                                   const StopFlag& stop = NeverStop());

// The root's /Count as the engine reads it, believed only when every page can be an object of
// its own: a negative or huge count made the engine size its page maps by it (an abort, or
// hours sorting billions of entries), and "ALL" would select that many pages. 0 otherwise.
int countPages(fz_context* ctx, pdf_document* doc);

// The number of objects in the document's cross-reference; 0 when it cannot be read.
int objectCount(fz_context* ctx, pdf_document* doc);
// dict's entry under key, borrowed; null when there is none or it cannot be read.
pdf_obj* entryOf(fz_context* ctx, pdf_obj* dict, const char* key);

// True when the engine opened the document without a password (the empty one included).
bool isOpenWithoutPassword(fz_context* ctx, pdf_document* doc);
// True when the password unlocks the document; a wrong one spoils the engine's key for others.
bool authenticate(fz_context* ctx, pdf_document* doc, const char* password);

// The page dictionary of page index as a reference the caller owns (see isPageFromMap: fromMap
// tells which lookup to use); null when the engine cannot find it.
pdf_obj* lookupPage(fz_context* ctx, pdf_document* doc, int index, bool fromMap);

enum class PageTreeShape {
    Sound,       // a tree with as many pages as counted: the engine may load its page maps
    Irregular,   // cycles, nodes of other types or a wrong count: the engine's page lookups
                 // cope, its map loader does not
    Unreadable,  // too deep or too many shared nodes for any of the engine's walks
};

// The shape of the tree below the catalog's /Pages, for a document whose root counts
// pageCount pages. Bounded by the tree's depth and the document's object count.
PageTreeShape readPageTreeShape(fz_context* ctx, pdf_document* doc, int pageCount);

// False when the page's /Parent chain loops or runs longer than the engine follows it; the
// engine then refuses to load the page.
bool isParentChainReadable(fz_context* ctx, pdf_obj* page);

// Levels below a name tree's root that lookups follow. Name trees nest a few levels; deeper
// names are not found.
constexpr int kMaxNameTreeDepth = 32;

// False when loading the page would make the engine recurse past safe bounds: the catalog's
// named-destination tree, which it searches for the page's links, nests deeper than
// kMaxNameTreeDepth, or the page's resources nest forms, tiling patterns and soft masks more
// than 64 levels deep; or either walk makes more visits than the document has objects. The
// engine must then not load the page.
bool isPageLoadBounded(fz_context* ctx, pdf_document* doc, pdf_obj* page);

// True when the engine finds page index in its page-tree map. This engine version then hands
// out one more reference to the page object than it keeps (pdf_lookup_page_obj, and with it
// pdf_load_page), which the caller must drop; other lookups hand out borrowed references.
bool isPageFromMap(const PdfObject::Handle& engine, int index);

// The page dictionary of a page, the neutral object when the index is out of range, the
// document is locked or the page cannot be found.
PdfObject pageObject(const std::shared_ptr<PdfObject::Handle>& engine, int index);

// Zero-based index of the page object that reference points to, -1 when it is no page of the
// document. An integer is taken as the index itself.
int pageIndexOf(const PdfObject::Handle& engine, const PdfObject& reference);

// The page and point a destination leads to: an explicit array, or a name or string looked up
// among the catalog's named destinations. None when it does not reach a page of the document.
std::optional<Destination> readDestination(const PdfObject::Handle& engine,
                                           const PdfObject& catalog, PdfObject target);

// The file at path as a stream whose reads are bounded until liftReadBudget: past a few
// readings of the whole file, or once stop is set after more than a sound document's opening
// reads, a read fails and readBudgetEnd says why.
// stop must outlive the budget. The caller drops the stream with fz_drop_stream; a document
// opened from it keeps its own reference.
enum class ReadBudgetEnd { None, Spent, Stopped };
Result<fz_stream*> openBudgetedFile(fz_context* ctx, const char* path, const StopFlag& stop);
ReadBudgetEnd readBudgetEnd(fz_stream* stream);
void liftReadBudget(fz_stream* stream);

// Runs the page's content stream, without annotations, into device as the engine's
// pdf_run_page_contents does, with at most kMaxSavedGraphicsStates graphics states saved. The
// interpreter reads the cookie, when given, before each operator: once its abort is set, the
// run ends early without an error.
Status runPageContents(fz_context* ctx, pdf_page* page, fz_device* device, fz_cookie* cookie);

// An output writing to fd from its current offset; fd must outlive it. The caller drops it with
// fz_drop_output.
Result<fz_output*> openFileOutput(fz_context* ctx, int fd);

}  // namespace mupdf
}  // namespace platform
