#include "host/SettingsText.h"

#include <algorithm>
#include <array>
#include <cctype>

namespace host {
namespace {

// Each setting's two spellings, as the worker accepts them for either job.
struct KeySpellings {
    std::string_view name;
    std::string_view alias;
};

constexpr std::array<KeySpellings, 11> kKeys{{
    {"input", "i"},
    {"output", "o"},
    {"range", "r"},
    {"divide", "d"},
    {"ar", "aspect_ratio"},
    {"r2l", "right2left"},
    {"password", "p"},
    {"html5", "h5"},
    {"identifier", "id"},
    {"t2l", "text2link"},
    {"type", "t"},
}};

std::string lowercase(std::string_view text) {
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return lower;
}

// The setting's main name for either spelling; an unknown key stands for itself.
std::string canonicalKey(std::string_view key) {
    const std::string lower = lowercase(key);
    for (const KeySpellings& spellings : kKeys) {
        if (lower == spellings.name || lower == spellings.alias) return std::string(spellings.name);
    }
    return lower;
}

bool isPathKey(std::string_view key) {
    const std::string name = canonicalKey(key);
    return name == "input" || name == "output";
}

void replaceAll(std::string& text, std::string_view from, std::string_view to) {
    for (std::size_t at = text.find(from); at != std::string::npos;
         at = text.find(from, at + to.size())) {
        text.replace(at, from.size(), to);
    }
}

std::string escapePath(std::string path) {
    replaceAll(path, "|", ":7C:");
    replaceAll(path, "=", ":3D:");
    return path;
}

}  // namespace

const char* toSwitch(JobKind kind) { return kind == JobKind::Convert ? "-b" : "-a"; }

bool isPlainSettingValue(std::string_view value) {
    return value.find_first_of("|=") == std::string_view::npos;
}

platform::Status SettingsText::set(std::string_view key, std::string_view value) {
    using platform::Error;
    if (key.empty() || !isPlainSettingValue(key)) {
        return platform::makeError(Error::Code::Argument,
                                   "a setting's key must be neither empty nor hold \"|\" or \"=\"");
    }
    if (!isPathKey(key) && !isPlainSettingValue(value)) {
        return platform::makeError(Error::Code::Argument, "the value of \"" + std::string(key) +
                                                              "\" cannot hold \"|\" or \"=\"");
    }
    const std::string lower = lowercase(key);
    auto same = std::find_if(items_.begin(), items_.end(),
                             [&](const Item& item) { return lowercase(item.key) == lower; });
    if (same != items_.end()) {
        same->value = value;
    } else {
        items_.push_back({std::string(key), std::string(value)});
    }
    return platform::Done{};
}

const std::string* SettingsText::find(std::string_view key) const {
    const std::string name = canonicalKey(key);
    const std::string* found = nullptr;
    // The worker lets a later item override an earlier one.
    for (const Item& item : items_) {
        if (canonicalKey(item.key) == name) found = &item.value;
    }
    return found;
}

std::string SettingsText::text() const {
    std::string text;
    for (const Item& item : items_) {
        if (!text.empty()) text += '|';
        text += item.key + '=' + (isPathKey(item.key) ? escapePath(item.value) : item.value);
    }
    return text;
}

std::optional<std::string_view> SettingsText::missingFor(JobKind kind) const {
    if (!find("input")) return "input";
    if (kind == JobKind::Convert && !find("output")) return "output";
    if (!find("range")) return "range";
    if (kind == JobKind::Convert && !find("divide") && !find("ar")) return "divide";
    return std::nullopt;
}

}  // namespace host
