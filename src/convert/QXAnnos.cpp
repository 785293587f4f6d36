#include "convert/QXAnnos.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <new>
#include <set>

#include "convert/JobDocument.h"
#include "convert/PDFAnnotations.h"
#include "frontend/parsePageRange.h"
#include "pdf/CGPDFDocumentCreateX.h"
#include "platform/OutOfMemory.h"

namespace convert {

namespace {

// One XML file for the job when the output path ends in ".xml" in any letter case.
bool isSingleFileOutput(const std::string& outputFile) {
    std::filesystem::path path(outputFile);
    if (!path.has_filename()) path = path.parent_path();
    std::string extension = path.extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return extension == ".xml";
}

// The page's file in the output folder. Joined as text: taking the folder's path apart as
// std::filesystem does, for every page, cost more than the rest of making the name.
std::string pageOutputPath(const std::string& outputFile, std::int64_t page, bool singleFile) {
    if (singleFile) return outputFile;
    std::string name = std::to_string(page) + ".xml";
    if (outputFile.empty()) return name;
    return outputFile.back() == '/' ? outputFile + name : outputFile + '/' + name;
}

PDFAnnotations makeConverter(const QXAnnos& job, std::int64_t page, bool singleFile) {
    PDFAnnotations converter;
    converter.taskID = job.taskID;
    converter.inputFile = job.inputFile;
    converter.outputFile = pageOutputPath(job.outputFile, page, singleFile);
    converter.wideMode = job.wideMode;
    // The host's width only means something to the width test of wide mode 1.
    if (converter.wideMode == 1 && job.divWidth != 0) {
        converter.pageWidth = static_cast<double>(job.divWidth);
    }
    converter.pageNumber = page;
    converter.pdfPassword = job.password;
    converter.isHTML5Annotions = job.isHTML5Annotions;
    converter.isRight2Left = job.isRight2Left;
    converter.aspectRatio = job.aspectRatio;
    converter.isNewMode = job.isNewMode;
    converter.isText2Link = job.isText2Link;
    converter.typeOfText2Link = job.typeOfText2Link;
    return converter;
}

}  // namespace

void QXAnnos::useJobDocument(std::shared_ptr<const JobDocument> document) {
    jobDocument_ = std::move(document);
}

std::int64_t QXAnnos::parseAnnosToXML(const platform::StopFlag& stop,
                                      platform::Reporter& reporter) {
    std::shared_ptr<const JobDocument> shared = std::move(jobDocument_);
    if (!shared) {
        std::optional<platform::Document> document =
            pdf::CGPDFDocumentCreateX(inputFile, password, stop);
        if (!document) {
            // A job stopped while its damaged document was being repaired has nothing to write
            // and nothing to report: the host no longer waits for its result.
            if (stop.isSet()) return 0;
            // Memory that ran out while the file was opened says nothing about its password.
            if (platform::ranOutOfMemory()) throw std::bad_alloc();
            reporter.out("failed to verify the password!!!");
            return -1;
        }
        // Opened and measured once for the whole job; every page converter reads the same one.
        shared = std::make_shared<const JobDocument>(std::move(*document));
    }
    std::set<std::int64_t> pages =
        frontend::parsePageRange(pageRange, pdf::pageCountOfJob(shared->document(), reporter));
    if (pages.empty()) return 0;
    bool singleFile = isSingleFileOutput(outputFile);
    // Every file is written before the job returns.
    auto files = std::make_shared<platform::FileQueue>();
    for (std::int64_t page : pages) {
        PDFAnnotations converter = makeConverter(*this, page, singleFile);
        converter.useJobDocument(shared);
        converter.useFileQueue(files);
        if (!converter.startConvert(stop, reporter)) {
            reporter.log("page" + std::to_string(page) + ":failed to load annotations!");
        }
        // Deliberately only the lowest selected page has a place in a single output file.
        if (singleFile) break;
    }
    files->finish();
    return 0;
}

}  // namespace convert
