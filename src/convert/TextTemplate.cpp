#include "convert/TextTemplate.h"

#include <string_view>
#include <utility>

namespace convert {
namespace {

// Reads the template from left to right; nothing is ever skipped, so blanks and line breaks
// are part of whatever is taken.
class Scanner {
public:
    explicit Scanner(std::string_view text) : text_(text) {}

    bool atEnd() const { return position_ >= text_.size(); }

    // Everything up to the next marker, or to the end when no marker follows.
    std::string_view takeUpTo(std::string_view marker) {
        std::size_t end = text_.find(marker, position_);
        if (end == std::string_view::npos) end = text_.size();
        std::string_view taken = text_.substr(position_, end - position_);
        position_ = end;
        return taken;
    }

    void skip(std::string_view marker) {
        if (text_.substr(position_, marker.size()) == marker) position_ += marker.size();
    }

private:
    std::string_view text_;
    std::size_t position_ = 0;
};

// Not expected in any template; taking up to it takes the rest of the text.
constexpr std::string_view kSentinel = "___${__";

}  // namespace

TextTemplate::TextTemplate(std::optional<std::string> templateText)
    : fromStr_(std::move(templateText).value_or(std::string())) {}

void TextTemplate::setItem(const std::string& key, const std::string& value) {
    keyAndValues_[key] = value;
}

const std::string& TextTemplate::parse() {
    outStr_.clear();
    Scanner scanner(fromStr_);
    while (!scanner.atEnd()) {
        std::string_view literal = scanner.takeUpTo("${");
        if (literal.empty() && scanner.atEnd()) {
            // Guards a scan that took nothing yet reached the end; the loop condition keeps
            // ordinary input from getting here.
            outStr_.append(scanner.takeUpTo(kSentinel));
            break;
        }
        scanner.skip("${");
        std::string key(scanner.takeUpTo("}"));
        scanner.skip("}");
        outStr_.append(literal);
        auto found = keyAndValues_.find(key);
        if (found != keyAndValues_.end()) outStr_.append(found->second);
    }
    return outStr_;
}

}  // namespace convert
