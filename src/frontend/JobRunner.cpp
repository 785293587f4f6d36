#include "frontend/JobRunner.h"

#include "convert/JobDocument.h"
#include "frontend/JobStop.h"
#include "pdf/CGPDFDocumentCreateX.h"
#include "pdf/detectWidePageForFile.h"

namespace frontend {

struct LibraryJobs::MeasuredDocument {
    std::string path;
    std::optional<std::string> password;
    std::shared_ptr<const convert::JobDocument> document;
};

LibraryJobs::LibraryJobs() = default;
LibraryJobs::~LibraryJobs() = default;

std::int64_t LibraryJobs::detectWidePageForFile(const std::string& path,
                                                const std::optional<std::string>& password) {
    measured_.reset();
    // The entry has opened the job's stop flag by now.
    std::optional<platform::Document> document =
        pdf::CGPDFDocumentCreateX(path, password, JobStop());
    if (!document) return 0;
    auto shared = std::make_shared<const convert::JobDocument>(std::move(*document));
    measured_ = std::make_unique<MeasuredDocument>(MeasuredDocument{path, password, shared});
    return pdf::detectWidePage(shared->measures());
}

std::int64_t LibraryJobs::parseAnnosToXML(convert::QXAnnos& job, const platform::StopFlag& stop,
                                          platform::Reporter& reporter) {
    if (measured_ && measured_->path == job.inputFile && measured_->password == job.password) {
        job.useJobDocument(measured_->document);
    }
    measured_.reset();
    return job.parseAnnosToXML(stop, reporter);
}

void LibraryJobs::parse(text2link::ParsePDFTextLink& job, const platform::StopFlag& stop,
                        platform::Reporter& reporter) {
    job.parse(stop, reporter);
}

}  // namespace frontend
