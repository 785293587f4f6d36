#pragma once
// The converter of one page of a -b job. The driver (QXAnnos) creates one per selected page,
// copies the job settings into the properties and calls startConvert, which writes the page's
// XML file(s) for the page editor or, with isHTML5Annotions, for the HTML5 animation editor.
//
// Page numbers are one-based throughout; the document is read at index pageNumber - 1.
// Fraction rectangles are x, y, width, height relative to the displayed (rotated) page.

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "convert/XmlFileText.h"
#include "pdf/ImprovePDFPage.h"
#include "pdf/WidePages.h"
#include "platform/FileQueue.h"
#include "platform/Geometry.h"
#include "platform/MuPDFDocument.h"
#include "platform/PugiXML.h"
#include "platform/Reporter.h"
#include "platform/StopFlag.h"

namespace convert {

class JobDocument;  // convert/JobDocument.h: the document of a job, opened and measured once

class PDFAnnotations {
public:
    // Starts with empty lists, all numbers and switches 0, all texts and the document absent.
    PDFAnnotations() = default;

    std::shared_ptr<const platform::Document> pdfDoc;  // set by startConvert
    std::string inputFile;
    std::int64_t pageNumber = 0;
    std::int64_t wideMode = 0;  // 0 off, 1 divide pages found wide, 2 divide every page
    std::optional<std::string> pdfPassword;
    std::string outputFile;  // the file to write; divided pages get "-w0"/"-w1" beside it
    double pageWidth = 0;    // reference single-page width of the old wide test; 0 = not given
    bool isHTML5Annotions = false;
    std::optional<std::string> taskID;
    bool isRight2Left = false;
    double aspectRatio = 0;
    bool isNewMode = false;
    bool isText2Link = false;
    std::int64_t typeOfText2Link = 0;

    // Lets this converter read a document its job already opened and measured instead of
    // opening inputFile itself. Every converter of the job may share the same one.
    void useJobDocument(std::shared_ptr<const JobDocument> document);
    // Lets this converter hand its files to its job's writing thread instead of writing them
    // itself.
    void useFileQueue(std::shared_ptr<platform::FileQueue> files);

    // Opens the document (or takes the shared one), measures its pages and runs the writer.
    // False, with nothing written, when inputFile is gone or the document cannot be opened or
    // unlocked ("Invalid Password !" is logged for a locked one); true once a writer ran.
    bool startConvert(const platform::StopFlag& stop, platform::Reporter& reporter);

    // --- Wide pages: measurement, the wide test and the divided book's numbering. ---
    // startConvert measures and numbers the pages for the converter's settings (shared with
    // the other converters of the job); tests may hand in their own.
    void useWidePages(std::shared_ptr<const pdf::WidePages> pages);
    // Empty lists before the pages are measured.
    const std::vector<std::int64_t>& indexesOfPDFDivided() const;  // p-1: first divided page of p
    const std::vector<int>& widthsOfPDF() const;    // displayed width, truncated, per page
    const std::vector<float>& aspectOfPDF() const;  // displayed width / height, per page
    // One-based page numbers. Outside the measured pages: not wide, and the page itself.
    bool isWidePageAt(std::int64_t page) const;
    std::int32_t NewPageIndexAt(std::int64_t page) const;

    // --- Page-editor XML. ---
    // Writes outputFile, or its "-w0"/"-w1" siblings for a divided page. Nothing without pdfDoc.
    // The stop flag is polled once per link; what was collected is written all the same.
    void parsePageWithDetectWidePage(const platform::StopFlag& stop);
    // An "anno" root with an open-URL action; the url is decoded by decodeLinkURL, and left
    // empty when that fails.
    static platform::XmlDocument PDFActionURL2EditorXML(const std::string& url);
    // An "anno" root with a go-to action to the one-based page.
    static platform::XmlDocument PDFActionGoTo2EditorXML(std::int64_t page);
    // Undoes percent escapes round after round until nothing changes. nullopt when an escape is
    // malformed or the decoded bytes are not valid UTF-8.
    static std::optional<std::string> removePercentCoding(std::string_view text);
    // Renumbers the go-to target of an "anno" element for the divided book; isDestPart1 selects
    // the second half of a divided target page. Open-URL elements stay as they are.
    void changeGotoPageForPageEditor(platform::XmlNode anno, bool isDestPart1) const;

