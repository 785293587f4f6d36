#pragma once
// A page's link list read straight from the annotation dictionaries of its /Annots array,
// instead of the document model's own annotation list. The converters use it to find the URL of
// a link or form widget whose action the model does not expose.

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

// The link object for one annotation dictionary, given what the document model read of it
// (its subtype, rectangle and /A action), or nullopt:
// - "Link": always a link with the /Rect bounds, and the URL of a /URI action when it forms a
//   valid URL once escaped;
// - "Widget": a link only when the "D" action of its /AA is a /URI action giving a valid URL;
// - "Text" and every other subtype: nullopt.
// Links come back with type "Link", bounds and url; nothing else is set. Of a /URI action the
// "URI action" string wins over /URI.
std::optional<platform::Annotation> annotInfo(const platform::PdfObject& annotation,
                                              const platform::Annotation& read);

// Both lists of a page from one walk of its /Annots: the document model's annotations and the
// raw links.
struct PageAnnotations {
    std::vector<platform::Annotation> annotations;  // as Document::annotations reads them
    std::vector<platform::Annotation> links;        // as fmAnnotations reads them
};
// The stop flag is polled before each entry: once it is set, the raw links end with those read
// so far, while the model's list is read to its end.
PageAnnotations readPageAnnotations(const platform::Document& document, int pageIndex,
                                    const platform::StopFlag& stop);

// The links of the page at pageIndex (zero-based), in /Annots order; entries that are not
// dictionaries are skipped. The stop flag is polled before each entry: once it is set, the
// links read so far are returned. Empty when the page has no /Annots array.
std::vector<platform::Annotation> fmAnnotations(const platform::Document& document, int pageIndex,
                                                const platform::StopFlag& stop);

}  // namespace pdf
