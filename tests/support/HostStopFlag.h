#pragma once
// Plays the host's side of the stop flag: the host creates "Tarn_<identifier>" in the tool's
// temporary directory, 800 zero bytes with mode 0600, and sets byte 1 to ask for a stop.

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace testsupport {

class HostStopFlag {
public:
    // Creates (or truncates) the file with length zero bytes; a test of reuse passes another size.
    HostStopFlag(const std::filesystem::path& temporaryDirectory, const std::string& identifier,
                 std::size_t length = 800);
    ~HostStopFlag();  // removes the file
    HostStopFlag(const HostStopFlag&) = delete;
    HostStopFlag& operator=(const HostStopFlag&) = delete;

    void set(std::size_t index = 1) { write(index, 1); }
    void clear(std::size_t index = 1) { write(index, 0); }
    void write(std::size_t index, std::uint8_t value);
    std::uint8_t read(std::size_t index) const;

    const std::filesystem::path& path() const { return path_; }

private:
    std::filesystem::path path_;
};

// Points this process's TMPDIR at folder for the object's lifetime (the tool's temporary
// directory follows TMPDIR), then restores the previous value.
class ScopedTemporaryDirectory {
public:
    explicit ScopedTemporaryDirectory(const std::filesystem::path& folder);
    ~ScopedTemporaryDirectory();
    ScopedTemporaryDirectory(const ScopedTemporaryDirectory&) = delete;
    ScopedTemporaryDirectory& operator=(const ScopedTemporaryDirectory&) = delete;

private:
    std::optional<std::string> previous_;
};

}  // namespace testsupport
