#pragma once
// URL texts as the link targets use them: checked against RFC 3986, their host read out, and
// illegal characters percent escaped. URLs travel as their UTF-8 text.

#include <optional>
#include <string>
#include <string_view>

namespace platform {

// The text itself when it is a valid, non-empty URI reference (absolute, or relative such as
// "www.example.org"), else nullopt. Spaces, non-ASCII bytes, "<", ">", "\"", "{", "}", "|",
// "\", "^", "`" and a "%" not followed by two hex digits make it invalid.
std::optional<std::string> parseURL(std::string_view text);

// The host of the URL text, as written (without the brackets of an IPv6 literal); nullopt when
// the text is no valid URI, has no authority ("mailto:", "tel:", relative paths) or an empty
// host ("file:///x").
std::optional<std::string> hostOfURL(std::string_view url);

// Every byte outside the legal URL characters becomes "%" and two upper-case hex digits. Legal
// are the ASCII letters and digits, the unreserved "-._~", and the reserved
// ":/?#@!$&'()*+,;=" except "[" and "]", which are legal only around an IPv6 host. Everything
// else is escaped, including "%" itself, spaces, controls and each byte of a non-ASCII
// character.
std::string addingPercentEscapes(std::string_view utf8);

}  // namespace platform
