#include "frontend/JobRunner.h"

#include "pdf/detectWidePageForFile.h"

namespace frontend {

std::int64_t LibraryJobs::detectWidePageForFile(const std::string& path,
                                                const std::optional<std::string>& password) {
    return pdf::detectWidePageForFile(path, password);
}

std::int64_t LibraryJobs::parseAnnosToXML(convert::QXAnnos& job, const platform::StopFlag& stop,
                                          platform::Reporter& reporter) {
    return job.parseAnnosToXML(stop, reporter);
}

void LibraryJobs::parse(text2link::ParsePDFTextLink& job, const platform::StopFlag& stop,
                        platform::Reporter& reporter) {
    job.parse(stop, reporter);
}

}  // namespace frontend
