// Placeholder until the engine layer lands.
#include "platform/PdfObject.h"

namespace platform {
struct PdfObject::Handle {};
PdfObject::PdfObject() = default;
PdfObject::PdfObject(std::shared_ptr<Handle> handle, void* object)
    : handle_(std::move(handle)), object_(object) {}
PdfObject::PdfObject(const PdfObject&) = default;
PdfObject& PdfObject::operator=(const PdfObject&) = default;
PdfObject::~PdfObject() = default;
bool PdfObject::isNull() const { return true; }
bool PdfObject::isDictionary() const { return false; }
bool PdfObject::isArray() const { return false; }
std::optional<std::string> PdfObject::name() const { return {}; }
std::optional<double> PdfObject::number() const { return {}; }
std::optional<long long> PdfObject::integer() const { return {}; }
std::optional<std::string> PdfObject::textString() const { return {}; }
std::size_t PdfObject::arrayLength() const { return 0; }
PdfObject PdfObject::at(std::size_t) const { return {}; }
PdfObject PdfObject::get(const std::string&) const { return {}; }
}  // namespace platform
