#include "platform/ICURegex.h"

#include <unicode/regex.h>
#include <unicode/utypes.h>

#include <climits>
#include <string>

namespace platform {

struct Regex::Members {
    std::unique_ptr<icu::RegexPattern> pattern;
};

Regex::Regex(std::unique_ptr<Members> members) : m_(std::move(members)) {}
Regex::Regex(Regex&&) noexcept = default;
Regex& Regex::operator=(Regex&&) noexcept = default;
Regex::~Regex() = default;

Result<Regex> Regex::compile(std::u16string_view pattern) {
    if (pattern.size() > INT32_MAX) return makeError(Error::Code::Argument, "pattern too long");
    icu::UnicodeString source(pattern.data(), static_cast<std::int32_t>(pattern.size()));
    UParseError where{};
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::RegexPattern> compiled(
        icu::RegexPattern::compile(source, 0, where, status));
    if (U_FAILURE(status) || !compiled) {
        return makeError(Error::Code::Argument, u_errorName(status));
    }
    return Regex(std::make_unique<Members>(Members{std::move(compiled)}));
}

bool Regex::matchesWhole(std::u16string_view text) const {
    if (!m_ || text.size() > INT32_MAX) return false;
    // A read-only alias: the matcher reads the caller's units without copying them.
    icu::UnicodeString input(false, text.data(), static_cast<std::int32_t>(text.size()));
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::RegexMatcher> matcher(m_->pattern->matcher(input, status));
    if (U_FAILURE(status) || !matcher) return false;
    bool whole = matcher->matches(status);
    return U_SUCCESS(status) && whole;
}

}  // namespace platform
