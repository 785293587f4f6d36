#pragma once
// What the entry hands its work to once the settings are read: measuring the dividing width of
// wide pages, and running the two jobs. The process uses LibraryJobs; tests put a recorder in its
// place to see exactly what each job object was given.

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "convert/QXAnnos.h"
#include "platform/Reporter.h"
#include "platform/StopFlag.h"
#include "text2link/ParsePDFTextLink.h"

namespace frontend {

class JobRunner {
public:
    virtual ~JobRunner() = default;
    virtual std::int64_t detectWidePageForFile(const std::string& path,
                                               const std::optional<std::string>& password) = 0;
    virtual std::int64_t parseAnnosToXML(convert::QXAnnos& job, const platform::StopFlag& stop,
                                         platform::Reporter& reporter) = 0;
    virtual void parse(text2link::ParsePDFTextLink& job, const platform::StopFlag& stop,
                       platform::Reporter& reporter) = 0;
};

// The real measurement and jobs.
class LibraryJobs final : public JobRunner {
public:
    LibraryJobs();
    ~LibraryJobs() override;
    std::int64_t detectWidePageForFile(const std::string& path,
                                       const std::optional<std::string>& password) override;
    std::int64_t parseAnnosToXML(convert::QXAnnos& job, const platform::StopFlag& stop,
                                 platform::Reporter& reporter) override;
    void parse(text2link::ParsePDFTextLink& job, const platform::StopFlag& stop,
               platform::Reporter& reporter) override;

private:
    // The document the width was measured on, handed to the conversion of the same file so
    // that a book is parsed once per process.
    struct MeasuredDocument;
    std::unique_ptr<MeasuredDocument> measured_;
};

}  // namespace frontend
