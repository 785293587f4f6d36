// Placeholder until the engine layer lands.
#include "platform/MuPDFDocument.h"

namespace platform {
struct Document::Members {};
Document::Document(std::unique_ptr<Members> members) : m_(std::move(members)) {}
Document::Document(Document&&) noexcept = default;
Document& Document::operator=(Document&&) noexcept = default;
Document::~Document() = default;
Result<Document> Document::open(const std::string&) {
    return makeError(Error::Code::Unsupported, "not built");
}
bool Document::isEncrypted() const { return false; }
bool Document::unlock(const std::string&) { return false; }
bool Document::isUnlocked() const { return false; }
int Document::pageCount() const { return 0; }
PdfObject Document::pageObject(int) const { return {}; }
int Document::rotation(int) const { return 0; }
Rect Document::cropBox(int) const { return {}; }
std::vector<Annotation> Document::annotations(int) const { return {}; }
Result<PageText> Document::pageText(int) const { return PageText{}; }
Status Document::addLink(int, const Rect&, const std::optional<std::string>&) { return Done{}; }
Status Document::save(const std::string&) { return Done{}; }
}  // namespace platform