    // --- HTML5 animation-editor XML. ---
    void parsePageForAnimationEditor(const platform::StopFlag& stop);
    static platform::XmlDocument generateXMLForBlankPage();
    void changeGotoPageForAnimationEditor(platform::XmlNode element, bool isDestPart1) const;
    // The target changeGotoPageForAnimationEditor gives a go-to element for the one-based page.
    std::int32_t dividedSlideTarget(std::int32_t page, bool isDestPart1) const;
    // Same test as findLinkAt; nullptr when nothing matches.
    static const platform::Annotation* AnnotationLinkAt(
        const std::vector<platform::Annotation>& list, const platform::Rect& rect);

    // --- Geometry shared by both writers. ---
    // Bounds in page space to fractions of the page displayed with the rotation (90, 180 and
    // 270 turn it, any other value counts as 0), origin still lower left. A page box of zero
    // width or height gives 0 for the fractions that would divide by it.
    static platform::Rect convertRatioContraintBounds(const platform::Rect& bounds, int rotation,
                                                      const platform::Rect& pageBounds);
    // Rescales the style positions of the links of a "slide" root from one size to another and
    // stamps the target size into its "info". Any other root is left alone. A zero source
    // dimension scales the values along it to 0.
    static void changeSlidePosition(platform::XmlNode slide, platform::Size fromSize,
                                    platform::Size toSize);
    // One style position as changeSlidePosition rescales it along one axis.
    static std::int32_t slidePosition(std::int32_t value, double from, double to);

    // --- Link resolution shared by both writers. ---
    // What a link does, once resolved: open a web address, or go to a page of the undivided
    // book (and to its second half when isDestPart1).
    struct LinkTarget {
        std::optional<std::string> url;  // open-URL when set, as the link gives it (undecoded)
        std::int64_t page = 0;           // go-to: one-based target page
        bool isDestPart1 = false;
    };
    // Where a link goes on a page that may be divided into two halves.
    struct LinkPlacement {
        platform::Rect location;   // x, top, width, height as fractions, origin top-left
        bool toSecond = false;     // into the second half; dropped when the page is not divided
        bool overflows = false;    // runs over the middle: a copy also goes to the second half
        double overflowWidth = 0;  // width of that copy, which starts at the half's left edge
    };

    // From one walk of the page's /Annots: as annotations, the page's annotations followed,
    // with isText2Link, by the links found in its text; as links, the raw links read straight
    // from the dictionaries (for URLs the model does not expose).
    pdf::PageAnnotations readPageLinks(const platform::StopFlag& stop) const;
    // First raw link whose bounds intersect rect and whose origin lies in rect; nullptr if none.
    static const platform::Annotation* findLinkAt(const std::vector<platform::Annotation>& rawList,
                                                  const platform::Rect& rect);
    // The link's action by annotation type; nullopt for a link to skip.
    std::optional<LinkTarget> resolveLinkTarget(
        const platform::Annotation& link, const std::vector<platform::Annotation>& rawList) const;
    // removePercentCoding, then every line break deleted; nullopt when decoding fails.
    static std::optional<std::string> decodeLinkURL(const std::string& url);
    // The link's fraction rectangle on the current page, placed on a half when divided.
    LinkPlacement placeLink(const platform::Rect& bounds, bool divided) const;
    // outputFile for an undivided page; "<name>-w0.<ext>" / "<name>-w1.<ext>" beside it.
    std::string outputPathForHalf(bool divided, int half) const;
    // Writes the text atomically, through the job's writing thread when there is one; a failed
    // write is ignored.
    void writeXML(const std::string& path, XmlFileText xml) const;

private:
    int currentPageIndex() const { return static_cast<int>(pageNumber - 1); }
    static std::optional<LinkTarget> rawURLTarget(const std::vector<platform::Annotation>& rawList,
                                                  const platform::Rect& bounds);
    LinkTarget goToTarget(const platform::Destination& destination) const;
    LinkTarget namedTarget(const std::string& name) const;
    bool isDestinationInSecondHalf(std::int64_t page, platform::Point point,
                                   const platform::Rect& box) const;

    std::shared_ptr<const JobDocument> jobDocument_;
    std::shared_ptr<const pdf::WidePages> widePages_;
    std::shared_ptr<platform::FileQueue> files_;
};

}  // namespace convert
