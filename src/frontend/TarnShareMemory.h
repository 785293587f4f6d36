#pragma once
// The host's stop request: a file "Tarn_<identifier>" of 800 bytes in the temporary directory,
// mapped shared by the host and this tool. Bytes 0 to 15 are one-byte flags; the host sets
// flag 1 to ask the job to stop. This tool only reads the flags, and only between
// shareMemoryAlloc and shareMemoryFree, which the entry calls once around the job.

#include <cstdint>
#include <optional>
#include <string>

#include "platform/StopFlag.h"

namespace frontend {

// Start of the mapped region; null when none is mapped.
extern std::uint8_t* gShareMemory;
// "Tarn_<identifier>" while a region is mapped; empty otherwise.
extern char share_memory_name[1024];

// Opens (creating if needed, mode 0600) and maps the flag file of identifier, a UTF-8 text.
// Silently maps nothing for a missing identifier, one holding "/" or NUL, "." or "..", or when
// the name is not a regular file of the current user with no other link (a symbolic link is never
// followed), or cannot be opened or mapped; every poll then gives 0.
void shareMemoryAlloc(const char* identifier);
void shareMemoryAlloc(const std::optional<std::string>& identifier);

// 1 when flag index is set, 0 otherwise, also when nothing is mapped or the index is outside
// 0 to 15. A plain load: the host's write shows up on some later poll.
int get_shm_stop_flag(int index);

// Unmaps the region and forgets the name. The flag file stays in the temporary directory: the
// host owns it.
void shareMemoryFree();

// The stop flag the jobs poll: set once the host sets flag 1.
class TarnStopFlag final : public platform::StopFlag {
public:
    bool isSet() const override { return get_shm_stop_flag(1) == 1; }
};

}  // namespace frontend
