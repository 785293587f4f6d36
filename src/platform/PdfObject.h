#pragma once
// A read-only view of one object of an open PDF, indirect references already resolved. Absent
// or wrongly typed entries give std::nullopt or a null object, never an error. The view keeps
// its document's engine state alive.

#include <cstddef>
#include <memory>
#include <optional>
#include <string>

#include "platform/Geometry.h"

namespace platform {

class PdfObject {
public:
    struct Handle;  // engine state shared with the document
    PdfObject();
    // Takes a reference of its own to object (an engine object of handle's document).
    PdfObject(std::shared_ptr<Handle> handle, void* object);
    PdfObject(const PdfObject&);
    PdfObject& operator=(const PdfObject&);
    PdfObject(PdfObject&&) noexcept;
    PdfObject& operator=(PdfObject&&) noexcept;
    ~PdfObject();

    bool isNull() const;
    bool isDictionary() const;
    bool isArray() const;

    std::optional<std::string> name() const;         // a name's bytes, without the slash
    std::optional<double> number() const;            // integer or real
    std::optional<long long> integer() const;        // integers only
    std::optional<std::string> textString() const;   // a string decoded as PDF text, in UTF-8
    std::optional<std::string> stringBytes() const;  // a string's bytes as written, undecoded

    // An array as a rectangle: numbers 0 to 3 are two corners in either order (a missing or
    // non-numeric one counts as 0); nullopt for anything but an array.
    std::optional<Rect> rectangle() const;

    std::size_t arrayLength() const;  // 0 for anything but an array
    PdfObject at(std::size_t index) const;
    PdfObject get(const std::string& key) const;  // dictionary entry
    // The dictionary itself, or the one a reference leads to; null for anything else. Reading
    // many entries of it costs less than through the reference.
    PdfObject dictionary() const;

private:
    friend struct PdfObjectAccess;  // the engine files reach the object they wrap
    std::shared_ptr<Handle> handle_;
    void* object_ = nullptr;
};

}  // namespace platform
