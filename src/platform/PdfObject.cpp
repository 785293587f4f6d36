#include "platform/PdfObject.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "platform/DecimalFloat.h"
#include "platform/MuPDFEngine.h"

namespace platform {
namespace {

// The engine keeps names, strings and decoded text inside the object, so the pointers these
// leaves return stay valid while the PdfObject holds its reference.

int objectKind(fz_context* ctx, pdf_obj* obj, int (*test)(fz_context*, pdf_obj*)) {
    int result = 0;
    fz_var(result);
    fz_try(ctx) { result = test(ctx, obj); }
    fz_catch(ctx) { result = 0; }
    return result;
}

const char* nameOf(fz_context* ctx, pdf_obj* obj) {
    const char* result = nullptr;
    fz_var(result);
    fz_try(ctx) {
        if (pdf_is_name(ctx, obj)) result = pdf_to_name(ctx, obj);
    }
    fz_catch(ctx) { result = nullptr; }
    return result;
}

// An integer's or a real's value; false for anything else. Reading an object at hand cannot
// fail; a reference may have to be loaded, which can (see numberOf).
bool directNumber(fz_context* ctx, pdf_obj* obj, double* value) {
    if (pdf_is_int(ctx, obj)) {
        *value = static_cast<double>(pdf_to_int64(ctx, obj));
        return true;
    }
    if (pdf_is_real(ctx, obj)) {
        *value = decimalValue(pdf_to_real(ctx, obj));
        return true;
    }
    return false;
}

bool numberOf(fz_context* ctx, pdf_obj* obj, double* value) {
    bool found = false;
    fz_var(found);
    fz_try(ctx) { found = directNumber(ctx, obj, value); }
    fz_catch(ctx) { found = false; }
    return found;
}

bool integerOf(fz_context* ctx, pdf_obj* obj, long long* value) {
    bool found = false;
    fz_var(found);
    fz_try(ctx) {
        if (pdf_is_int(ctx, obj)) {
            *value = pdf_to_int64(ctx, obj);
            found = true;
        }
    }
    fz_catch(ctx) { found = false; }
    return found;
}

const char* textOf(fz_context* ctx, pdf_obj* obj) {
    const char* result = nullptr;
    fz_var(result);
    fz_try(ctx) {
        if (pdf_is_string(ctx, obj)) result = pdf_to_text_string(ctx, obj);
    }
    fz_catch(ctx) { result = nullptr; }
    return result;
}

const char* bytesOf(fz_context* ctx, pdf_obj* obj, size_t* length) {
    const char* result = nullptr;
    fz_var(result);
    fz_try(ctx) {
        if (pdf_is_string(ctx, obj)) {
            result = pdf_to_str_buf(ctx, obj);
            *length = pdf_to_str_len(ctx, obj);
        }
    }
    fz_catch(ctx) { result = nullptr; }
    return result;
}

// The object obj stands for, a reference followed, when it is of the kind test asks for; null
// otherwise.
pdf_obj* resolvedAs(fz_context* ctx, pdf_obj* obj, int (*test)(fz_context*, pdf_obj*)) {
    pdf_obj* result = nullptr;
    fz_var(result);
    fz_try(ctx) {
        pdf_obj* resolved = pdf_resolve_indirect_chain(ctx, obj);
        if (test(ctx, resolved)) result = resolved;
    }
    fz_catch(ctx) { result = nullptr; }
    return result;
}

// Item index of a resolved array as a number, 0 when it is none. An item at hand is read
// without the engine's error handling, which costs more than the read; only a reference to
// another object is read under it.
double numberAt(fz_context* ctx, pdf_obj* array, int index) {
    pdf_obj* item = pdf_array_get(ctx, array, index);
    double value = 0;
    const bool found =
        pdf_is_indirect(ctx, item) ? numberOf(ctx, item, &value) : directNumber(ctx, item, &value);
    return found ? value : 0;
}

int lengthOf(fz_context* ctx, pdf_obj* obj) {
    int result = 0;
    fz_var(result);
    fz_try(ctx) { result = pdf_is_array(ctx, obj) ? pdf_array_len(ctx, obj) : 0; }
    fz_catch(ctx) { result = 0; }
    return result;
}

pdf_obj* elementOf(fz_context* ctx, pdf_obj* obj, int index) {
    pdf_obj* result = nullptr;
    fz_var(result);
    fz_try(ctx) { result = pdf_array_get(ctx, obj, index); }
    fz_catch(ctx) { result = nullptr; }
    return result;
}

}  // namespace

namespace mupdf {

pdf_obj* entryOf(fz_context* ctx, pdf_obj* dict, const char* key) {
    // Searching a dictionary at hand cannot fail, and the engine's error handling costs more
    // than the search: only a reference, which may have to be loaded, needs it.
    if (!pdf_is_indirect(ctx, dict)) return pdf_dict_gets(ctx, dict, key);
    pdf_obj* result = nullptr;
    fz_var(result);
    fz_try(ctx) { result = pdf_dict_gets(ctx, dict, key); }
    fz_catch(ctx) { result = nullptr; }
    return result;
}

}  // namespace mupdf

PdfObject::PdfObject() = default;

PdfObject::PdfObject(std::shared_ptr<Handle> handle, void* object)
    : handle_(std::move(handle)), object_(object) {
    if (!handle_ || object_ == nullptr) {
        handle_.reset();
        object_ = nullptr;
        return;
    }
    // Only counts a reference and never throws: no fz_try, which every object made would pay.
    pdf_keep_obj(handle_->ctx, static_cast<pdf_obj*>(object_));
}

PdfObject::PdfObject(const PdfObject& other) : PdfObject(other.handle_, other.object_) {}

PdfObject& PdfObject::operator=(const PdfObject& other) {
    if (this != &other) *this = PdfObject(other);
    return *this;
}

PdfObject::PdfObject(PdfObject&& other) noexcept
    : handle_(std::move(other.handle_)), object_(std::exchange(other.object_, nullptr)) {}

PdfObject& PdfObject::operator=(PdfObject&& other) noexcept {
    if (this != &other) {
        if (handle_) pdf_drop_obj(handle_->ctx, static_cast<pdf_obj*>(object_));
        handle_ = std::move(other.handle_);
        object_ = std::exchange(other.object_, nullptr);
    }
    return *this;
}

// The object goes before the handle, which may drop the document with it.
PdfObject::~PdfObject() {
    if (handle_) pdf_drop_obj(handle_->ctx, static_cast<pdf_obj*>(object_));
}

bool PdfObject::isNull() const {
    return !handle_ || objectKind(handle_->ctx, static_cast<pdf_obj*>(object_), pdf_is_null);
}

bool PdfObject::isDictionary() const {
    return handle_ && objectKind(handle_->ctx, static_cast<pdf_obj*>(object_), pdf_is_dict);
}

bool PdfObject::isArray() const {
    return handle_ && objectKind(handle_->ctx, static_cast<pdf_obj*>(object_), pdf_is_array);
}

std::optional<std::string> PdfObject::name() const {
    if (!handle_) return std::nullopt;
    const char* name = nameOf(handle_->ctx, static_cast<pdf_obj*>(object_));
    if (name == nullptr) return std::nullopt;
    return std::string(name);
}

std::optional<double> PdfObject::number() const {
    double value = 0;
    if (!handle_ || !numberOf(handle_->ctx, static_cast<pdf_obj*>(object_), &value)) {
        return std::nullopt;
    }
    return value;
}

std::optional<long long> PdfObject::integer() const {
    long long value = 0;
    if (!handle_ || !integerOf(handle_->ctx, static_cast<pdf_obj*>(object_), &value)) {
        return std::nullopt;
    }
    return value;
}

std::optional<std::string> PdfObject::textString() const {
    if (!handle_) return std::nullopt;
    const char* text = textOf(handle_->ctx, static_cast<pdf_obj*>(object_));
    if (text == nullptr) return std::nullopt;
    return std::string(text);
}

std::optional<std::string> PdfObject::stringBytes() const {
    if (!handle_) return std::nullopt;
    size_t length = 0;
    const char* bytes = bytesOf(handle_->ctx, static_cast<pdf_obj*>(object_), &length);
    if (bytes == nullptr) return std::nullopt;
    return std::string(bytes, length);
}

std::optional<Rect> PdfObject::rectangle() const {
    if (!handle_) return std::nullopt;
    fz_context* ctx = handle_->ctx;
    pdf_obj* array = resolvedAs(ctx, static_cast<pdf_obj*>(object_), pdf_is_array);
    if (array == nullptr) return std::nullopt;
    // Held while its corners are read, as reading one that refers to another object makes the
    // engine load that object, and perhaps repair the file.
    pdf_keep_obj(ctx, array);
    double n[4];
    for (int i = 0; i < 4; ++i) n[i] = numberAt(ctx, array, i);
    pdf_drop_obj(ctx, array);
    return Rect{std::min(n[0], n[2]), std::min(n[1], n[3]), std::fabs(n[2] - n[0]),
                std::fabs(n[3] - n[1])};
}

std::size_t PdfObject::arrayLength() const {
    if (!handle_) return 0;
    int length = lengthOf(handle_->ctx, static_cast<pdf_obj*>(object_));
    return length > 0 ? static_cast<std::size_t>(length) : 0;
}

PdfObject PdfObject::at(std::size_t index) const {
    if (!handle_ || index >= arrayLength()) return {};
    return PdfObject(
        handle_, elementOf(handle_->ctx, static_cast<pdf_obj*>(object_), static_cast<int>(index)));
}

PdfObject PdfObject::dictionary() const {
    if (!handle_) return {};
    return PdfObject(handle_,
                     resolvedAs(handle_->ctx, static_cast<pdf_obj*>(object_), pdf_is_dict));
}

PdfObject PdfObject::get(const std::string& key) const {
    if (!handle_) return {};
    return PdfObject(handle_,
                     mupdf::entryOf(handle_->ctx, static_cast<pdf_obj*>(object_), key.c_str()));
}

}  // namespace platform
