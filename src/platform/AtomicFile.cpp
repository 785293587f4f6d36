#include "platform/AtomicFile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <random>
#include <string_view>

#include "platform/JobSignals.h"

namespace platform {
namespace {

Error systemError(const std::string& step, const std::string& path, int error) {
    return makeError(Error::Code::System, step + " " + path + ": " + std::strerror(error));
}

// The replaced file's owner, group and permission bits go to the file that replaces it; a new
// target keeps what the sibling was created with, which the umask decided. Owner and group are
// set only when they differ, as only root may give a file away; the permission bits come after
// them, which may clear set-id bits.
bool takeOverOwnership(int fd, const std::string& target) {
    struct stat existing {};
    if (::stat(target.c_str(), &existing) != 0) return true;
    struct stat own {};
    if (::fstat(fd, &own) != 0) return false;
    if ((own.st_uid != existing.st_uid || own.st_gid != existing.st_gid) &&
        ::fchown(fd, existing.st_uid, existing.st_gid) != 0) {
        return false;
    }
    return ::fchmod(fd, existing.st_mode & 07777) == 0;
}

// Where the file's name starts in path. Plain text rather than std::filesystem: a job writes
// thousands of files, and taking each path apart into components cost more than writing it.
std::size_t nameStart(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? 0 : slash + 1;
}

std::string folderOf(const std::string& path) {
    const std::size_t start = nameStart(path);
    if (start == 0) return ".";
    return start == 1 ? "/" : path.substr(0, start - 1);
}

bool writeAll(int fd, std::string_view bytes) {
    while (!bytes.empty()) {
        ssize_t written = ::write(fd, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return false;
        bytes.remove_prefix(static_cast<size_t>(written));
    }
    return true;
}

// Makes the rename itself durable; best effort, as not every file system can sync a folder.
void syncFolder(const std::string& folder) {
    int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) return;
    ::fsync(fd);
    ::close(fd);
}

// Pieces are gathered up to this size before they are written.
constexpr std::size_t kWriteBuffer = 64 * 1024;

constexpr std::size_t kUniqueLength = 6;  // letters and digits after the prefix
constexpr int kCreateAttempts = 100;      // names already taken before giving up

// Letters and digits no other process is likely to choose. The sibling is created with the
// permissions a new file gets (unlike mkstemp's, which a new target would have to be given
// again), so the name is made here.
std::string uniqueLetters() {
    static constexpr std::string_view kLetters =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
    thread_local std::mt19937_64 random = [] {
        std::random_device device;
        std::seed_seq seed{device(), device(), static_cast<unsigned>(::getpid())};
        return std::mt19937_64(seed);
    }();
    std::string letters(kUniqueLength, ' ');
    for (char& letter : letters) letter = kLetters[random() % kLetters.size()];
    return letters;
}

// The longest file name the folder takes. A job writes thousands of files into one folder, and
// asking costs a system call, so the last folder's answer is kept.
long nameLimit(const std::string& folder) {
    thread_local std::string lastFolder;
    thread_local long lastLimit = -1;
    if (folder != lastFolder || lastLimit < 0) {
        lastLimit = ::pathconf(folder.c_str(), _PC_NAME_MAX);
        lastFolder = lastLimit < 0 ? std::string() : folder;
    }
    return lastLimit;
}

// ".<name>." for target's siblings. Their names are the target's with 8 bytes more; a target
// whose name is near the file system's limit lends only what fits.
std::string siblingPrefix(const std::string& target) {
    std::string name = target.substr(nameStart(target));
    long limit = nameLimit(folderOf(target));
    std::size_t fits = limit > 8 ? static_cast<std::size_t>(limit) - 8 : 247;
    if (name.size() > fits) name.resize(fits);
    return "." + name + ".";
}

bool isSiblingName(const std::string& name, const std::string& prefix) {
    if (name.size() != prefix.size() + kUniqueLength || name.rfind(prefix, 0) != 0) return false;
    for (std::size_t k = prefix.size(); k < name.size(); ++k) {
        if (!std::isalnum(static_cast<unsigned char>(name[k]))) return false;
    }
    return true;
}

// Removes path when it is a regular file of this user that no live job holds locked.
void removeIfStale(const std::filesystem::path& path) {
    int fd = ::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) return;
    struct stat info {};
    if (::fstat(fd, &info) == 0 && S_ISREG(info.st_mode) && info.st_uid == ::geteuid() &&
        ::flock(fd, LOCK_EX | LOCK_NB) == 0) {
        ::unlink(path.c_str());
    }
    ::close(fd);
}

}  // namespace

SiblingFile::SiblingFile(const std::string& target) : target_(target) {
    const std::string start = target.substr(0, nameStart(target)) + siblingPrefix(target);
    std::string pattern;
    for (int attempt = 0; attempt < kCreateAttempts && fd_ < 0; ++attempt) {
        pattern = start + uniqueLetters();
        fd_ = ::open(pattern.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd_ < 0 && errno != EEXIST) break;
    }
    if (fd_ < 0) {
        created_ = systemError("cannot create a temporary file beside", target, errno);
        return;
    }
    path_ = pattern;
    signalSlot_ = registerTemporaryFile(path_.c_str());
    // Locked while it is ours, so that a later job clearing stale siblings leaves it alone.
    ::flock(fd_, LOCK_EX | LOCK_NB);
}

SiblingFile::~SiblingFile() {
    if (!placed_ && !path_.empty()) ::unlink(path_.c_str());
    forgetTemporaryFile(signalSlot_);
    if (fd_ >= 0) ::close(fd_);
}

Status SiblingFile::placeOverTarget(bool durable) {
    if (!takeOverOwnership(fd_, target_) || (durable && ::fsync(fd_) != 0)) {
        return systemError("cannot finish", path_, errno);
    }
    if (::close(fd_) != 0) {
        fd_ = -1;
        return systemError("cannot finish", path_, errno);
    }
    fd_ = -1;
    if (::rename(path_.c_str(), target_.c_str()) != 0) {
        return systemError("cannot replace", target_, errno);
    }
    placed_ = true;
    forgetTemporaryFile(signalSlot_);
    signalSlot_ = -1;
    if (durable) syncFolder(folderOf(target_));
    return Done{};
}

Status writeFileAtomically(const std::string& path,
                           const std::function<bool(const ByteSink& out)>& writeContent) {
    SiblingFile file(path);
    if (!file.created()) return file.created();
    std::string buffer;
    buffer.reserve(kWriteBuffer);
    const int fd = file.fd();
    ByteSink out = [&buffer, fd](std::string_view piece) {
        if (buffer.size() + piece.size() > kWriteBuffer) {
            if (!writeAll(fd, buffer)) return false;
            buffer.clear();
        }
        if (piece.size() >= kWriteBuffer) return writeAll(fd, piece);
        buffer.append(piece);
        return true;
    };
    if (!writeContent(out) || !writeAll(fd, buffer)) {
        return systemError("cannot write", file.path(), errno);
    }
    return file.placeOverTarget(false);
}

void removeStaleSiblings(const std::string& target) {
    const std::string prefix = siblingPrefix(target);
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(folderOf(target), error)) {
        if (isSiblingName(entry.path().filename().string(), prefix)) removeIfStale(entry.path());
    }
}

}  // namespace platform
