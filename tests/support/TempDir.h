#pragma once
// A fresh folder under the temporary directory, removed with everything in it at the end; and
// a working folder for the length of a scope.

#include <filesystem>
#include <system_error>

namespace testsupport {

class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::filesystem::path& path() const { return path_; }
    std::filesystem::path operator/(const std::string& name) const { return path_ / name; }

private:
    std::filesystem::path path_;
};

// Makes folder the process's working folder until the end of the scope, for paths named from it.
class ScopedWorkingFolder {
public:
    explicit ScopedWorkingFolder(const std::filesystem::path& folder)
        : previous_(std::filesystem::current_path()) {
        std::filesystem::current_path(folder);
    }
    ~ScopedWorkingFolder() {
        std::error_code ignored;
        std::filesystem::current_path(previous_, ignored);
    }
    ScopedWorkingFolder(const ScopedWorkingFolder&) = delete;
    ScopedWorkingFolder& operator=(const ScopedWorkingFolder&) = delete;

private:
    std::filesystem::path previous_;
};

}  // namespace testsupport
