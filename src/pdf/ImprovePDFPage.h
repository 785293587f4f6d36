#pragma once
// A page's link list read straight from the annotation dictionaries of its /Annots array,
// instead of the document model's own annotation list. The converters use it to find the URL of
// a link or form widget whose action the model does not expose.

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/Geometry.h"
#include "platform/MuPDFDocument.h"
#include "platform/PdfObject.h"
#include "platform/StopFlag.h"

namespace pdf {

// A PDF name's bytes as text: the bytes up to the first NUL when they are valid UTF-8, else
// nullopt.
std::optional<std::string> PDFTypeName(const std::string& nameBytes);

// A page's /StructParents number to its zero-based page index; pages without one are absent,
// and a number used twice maps to the later page. Build it once per document and hand it to
// every fmAnnotations call.
using StructParentMap = std::map<std::int64_t, int>;
StructParentMap buildStructParentMap(const platform::Document& document);

// The record read from one annotation dictionary. Only what decides the link object is used;
// the other entries are read as the original reads them and are there for inspection.
struct AnnotInfo {
    struct ActionInfo {  // "A" of a link, or the "D" action of a widget's "AA"
        std::optional<std::string> type;
        std::optional<std::string> s;
        std::optional<std::string> uri;  // "URI", overridden by a "URI action" string
    };
    struct BorderStyle {  // "BS"
        std::optional<long> w;
        std::optional<std::string> s;
        std::optional<std::string> d;  // "have D type here.." when a dash array is present
    };
    std::optional<std::string> type;
    std::optional<std::string> subtype;
    std::optional<std::string> as;
    std::optional<platform::Rect> rect;  // normalised; missing numbers count as 0
    std::optional<std::vector<float>> border;
    std::optional<std::string> contents;
    std::optional<std::string> nm;
    std::optional<std::string> m;
    std::optional<std::int32_t> f;
    std::optional<std::int32_t> structParent;
    std::optional<BorderStyle> bs;
    std::optional<int> p;          // zero-based page found through "P"'s StructParent and the map
    std::optional<ActionInfo> a;   // Link only
    std::optional<ActionInfo> aa;  // Widget only
};

// Reads the record of one annotation dictionary of document.
AnnotInfo readAnnotInfo(const platform::Document& document, const platform::PdfObject& annotation,
                        const StructParentMap& pagesInTree);

// The link object for one annotation dictionary, or nullopt:
// - "Link": always a link with the /Rect bounds, and the URL of a /URI action when it forms a
//   valid URL once escaped;
// - "Widget": a link only when the "D" action of its /AA is a /URI action giving a valid URL;
// - "Text" and every other subtype: nullopt.
// Links come back with type "Link", bounds and url; nothing else is set.
std::optional<platform::Annotation> annotInfo(const platform::Document& document,
                                              const platform::PdfObject& annotation,
                                              const StructParentMap& pagesInTree);

// The links of the page at pageIndex (zero-based), in /Annots order; entries that are not
// dictionaries are skipped. The stop flag is polled before each entry: once it is set, the
// links read so far are returned. Empty when the page has no /Annots array.
std::vector<platform::Annotation> fmAnnotations(const platform::Document& document, int pageIndex,
                                                const StructParentMap& pagesInTree,
                                                const platform::StopFlag& stop);

}  // namespace pdf
