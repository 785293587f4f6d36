#pragma once
// The settings text a host hands to the worker (before encoding): items "key=value" joined by
// "|". The worker splits items on "|" and "=", lowercases keys, and turns ":7C:" and ":3D:" back
// into "|" and "=" in the values of its path keys; so path values are escaped here, and any
// other "|" or "=" is refused because the worker could not read it back.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/result.h"

namespace host {

enum class JobKind {
    Convert,     // "-b"
    TextToLink,  // "-a"
};

// The worker's switch for the job: "-b" or "-a".
const char* toSwitch(JobKind kind);

class SettingsText {
public:
    // Sets key to value; a key already present (in any letter case) keeps its place. Fails with
    // an Argument error for an empty key, a key holding "|" or "=", or a non-path value holding
    // "|" or "=".
    platform::Status set(std::string_view key, std::string_view value);

    // The value last set under key or its other spelling ("input" and "i", ...), unescaped;
    // null when neither is set. The pointer is valid until the settings change.
    const std::string* find(std::string_view key) const;
    std::optional<std::string> value(std::string_view key) const {
        const std::string* found = find(key);
        return found ? std::optional<std::string>(*found) : std::nullopt;
    }

    // "key=value|key=value", path values escaped.
    std::string text() const;

    // The first setting the job needs that none of the items gives: "input", "output", "range"
    // or, for a conversion with neither "divide" nor "ar", "divide".
    std::optional<std::string_view> missingFor(JobKind kind) const;

private:
    struct Item {
        std::string key;
        std::string value;
    };
    std::vector<Item> items_;
};

// True when value holds nothing that ends an item or a key early.
bool isPlainSettingValue(std::string_view value);

}  // namespace host
