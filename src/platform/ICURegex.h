#pragma once
// Regular expressions with ICU's syntax and semantics, compiled once and matched many times.

#include <memory>
#include <string_view>

#include "platform/result.h"

namespace platform {

class Regex {
public:
    // Fails with Error::Code::Argument and ICU's error name when the pattern does not compile.
    static Result<Regex> compile(std::u16string_view pattern);

    Regex(Regex&&) noexcept;
    Regex& operator=(Regex&&) noexcept;
    ~Regex();

    // True when the pattern matches the whole text, not only a part of it. An ICU failure
    // during the match gives false.
    bool matchesWhole(std::u16string_view text) const;

private:
    struct Members;
    explicit Regex(std::unique_ptr<Members> members);
    std::unique_ptr<Members> m_;
};

}  // namespace platform
