#pragma once
// Fills "${key}" placeholders of a fixed text from items set beforehand. The slide writer builds
// its link elements with it: one template per element, items set, then parse().

#include <map>
#include <optional>
#include <string>

namespace convert {

class TextTemplate {
public:
    // No template text counts as the empty text.
    explicit TextTemplate(std::optional<std::string> templateText);

    // Stores value under key, replacing an earlier value. Keys are matched exactly: case and
    // blanks count.
    void setItem(const std::string& key, const std::string& value);

    // The template with every placeholder replaced by its item's value. A placeholder whose key
    // has no item is dropped; an unterminated "${" takes the rest of the text as its key; values
    // go in as they are, neither escaped nor substituted again. Each call starts afresh from the
    // template's start. The text stays valid until the next parse() or the object's end.
    const std::string& parse();

    const std::map<std::string, std::string>& keyAndValues() const { return keyAndValues_; }
    void setKeyAndValues(std::map<std::string, std::string> items) {
        keyAndValues_ = std::move(items);
    }

private:
    std::string fromStr_;
    std::map<std::string, std::string> keyAndValues_;
    std::string outStr_;
};

}  // namespace convert
