#include "convert/PDFAnnotations.h"

#include <cmath>
#include <filesystem>

#include "convert/JobDocument.h"
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
    return makeJobDocument(std::move(*document));
}

}  // namespace

void PDFAnnotations::useJobDocument(std::shared_ptr<const JobDocument> document) {
    jobDocument_ = std::move(document);
}

bool PDFAnnotations::startConvert(const platform::StopFlag& stop, platform::Reporter& reporter) {
    // Checked for every page, also with a shared document: the host may take the file away.
    std::error_code error;
    if (!std::filesystem::exists(inputFile, error)) return false;
    if (!jobDocument_) jobDocument_ = openOwnDocument(inputFile, pdfPassword, reporter);
    if (!jobDocument_) return false;
    pdfDoc = std::shared_ptr<const platform::Document>(jobDocument_, &jobDocument_->document);
    checkDetectWidePage();
    collectNewPageOrder();
    if (isHTML5Annotions) {
        parsePageForAnimationEditor(stop);
    } else {
        parsePageWithDetectWidePage(stop);
    }
    return true;
}

void PDFAnnotations::checkDetectWidePage() {
    widthsOfPDF.clear();
    aspectOfPDF.clear();
    if (!jobDocument_) return;
    widthsOfPDF = jobDocument_->widthsOfPDF;
    aspectOfPDF = jobDocument_->aspectOfPDF;
    for (std::size_t page = 1; page <= widthsOfPDF.size(); ++page) {
        indexesOfPDFDivided.push_back(static_cast<std::int64_t>(page));
    }
}

bool PDFAnnotations::isWidePageAt(std::int64_t page) const {
    if (page < 1 || page > static_cast<std::int64_t>(widthsOfPDF.size())) return false;
    if (page > static_cast<std::int64_t>(aspectOfPDF.size())) return false;
    if (wideMode > 1) return true;
    if (wideMode != 1) return false;
    if (isNewMode) {
        double aspect = aspectOfPDF[page - 1];
        return std::trunc(aspect / (aspectRatio + 1e-7) + 0.5) >= 2;
    }
    return widthsOfPDF[page - 1] > pageWidth * 1.8;
}

void PDFAnnotations::collectNewPageOrder() {
    if (wideMode == 0) return;
    indexesOfPDFDivided.clear();
    std::int64_t next = 1;
    for (std::int64_t page = 1; page <= static_cast<std::int64_t>(widthsOfPDF.size()); ++page) {
        indexesOfPDFDivided.push_back(next);
        bool divided = (isWidePageAt(page) && wideMode == 1) || wideMode == 2;
        next += divided ? 2 : 1;
    }
}

std::int32_t PDFAnnotations::NewPageIndexAt(std::int64_t page) const {
    if (page < 1 || page > static_cast<std::int64_t>(indexesOfPDFDivided.size())) return 0;
    return static_cast<std::int32_t>(indexesOfPDFDivided[page - 1]);
}

std::vector<platform::Annotation> PDFAnnotations::readPageLinks(
    const platform::StopFlag& stop) const {
    std::vector<platform::Annotation> links = pdfDoc->annotations(currentPageIndex());
    if (!isText2Link) return links;
    text2link::ParsePDFTextLink scanner;
    scanner.pdfFile = inputFile;
    scanner.pageRange = std::to_string(pageNumber);
    scanner.password = pdfPassword;
    scanner.taskID = taskID;
    scanner.parseType = typeOfText2Link;
    std::vector<platform::Annotation> found;
    scanner.parsePage(*pdfDoc, currentPageIndex(), found, stop);
    links.insert(links.end(), found.begin(), found.end());
    return links;
}

std::vector<platform::Annotation> PDFAnnotations::readRawLinks(const platform::StopFlag&) const {
    return {};  // Placeholder until the raw /Annots reader of the pdf layer lands.
}

}  // namespace convert
