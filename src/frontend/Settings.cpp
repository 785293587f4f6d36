#include "frontend/Settings.h"

#include <algorithm>
#include <string_view>

#include "frontend/splitText.h"
#include "platform/NumberText.h"

namespace frontend {
namespace {

// One settings key of a job. Rows are tried in order and the first whose key or alias matches
// decides what the item does.
template <class Settings>
struct SettingKey {
    std::string_view key;
    std::string_view alias;
    unsigned requiredBit;
    void (*apply)(Settings& settings, const std::string& value);
    // Set only where a value ends the program before the job starts.
    bool (*endsProgram)(const std::string& value) = nullptr;
};

std::string lowercased(std::string text) {
    for (char& c : text) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return text;
}

std::string replaceAll(std::string text, std::string_view from, std::string_view to) {
    for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
        text.replace(at, from.size(), to);
    }
    return text;
}

// The host escapes the two characters that would split an item.
std::string unescapePath(const std::string& value) {
    return replaceAll(replaceAll(value, ":7C:", "|"), ":3D:", "=");
}

// "width:anything" fixes the width (0 asks for it to be measured) with wideMode 1; any other
// value is the wide mode itself and asks for the width to be measured.
void applyDivide(ConversionSettings& settings, const std::string& value) {
    const std::vector<std::string> pieces = splitText(value, ':');
    if (pieces.size() == 2) {
        settings.divWidth = platform::integerValue(pieces[0]);
        settings.wideMode = 1;
        if (settings.divWidth == 0) settings.detectWidth = true;
    } else {
        settings.wideMode = platform::intValue(value);
        settings.detectWidth = true;
    }
}

// A word or a positive number; anything else leaves the text-to-link settings as they were.
void applyTextLinkType(ConversionSettings& settings, const std::string& value) {
    const std::string word = lowercased(value);
    std::int64_t type = platform::integerValue(value);
    if (word == "all") type = 3;
    if (word == "tel") type = 2;
    if (word == "link") type = 1;
    if (type <= 0) return;
    settings.typeOfText2Link = type;
    settings.isText2Link = true;
}

using ConversionKey = SettingKey<ConversionSettings>;
using C = ConversionSettings;
using V = const std::string&;

const ConversionKey kConversionKeys[] = {
    {"input", "i", 1, [](C& s, V v) { s.inputFile = unescapePath(v); }},
    {"output", "o", 2, [](C& s, V v) { s.outputFile = unescapePath(v); }},
    {"divide", "d", 4, applyDivide},
    {"ar", "aspect_ratio", 4,
     [](C& s, V v) {
         s.aspectRatio = platform::floatValue(v);
         s.isNewMode = true;
     }},
    {"r2l", "right2left", 0, [](C& s, V v) { s.isRight2Left |= platform::intValue(v) != 0; }},
    {"range", "r", 8, [](C& s, V v) { s.pageRange = v; }},
    {"password", "p", 0, [](C& s, V v) { s.password = v; }},
    // A one-byte boolean: only the low 8 bits of the number count.
    {"html5", "h5", 0,
     [](C& s, V v) { s.isHTML5Annotions = (platform::integerValue(v) & 0xFF) != 0; }},
    {"identifier", "id", 0, [](C& s, V v) { s.taskID = v; }},
    {"t2l", "text2link", 0, applyTextLinkType},
};

using TextLinkKey = SettingKey<TextLinkSettings>;
using T = TextLinkSettings;

const TextLinkKey kTextLinkKeys[] = {
    {"input", "i", 1, [](T& s, V v) { s.pdfFile = unescapePath(v); }},
    {"range", "r", 2, [](T& s, V v) { s.pageRange = v; }},
    {"password", "p", 4, [](T& s, V v) { s.password = v; }},
    {"type", "t", 0, [](T& s, V v) { s.parseType = platform::intValue(v); },
     [](V v) { return platform::intValue(v) == 0; }},
    {"identifier", "id", 0, [](T& s, V v) { s.taskID = v; }},
};

// Applies the items from first to last onto settings; nullopt when one ends the program.
template <class Settings>
std::optional<Settings> readItems(const std::string& items,
                                  std::span<const SettingKey<Settings>> keys, Settings settings) {
    for (const std::string& item : splitText(items, '|')) {
        const std::vector<std::string> pieces = splitText(item, '=');
        if (pieces.size() != 2) continue;
        const std::string name = lowercased(pieces[0]);
        const auto row = std::find_if(keys.begin(), keys.end(), [&](const SettingKey<Settings>& k) {
            return k.key == name || k.alias == name;
        });
        if (row == keys.end()) continue;
        if (row->endsProgram != nullptr && row->endsProgram(pieces[1])) return std::nullopt;
        row->apply(settings, pieces[1]);
        settings.requiredItems |= row->requiredBit;
    }
    return settings;
}

}  // namespace

ConversionSettings readConversionSettings(const std::string& items) {
    // No conversion key ends the program, so there is always a result.
    return readItems<ConversionSettings>(items, kConversionKeys, {}).value();
}

std::optional<TextLinkSettings> readTextLinkSettings(const std::string& items) {
    return readItems<TextLinkSettings>(items, kTextLinkKeys, {});
}

TextLinkSettings readTextLinkArguments(std::span<const std::string> arguments) {
    TextLinkSettings settings;
    if (arguments.size() >= 2) {
        settings.pdfFile = arguments[0];
        settings.pageRange = arguments[1];
        settings.requiredItems = 1 | 2;
    }
    if (arguments.size() >= 3) {
        settings.password = arguments[2];
        settings.requiredItems |= 4;
    }
    if (arguments.size() >= 4) settings.parseType = platform::intValue(arguments[3]);
    if (arguments.size() >= 5) settings.taskID = arguments[4];
    return settings;
}

}  // namespace frontend
