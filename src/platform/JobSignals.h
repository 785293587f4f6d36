#pragma once
// Signals that end a job from outside. TERM, INT and HUP ask the job to stop, as the host's flag
// does, and remove the temporary file being written at that moment, which nothing would remove
// once the process is gone; a second one ends the process at once. SIGXFSZ is ignored, so that
// a write past the file-size limit fails with EFBIG like any failed write instead of ending the
// process beside a partial file.

#include "platform/StopFlag.h"

namespace platform {

// Installs the handlers; called once, before the job starts.
void installJobSignals();

// Set once TERM, INT or HUP arrived.
class SignalStop final : public StopFlag {
public:
    bool isSet() const override;
};

// A temporary file the handlers remove while it is registered; at most a few at once (each
// thread writes one at a time). The path is copied; registerTemporaryFile gives -1 when no slot
// is free or the path is too long, and forgetTemporaryFile ignores -1.
int registerTemporaryFile(const char* path);
void forgetTemporaryFile(int slot);

}  // namespace platform
