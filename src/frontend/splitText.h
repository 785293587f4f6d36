#pragma once
// Splitting settings and page range texts.

#include <string>
#include <string_view>
#include <vector>

namespace frontend {

// The pieces between the separators, empty ones included; an empty text is one empty piece.
inline std::vector<std::string> splitText(std::string_view text, char separator) {
    std::vector<std::string> pieces;
    std::size_t start = 0;
    for (std::size_t at; (at = text.find(separator, start)) != std::string_view::npos;
         start = at + 1) {
        pieces.emplace_back(text.substr(start, at - start));
    }
    pieces.emplace_back(text.substr(start));
    return pieces;
}

}  // namespace frontend
