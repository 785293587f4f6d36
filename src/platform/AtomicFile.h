#pragma once
// Replacing a file so that readers see either the old or the complete new content, never a
// partial one: the new content goes into a hidden sibling, which is renamed over the target.

#include <functional>
#include <string>
#include <string_view>

#include "platform/result.h"

namespace platform {

// A temporary file beside a target, removed again unless it was placed over the target (also
// when the process fails in between: only a killed process leaves one behind).
class SiblingFile {
public:
    // Creates ".<name>.XXXXXX" in the target's folder (the name cut to fit); check created().
    explicit SiblingFile(const std::string& target);
    ~SiblingFile();
    SiblingFile(const SiblingFile&) = delete;
    SiblingFile& operator=(const SiblingFile&) = delete;

    // The creation error, or Done.
    const Status& created() const { return created_; }
    int fd() const { return fd_; }
    const std::string& path() const { return path_; }

    // Gives the file the target's owner, group and permission bits (a new target: what the
    // umask allows) and renames it over the target; fails, leaving the target as it was, when
    // the owner or group cannot be kept. durable also flushes the file and the rename to disk
    // first, for content that cannot be made again.
    Status placeOverTarget(bool durable);

private:
    std::string target_;
    std::string path_;
    int fd_ = -1;
    int signalSlot_ = -1;  // registered for removal by the stop signals while it is ours
    bool placed_ = false;
    Status created_ = Done{};
};

// Takes a file's bytes piece by piece; false once they can no longer be written.
using ByteSink = std::function<bool(std::string_view)>;

// Writes the bytes writeContent hands to out, in pieces so that they need not be held whole in
// memory first, to a sibling of path and renames it over path; writeContent returns false when
// out did. The pieces are buffered, so small ones cost no system call each. The write is not
// flushed to disk: it suits files that can be made again from their source. On failure path is
// left as it was and the error says which step failed.
Status writeFileAtomically(const std::string& path,
                           const std::function<bool(const ByteSink& out)>& writeContent);

// Removes the siblings a killed process left beside target: files named as SiblingFile names
// them, owned by this user and not locked by the job writing them. Call it while no other job of
// this program writes target (holding a FileLock on it).
void removeStaleSiblings(const std::string& target);

}  // namespace platform
