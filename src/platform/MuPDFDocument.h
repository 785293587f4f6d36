#pragma once
// The document model the jobs work with: opening and unlocking, pages with their rotation, crop
// box, raw dictionary, annotations and text, adding links and saving. Everything the engine
// reports as an error comes back as a Result or a neutral value; nothing here throws.

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/Geometry.h"
#include "platform/PageText.h"
#include "platform/PdfObject.h"
#include "platform/StopFlag.h"
#include "platform/result.h"

namespace platform {

namespace mupdf {
class Context;
}  // namespace mupdf

// Where a go-to link leads: a zero-based page of the same document and a point on it in page
// space (coordinates the destination leaves unspecified are 0).
struct Destination {
    int pageIndex = 0;
    Point point;
    bool operator==(const Destination&) const = default;
};

struct Action {
    enum class Kind { GoTo, URL, Named, Other };
    Kind kind = Kind::Other;
    std::optional<Destination> destination;  // GoTo whose target page resolves
    std::optional<std::string> url;          // URL
    std::string name;                        // Named: "NextPage", "PrevPage", "FirstPage", ...
};

// One entry of a page's /Annots as the document model sees it.
struct Annotation {
    std::string type;         // the /Subtype name without its slash: "Link", "Widget", "Text", ...
    Rect bounds;              // the normalised /Rect
    std::vector<Rect> lines;  // a Link's /QuadPoints, each quadrilateral's bounding box
    std::optional<std::string> url;          // a Link's /URI action target
    std::optional<Destination> destination;  // a Link's /Dest or /GoTo target
    std::optional<Action> mouseUpAction;     // the /A action of any annotation
};

// How a page is shown: its crop box (see Document::cropBox) and its rotation.
struct PageGeometry {
    Rect cropBox;
    int rotation = 0;  // 0, 90, 180 or 270
    bool operator==(const PageGeometry&) const = default;
};

// The most graphics states the engine keeps saved at once while it runs a page for its text.
// Real pages nest a few dozen; deeper q operators, and the Q operators that close them, are
// ignored, so that a state changed in there stays changed until a Q outside them.
constexpr int kMaxSavedGraphicsStates = 4096;

class Document {
public:
    // Opens the file (repairing it if the engine must). Fails on a missing or unreadable file
    // and on anything that is not a regular file, without waiting for it; and as soon as stop
    // is set while a repair reads the file (a sound document opens whatever stop says).
    static Result<Document> open(const std::string& path);
    static Result<Document> open(const std::string& path, const StopFlag& stop);
    // Opens path (this document's file, as yet unchanged) a second time, for reading on another
    // thread while this one is used on its own: with an engine context of its own, unlocked by
    // the password that unlocked this one.
    Result<Document> openAgain(const std::string& path, const StopFlag& stop) const;

    Document(Document&&) noexcept;
    Document& operator=(Document&&) noexcept;
    ~Document();

    bool isEncrypted() const;
    // True when the password (possibly empty) unlocks the document or it was not locked.
    bool unlock(const std::string& password);
    bool isUnlocked() const;

    // Page reads need an unlocked document; a locked one has no pages and no catalog.
    int pageCount() const;
    PdfObject catalog() const;  // the trailer's /Root dictionary

    // Per-page reads take a zero-based index; an index out of range gives the neutral value.
    PdfObject pageObject(int index) const;  // the page's own dictionary
    int rotation(int index) const;          // the inherited /Rotate as 0, 90, 180 or 270
    Rect cropBox(int index) const;  // inherited /CropBox clipped to /MediaBox, else /MediaBox
    // Both at once, with one lookup of the page: for walks over every page.
    PageGeometry pageGeometry(int index) const;
    std::vector<Annotation> annotations(int index) const;  // in /Annots order
    // One dictionary of a page's /Annots, read as annotations() reads each entry.
    Annotation annotation(const PdfObject& dictionary) const;
    // A page's text. With a stop flag, a stop set while the engine runs the page ends the run
    // within a fraction of a second, and the page then fails instead of giving part of its text.
    Result<PageText> pageText(int index) const;
    Result<PageText> pageText(int index, const StopFlag& stop) const;

    // Appends a link annotation to the page for each link's bounds, URL and lines, in order; the
    // document is changed in memory only. Lines become the link's /QuadPoints: one
    // quadrilateral per line of its text. A link that cannot be added is left out; the first
    // such failure is returned.
    Status addLinks(int index, std::span<const Annotation> links);
    // Writes the document to path: to a temporary file beside it, then renamed over it, keeping
    // the file's owner, group, permissions and encryption. The changes are appended as an update
    // where the document allows it and they touch few places of the file (or the document is
    // signed); otherwise, or when the update fails, the file is written anew. Fails, leaving
    // path as it was, when path has several names (hard links) or its owner or group cannot be
    // kept.
    Status save(const std::string& path);

private:
    struct Members;
    explicit Document(std::unique_ptr<Members> members);
    static Result<Document> open(const std::string& path, const StopFlag& stop,
                                 std::shared_ptr<mupdf::Context> context);
    std::unique_ptr<Members> m_;
};

}  // namespace platform
