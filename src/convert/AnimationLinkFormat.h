#pragma once
// The link element of the HTML5 animation editor's slides, as text with "${key}" placeholders,
// and the two fillers the slide writer uses for web links and go-to-page links.

#include <cstdint>
#include <string>
#include <string_view>

namespace convert {

// One line without blanks between tags. Placeholders: ${id} (the element's id, name suffix and
// z-order), ${width}, ${height}, ${left}, ${top}, ${type}, ${content} (inside a CDATA section)
// and ${target}.
extern const std::string_view AnimationLinkFormat;

// A web link element: type "openUrl", the address as content, target "_blank". The address is
// inserted as it is; the caller makes sure it can stand in a CDATA section.
std::string getLinkString(std::int32_t left, std::int32_t top, std::int32_t width,
                          std::int32_t height, const std::string& text, std::int32_t id);

// A go-to-page element: type "goToPage", content "Fixed Page", the one-based page as target.
std::string getGotoPageString(std::int32_t left, std::int32_t top, std::int32_t width,
                              std::int32_t height, std::int32_t target, std::int32_t id);

}  // namespace convert
