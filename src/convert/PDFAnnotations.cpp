#include "convert/PDFAnnotations.h"

#include <filesystem>

#include "convert/JobDocument.h"
#include "pdf/ImprovePDFPage.h"
#include "text2link/ParsePDFTextLink.h"

namespace convert {

namespace {

// The document of a converter that runs on its own: the empty password first, then the given
// one; a document that opens with the empty one is never tried with the other.
std::shared_ptr<const JobDocument> openOwnDocument(const std::string& path,
                                                   const std::optional<std::string>& password,
                                                   platform::Reporter& reporter) {
    platform::Result<platform::Document> document = platform::Document::open(path);
    if (!document) return nullptr;
    if (document->isEncrypted() && !document->unlock("")) {
        if (!password || !document->unlock(*password)) {
            reporter.log("Invalid Password !");
            return nullptr;
        }
    }
    return std::make_shared<const JobDocument>(std::move(*document));
}

const pdf::WidePages& noPages() {
    static const pdf::WidePages none;
    return none;
}

}  // namespace

void PDFAnnotations::useJobDocument(std::shared_ptr<const JobDocument> document) {
    jobDocument_ = std::move(document);
}

void PDFAnnotations::useFileQueue(std::shared_ptr<platform::FileQueue> files) {
    files_ = std::move(files);
}

bool PDFAnnotations::startConvert(const platform::StopFlag& stop, platform::Reporter& reporter) {
    // Checked for every page, also with a shared document: the host may take the file away.
    std::error_code error;
    if (!std::filesystem::exists(inputFile, error)) return false;
    if (!jobDocument_) jobDocument_ = openOwnDocument(inputFile, pdfPassword, reporter);
    if (!jobDocument_) return false;
    pdfDoc = std::shared_ptr<const platform::Document>(jobDocument_, &jobDocument_->document());
    widePages_ = jobDocument_->widePagesFor(wideMode, isNewMode, aspectRatio, pageWidth);
    if (isHTML5Annotions) {
        parsePageForAnimationEditor(stop);
    } else {
        parsePageWithDetectWidePage(stop);
    }
    return true;
}

void PDFAnnotations::useWidePages(std::shared_ptr<const pdf::WidePages> pages) {
    widePages_ = std::move(pages);
}

const std::vector<std::int64_t>& PDFAnnotations::indexesOfPDFDivided() const {
    return (widePages_ ? *widePages_ : noPages()).indexesOfPDFDivided;
}

const std::vector<int>& PDFAnnotations::widthsOfPDF() const {
    return (widePages_ ? *widePages_ : noPages()).widthsOfPDF;
}

const std::vector<float>& PDFAnnotations::aspectOfPDF() const {
    return (widePages_ ? *widePages_ : noPages()).aspectOfPDF;
}

bool PDFAnnotations::isWidePageAt(std::int64_t page) const {
    return (widePages_ ? *widePages_ : noPages()).isWidePageAt(page);
}

std::int32_t PDFAnnotations::NewPageIndexAt(std::int64_t page) const {
    return (widePages_ ? *widePages_ : noPages()).NewPageIndexAt(page);
}

pdf::PageAnnotations PDFAnnotations::readPageLinks(const platform::StopFlag& stop) const {
    pdf::PageAnnotations links = pdf::readPageAnnotations(*pdfDoc, currentPageIndex(), stop);
    // Building a page's text is most of a page's work: a stopped job skips it.
    if (!isText2Link || stop.isSet()) return links;
    text2link::ParsePDFTextLink scanner;
    scanner.pdfFile = inputFile;
    scanner.pageRange = std::to_string(pageNumber);
    scanner.password = pdfPassword;
    scanner.taskID = taskID;
    scanner.parseType = typeOfText2Link;
    // Appended in place: a page can hold hundreds of thousands of finds.
    scanner.parsePage(*pdfDoc, currentPageIndex(), links.annotations, stop);
    return links;
}

}  // namespace convert
