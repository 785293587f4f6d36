#pragma once
// The annotation conversion job (-b): the front end sets every property, then calls
// parseAnnosToXML once.

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "platform/Reporter.h"
#include "platform/StopFlag.h"

namespace convert {

class JobDocument;

class QXAnnos {
public:
    std::string inputFile;
    std::string outputFile;  // one XML file (extension "xml", any case) or a folder
    std::string pageRange;
    std::optional<std::string> password;
    std::int64_t wideMode = 0;
    std::int64_t divWidth = 0;
    bool isHTML5Annotions = false;
    std::optional<std::string> taskID;
    bool isRight2Left = false;
    bool isNewMode = false;
    double aspectRatio = 1.0;
    bool isText2Link = false;
    std::int64_t typeOfText2Link = 3;

    // 0 when the document could be opened, whatever happened to single pages; -1 when not.
    std::int64_t parseAnnosToXML(const platform::StopFlag& stop, platform::Reporter& reporter);
    // Runs the next parseAnnosToXML on this document of inputFile, already opened with password,
    // instead of opening the file again.
    void useJobDocument(std::shared_ptr<const JobDocument> document);

private:
    std::shared_ptr<const JobDocument> jobDocument_;
};

}  // namespace convert
