#pragma once
// Golden-file comparison for the page-editor XML. Expected files live in
// tests/convert/golden/<case>.xml and are compared byte for byte. UPDATE_GOLDEN=1 rewrites them
// instead (review the result by reading it). On a mismatch the actual bytes go to
// test-output/<case>.actual.xml beside the test executable, and the first differing element
// (the compact text broken before each "<") is printed.

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

namespace goldenxml {

inline std::optional<std::string> readFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return std::nullopt;
    std::ostringstream bytes;
    bytes << in.rdbuf();
    return bytes.str();
}

// The text broken before every "<", so a compact file reads one tag per line.
inline std::vector<std::string> tagLines(const std::string& text) {
    std::vector<std::string> lines;
    std::size_t start = 0;
    while (start < text.size()) {
        std::size_t next = text.find('<', start + 1);
        if (next == std::string::npos) next = text.size();
        lines.push_back(text.substr(start, next - start));
        start = next;
    }
    return lines;
}

inline std::string firstDifference(const std::string& expected, const std::string& actual) {
    std::vector<std::string> want = tagLines(expected);
    std::vector<std::string> got = tagLines(actual);
    for (std::size_t i = 0; i < want.size() || i < got.size(); ++i) {
        std::string a = i < want.size() ? want[i] : "(end of file)";
        std::string b = i < got.size() ? got[i] : "(end of file)";
        if (a != b) {
            return "tag " + std::to_string(i + 1) + ": expected " + a + "\n     got " + b;
        }
    }
    return "no tag differs";
}

inline std::filesystem::path outputFolder() {
    std::error_code error;
    std::filesystem::path exe = std::filesystem::read_symlink("/proc/self/exe", error);
    return (error ? std::filesystem::current_path() : exe.parent_path()) / "test-output";
}

inline void expectGolden(const std::string& actual, const std::string& name) {
    std::filesystem::path golden =
        std::filesystem::path(PDFA_SOURCE_DIR) / "tests" / "convert" / "golden" / (name + ".xml");
    const char* update = std::getenv("UPDATE_GOLDEN");
    if (update != nullptr && std::string(update) == "1") {
        std::ofstream(golden, std::ios::binary) << actual;
        return;
    }
    std::optional<std::string> expected = readFile(golden);
    ASSERT_TRUE(expected) << "missing golden file " << golden;
    if (actual == *expected) return;
    std::filesystem::create_directories(outputFolder());
    std::filesystem::path out = outputFolder() / (name + ".actual.xml");
    std::ofstream(out, std::ios::binary) << actual;
    ADD_FAILURE() << name << ".xml differs from its golden file; actual bytes in " << out << "\n"
                  << firstDifference(*expected, actual);
}

// Compares the file at path with the golden case; a missing file fails.
inline void expectGoldenFile(const std::filesystem::path& path, const std::string& name) {
    std::optional<std::string> actual = readFile(path);
    ASSERT_TRUE(actual) << path << " was not written";
    expectGolden(*actual, name);
}

}  // namespace goldenxml
