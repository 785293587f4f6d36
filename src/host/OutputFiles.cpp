#include "host/OutputFiles.h"

#include <sys/stat.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <optional>
#include <string_view>

namespace host {
namespace {

namespace fs = std::filesystem;

bool isDigit(char c) { return c >= '0' && c <= '9'; }

// The digits starting at text[at], without leading zeros.
std::string_view digitRun(std::string_view text, std::size_t at) {
    std::size_t end = at;
    while (end < text.size() && isDigit(text[end])) ++end;
    std::string_view run = text.substr(at, end - at);
    while (run.size() > 1 && run.front() == '0') run.remove_prefix(1);
    return run;
}

std::size_t skipDigits(std::string_view text, std::size_t at) {
    while (at < text.size() && isDigit(text[at])) ++at;
    return at;
}

std::string lowercase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

// The halves of a single output file: "dir/name-w0.ext" and "dir/name-w1.ext".
std::string halfPath(const std::string& path, int half) {
    const fs::path file(path);
    const std::string name =
        file.stem().string() + "-w" + std::to_string(half) + file.extension().string();
    return (file.parent_path() / name).string();
}

}  // namespace

bool isSingleOutputFile(const std::string& output) {
    return lowercase(fs::path(output).extension().string()) == ".xml";
}

bool isBeforeInPageOrder(const std::string& a, const std::string& b) {
    std::size_t i = 0;
    std::size_t j = 0;
    while (i < a.size() && j < b.size()) {
        if (isDigit(a[i]) && isDigit(b[j])) {
            const std::string_view x = digitRun(a, i);
            const std::string_view y = digitRun(b, j);
            if (x.size() != y.size()) return x.size() < y.size();
            if (x != y) return x < y;
            i = skipDigits(a, i);
            j = skipDigits(b, j);
        } else if (a[i] != b[j]) {
            return a[i] < b[j];
        } else {
            ++i;
            ++j;
        }
    }
    return a.size() - i < b.size() - j;
}

bool OutputSnapshot::Identity::operator==(const Identity& other) const {
    return device == other.device && inode == other.inode &&
           modified.tv_sec == other.modified.tv_sec && modified.tv_nsec == other.modified.tv_nsec &&
           size == other.size;
}

namespace {

std::optional<struct stat> statFile(const std::string& path) {
    struct stat info {};
    if (::stat(path.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) return std::nullopt;
    return info;
}

}  // namespace

OutputSnapshot OutputSnapshot::take(JobKind kind, const SettingsText& settings) {
    OutputSnapshot snapshot;
    snapshot.kind_ = kind;
    snapshot.target_ = settings.value(kind == JobKind::Convert ? "output" : "input").value_or("");
    snapshot.isFolder_ = kind == JobKind::Convert && !isSingleOutputFile(snapshot.target_);
    for (const std::string& path : snapshot.candidates()) {
        if (auto info = statFile(path)) {
            snapshot.before_[path] = {info->st_dev, info->st_ino, info->st_mtim, info->st_size};
        }
    }
    return snapshot;
}

std::vector<std::string> OutputSnapshot::candidates() const {
    if (target_.empty()) return {};
    if (kind_ == JobKind::TextToLink) return {target_};
    if (!isFolder_) return {target_, halfPath(target_, 0), halfPath(target_, 1)};
    std::vector<std::string> files;
    std::error_code failure;
    fs::directory_iterator entry(target_, failure);
    for (; !failure && entry != fs::directory_iterator(); entry.increment(failure)) {
        // The worker names its files "<page>.xml" exactly.
        if (entry->path().extension() == ".xml") files.push_back(entry->path().string());
    }
    return files;
}

std::vector<std::string> OutputSnapshot::changedFiles() const {
    std::vector<std::string> changed;
    for (const std::string& path : candidates()) {
        const std::optional<struct stat> info = statFile(path);
        if (!info) continue;
        const Identity now{info->st_dev, info->st_ino, info->st_mtim, info->st_size};
        auto earlier = before_.find(path);
        if (earlier == before_.end() || !(earlier->second == now)) changed.push_back(path);
    }
    std::sort(changed.begin(), changed.end(), isBeforeInPageOrder);
    return changed;
}

}  // namespace host
