#pragma once
// The single place where a document password is applied when a file is opened for reading, and
// where a job learns how many pages the document it opened has.

#include <optional>
#include <string>

#include "platform/MuPDFDocument.h"
#include "platform/Reporter.h"

namespace pdf {

// Opens the PDF at path and unlocks it: an encrypted file is tried with the empty password
// first, and only then with password, which must be non-empty and shorter than 126 bytes in
// UTF-8 (it has to fit a 126-byte buffer with its terminator; a longer one is not tried).
// nullopt when path is empty, the file cannot be opened, or it stays locked; also when stop is
// set while a damaged file is repaired to open it. Prints nothing.
std::optional<platform::Document> CGPDFDocumentCreateX(
    const std::string& path, const std::optional<std::string>& password,
    const platform::StopFlag& stop = platform::NeverStop());

// The page count of an opened, unlocked document. A document without any page makes a job
// write nothing and still succeed, so that is said in the diagnostic log, where the host's log
// shows why.
int pageCountOfJob(const platform::Document& document, platform::Reporter& reporter);

}  // namespace pdf
