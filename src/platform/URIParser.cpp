#include "platform/URIParser.h"

#include <uriparser/Uri.h>

namespace platform {

namespace {

// Parses the text into uri; the caller frees the members when this returns true.
bool parseInto(UriUriA& uri, std::string_view text) {
    static const char kEmpty[] = "";
    const char* first = text.empty() ? kEmpty : text.data();
    const char* errorPos = nullptr;
    return uriParseSingleUriExA(&uri, first, first + text.size(), &errorPos) == URI_SUCCESS;
}

bool isLegalURLByte(unsigned char c) {
    if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9')) return true;
    for (char legal : std::string_view("-._~:/?#@!$&'()*+,;=")) {
        if (c == static_cast<unsigned char>(legal)) return true;
    }
    return false;
}

}  // namespace

std::optional<std::string> parseURL(std::string_view text) {
    if (text.empty()) return std::nullopt;
    UriUriA uri;
    if (!parseInto(uri, text)) return std::nullopt;
    uriFreeUriMembersA(&uri);
    return std::string(text);
}

std::optional<std::string> hostOfURL(std::string_view url) {
    UriUriA uri;
    if (!parseInto(uri, url)) return std::nullopt;
    std::optional<std::string> host;
    if (uri.hostText.first != nullptr && uri.hostText.afterLast > uri.hostText.first) {
        host.emplace(uri.hostText.first, uri.hostText.afterLast);
    }
    uriFreeUriMembersA(&uri);
    return host;
}

std::string addingPercentEscapes(std::string_view utf8) {
    static const char kHex[] = "0123456789ABCDEF";
    std::string out;
    out.reserve(utf8.size());
    for (char ch : utf8) {
        auto c = static_cast<unsigned char>(ch);
        if (isLegalURLByte(c)) {
            out += ch;
        } else {
            out += '%';
            out += kHex[c >> 4];
            out += kHex[c & 0xF];
        }
    }
    return out;
}

}  // namespace platform
