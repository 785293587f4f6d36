#include "frontend/JobRunner.h"

#include <new>
#include <string>

#include "convert/JobDocument.h"
#include "frontend/JobStop.h"
#include "pdf/CGPDFDocumentCreateX.h"
#include "pdf/detectWidePageForFile.h"
#include "platform/DataDetector.h"
#include "platform/OutOfMemory.h"

namespace frontend {

namespace {

// Room the text services need to start: the phone-number library builds its tables and
// compiles its patterns on first use, which took about 10 MiB here.
constexpr std::size_t kTextServicesRoom = 32u << 20;

// ICU's regular expressions do not survive running out of memory while a pattern compiles
// (they crash cleaning up), and the phone-number library and the phone-number patterns compile
// theirs on first use. They are started here, on the job's thread, while there is room; a job
// without that room fails at once, as one that runs out of memory does.
void startTextServices() {
    if (!platform::hasAddressSpaceLeft(kTextServicesRoom)) throw std::bad_alloc();
    const std::u16string sample = u"www.example.org 13812345678";
    static_cast<void>(
        platform::findMatches(sample, platform::kDetectLinks | platform::kDetectPhoneNumbers));
    static_cast<void>(text2link::ParsePDFTextLink().isPhoneNumber(u"13812345678"));
}

}  // namespace

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
    if (job.isText2Link) startTextServices();
    return job.parseAnnosToXML(stop, reporter);
}

void LibraryJobs::parse(text2link::ParsePDFTextLink& job, const platform::StopFlag& stop,
                        platform::Reporter& reporter) {
    startTextServices();
    job.parse(stop, reporter);
}

}  // namespace frontend
