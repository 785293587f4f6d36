#pragma once
// Failures travel as values: a Result holds either the value or the Error that prevented it.

#include <string>
#include <utility>
#include <variant>

namespace platform {

struct Error {
    enum class Code {
        System,       // the file system or memory failed us
        Format,       // the input is not what it claims to be (damaged PDF, bad XML, ...)
        Password,     // an encrypted document stays locked
        Argument,     // the caller asked for something that does not exist (page out of range)
        Unsupported,  // the input asks for something we cannot do
    };
    Code code = Code::Format;
    std::string message;
};

template <class T>
class [[nodiscard]] Result {
public:
    Result(T value) : state_(std::move(value)) {}
    Result(Error error) : state_(std::move(error)) {}

    bool ok() const { return state_.index() == 0; }
    explicit operator bool() const { return ok(); }

    T& value() & { return std::get<0>(state_); }
    const T& value() const& { return std::get<0>(state_); }
    T&& value() && { return std::get<0>(std::move(state_)); }
    T* operator->() { return &value(); }
    const T* operator->() const { return &value(); }
    T& operator*() & { return value(); }
    const T& operator*() const& { return value(); }

    const Error& error() const { return std::get<1>(state_); }

private:
    std::variant<T, Error> state_;
};

// For operations that produce nothing but can fail.
struct Done {};
using Status = Result<Done>;

inline Error makeError(Error::Code code, std::string message) {
    return Error{code, std::move(message)};
}

}  // namespace platform
