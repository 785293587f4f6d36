#include "pdf/CGPDFDocumentCreateX.h"

namespace pdf {
namespace {

constexpr std::size_t kPasswordBufferSize = 126;

}  // namespace

std::optional<platform::Document> CGPDFDocumentCreateX(const std::string& path,
                                                       const std::optional<std::string>& password,
                                                       const platform::StopFlag& stop) {
    if (path.empty()) return std::nullopt;
    platform::Result<platform::Document> opened = platform::Document::open(path, stop);
    if (!opened) return std::nullopt;
    platform::Document document = std::move(opened).value();
    if (!document.isEncrypted()) return document;
    bool fits = password && !password->empty() && password->size() < kPasswordBufferSize;
    if (!document.unlock("") && fits) document.unlock(*password);
    if (!document.isUnlocked()) return std::nullopt;
    return document;
}

int pageCountOfJob(const platform::Document& document, platform::Reporter& reporter) {
    const int count = document.pageCount();
    if (count == 0) reporter.log("the document has no pages!");
    return count;
}

}  // namespace pdf
