#include "FuzzSupport.h"

#include <stdlib.h>

#include <cstdio>
#include <fstream>
#include <system_error>

namespace fuzzsupport {

void fail(const char* condition, const char* file, int line) {
    std::fprintf(stderr, "%s:%d: check failed: %s\n", file, line, condition);
    std::abort();
}

namespace {

void removePrivateFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(privateFolder(), ignored);
}

std::filesystem::path makePrivateFolder() {
    std::error_code error;
    std::filesystem::path base = std::filesystem::temp_directory_path(error);
    if (error) base = "/tmp";
    std::string pattern = (base / "pdfa-fuzz-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) fail("mkdtemp", __FILE__, __LINE__);
    ::setenv("TMPDIR", pattern.c_str(), 1);
    return pattern;
}

}  // namespace

const std::filesystem::path& privateFolder() {
    static const std::filesystem::path folder = [] {
        std::filesystem::path made = makePrivateFolder();
        std::atexit(removePrivateFolder);
        return made;
    }();
    return folder;
}

void clearPrivateFolder() {
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(privateFolder(), error)) {
        std::filesystem::remove_all(entry.path(), error);
    }
}

std::filesystem::path writePrivateFile(const std::string& name, std::string_view bytes) {
    std::filesystem::path path = privateFolder() / name;
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    out.close();
    if (!out) fail("writing the input file", __FILE__, __LINE__);
    return path;
}

std::uint8_t InputReader::byte() {
    if (rest_.empty()) return 0;
    std::uint8_t value = static_cast<std::uint8_t>(rest_.front());
    rest_.remove_prefix(1);
    return value;
}

std::string_view InputReader::textUpTo(char separator) {
    std::size_t at = rest_.find(separator);
    std::string_view text = rest_.substr(0, at);
    rest_.remove_prefix(at == std::string_view::npos ? rest_.size() : at + 1);
    return text;
}

std::u16string toUnits(const std::uint8_t* data, std::size_t size) {
    std::u16string units;
    units.reserve(size / 2);
    for (std::size_t k = 0; k + 1 < size; k += 2) {
        units.push_back(static_cast<char16_t>(data[k] | (data[k + 1] << 8)));
    }
    return units;
}

}  // namespace fuzzsupport
