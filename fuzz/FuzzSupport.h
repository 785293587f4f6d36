#pragma once
// Shared by the fuzz targets: a checked assertion that every driver (libFuzzer or the replay
// program of the test run) reports as a crash, a private temporary folder for the files the
// code under test writes, and readers that cut the input into the pieces a target needs.

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

// Fails the run with the condition's text. Used for properties the code under test promises;
// a plain crash or sanitizer report needs no check of its own.
#define FUZZ_CHECK(condition)                                                \
    do {                                                                     \
        if (!(condition)) fuzzsupport::fail(#condition, __FILE__, __LINE__); \
    } while (false)

namespace fuzzsupport {

[[noreturn]] void fail(const char* condition, const char* file, int line);

// A folder of this process's own, made on first use and removed at exit. TMPDIR points at it,
// so the stop flag files and everything else the tool puts in its temporary directory land
// there too.
const std::filesystem::path& privateFolder();
// Removes everything inside the private folder, keeping the folder.
void clearPrivateFolder();
// Writes bytes to a file in the private folder and returns its path.
std::filesystem::path writePrivateFile(const std::string& name, std::string_view bytes);

// Takes the input apart from its start: fixed-size numbers, then texts up to a separator.
class InputReader {
public:
    InputReader(const std::uint8_t* data, std::size_t size)
        : rest_(reinterpret_cast<const char*>(data), size) {}

    bool atEnd() const { return rest_.empty(); }
    // The next byte, 0 past the end.
    std::uint8_t byte();
    // The next text up to (not including) separator, which is skipped; the rest when none.
    std::string_view textUpTo(char separator);
    std::string_view rest() const { return rest_; }

private:
    std::string_view rest_;
};

// The input read as 16-bit units, little-endian; an odd last byte is dropped. Unpaired
// surrogates and any other unit sequences come through as they are.
std::u16string toUnits(const std::uint8_t* data, std::size_t size);

}  // namespace fuzzsupport
