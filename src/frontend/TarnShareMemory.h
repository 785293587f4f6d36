#pragma once
// The host's stop request: a file "Tarn_<identifier>" of 800 bytes in the temporary directory,
// which the host maps and this tool reads. Bytes 0 to 15 are one-byte flags; the host sets
// flag 1 to ask the job to stop. This tool only reads the flags, and only between
// shareMemoryAlloc and shareMemoryFree, which the entry calls once around the job. Whatever the
// host does to the file meanwhile (rewrite it, cut it short) never ends the job: a flag the file
// no longer holds reads as not set.

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "platform/StopFlag.h"

namespace frontend {

// The open flag file; -1 when none is open.
extern int gShareMemoryFile;
// "Tarn_<identifier>" while the flag file is open; empty otherwise.
extern char share_memory_name[1024];

// Opens (creating if needed, mode 0600) the flag file of identifier, a UTF-8 text, and makes it
// hold its 800 bytes on the disk. Silently opens nothing for a missing identifier, one holding
// "/" or NUL, "." or "..", or when the name is not a regular file of the current user with no
// other link (a symbolic link is never followed), or cannot be opened, or the disk has no room
// for it; every poll then gives 0.
void shareMemoryAlloc(const char* identifier);
void shareMemoryAlloc(const std::optional<std::string>& identifier);

// 1 when flag index is set, 0 otherwise, also when nothing is open, the index is outside 0 to
// 15, or the file has become shorter than the flag. Unlocked: the host's write shows up on some
// later poll.
int get_shm_stop_flag(int index);

// Closes the flag file and forgets the name. The flag file stays in the temporary directory: the
// host owns it.
void shareMemoryFree();

// The stop flag the jobs poll: set once the host sets flag 1. The jobs poll before every
// annotation, link and find, hundreds of thousands of times in a big book, and each read of the
// file is a system call; so a poll less than kFreshFor after the last read gives that read's
// answer, and a stop the host sets on its own is heard at most that much later. The host may
// also set the flag while it handles a progress message, and the job's next poll must see it:
// each message marks the last answer stale. Polled from several threads at once; every
// TarnStopFlag of the process shares the last answer, as they share the file.
class TarnStopFlag final : public platform::StopFlag {
public:
    using Clock = std::chrono::steady_clock;
    static constexpr std::chrono::milliseconds kFreshFor{1};

    bool isSet() const override { return isSetAt(Clock::now()); }
    // The answer at the time now: the file's flag 1, or the last read's while it is fresh.
    bool isSetAt(Clock::time_point now) const;
};

// The next poll of a TarnStopFlag reads the file. Opening and closing the file do this too.
void markStopFlagStale();

}  // namespace frontend
