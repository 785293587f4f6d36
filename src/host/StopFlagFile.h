#pragma once
// The host's end of the stop flag: the file "Tarn_<identifier>" of 800 bytes in the temporary
// directory, shared with the worker. Byte 1 non-zero asks the job to stop; the worker only reads
// it. The worker takes the file only when it is a regular file of the same user with no other
// link, so the host creates it the same way.

#include <cstdint>
#include <memory>
#include <string>

#include "platform/result.h"

namespace host {

inline constexpr std::size_t kStopFlagFileSize = 800;
inline constexpr std::size_t kStopByte = 1;

// True when identifier can name the flag file and travel in a settings text: not empty, not
// "." or "..", and without "/", NUL, "|" or "=".
bool isUsableIdentifier(const std::string& identifier);

// "<temporary directory>/Tarn_<identifier>".
std::string stopFlagPath(const std::string& identifier);

class StopFlagFile {
public:
    // Creates the file, or takes over an existing one of ours and clears it; removed again by
    // the destructor. Fails with Argument for an unusable identifier, System when the file
    // cannot be made or the disk has no room for it.
    static platform::Result<std::unique_ptr<StopFlagFile>> create(const std::string& identifier);
    // Opens the existing file of a job someone else started; the destructor leaves it. Fails with
    // Argument when there is no such file.
    static platform::Result<std::unique_ptr<StopFlagFile>> open(const std::string& identifier);

    ~StopFlagFile();
    StopFlagFile(const StopFlagFile&) = delete;
    StopFlagFile& operator=(const StopFlagFile&) = delete;

    void raise() { write(1); }
    void clear() { write(0); }
    bool isRaised() const;
    const std::string& path() const { return path_; }

private:
    StopFlagFile(std::string path, int fd, bool owned);
    void write(std::uint8_t value);

    std::string path_;
    int fd_;
    bool owned_;
};

}  // namespace host
