// Saving never damages the file it replaces: the engine writes a hidden sibling, which is
// flushed to disk, given the original's permissions and only then renamed over the target.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "platform/MuPDFDocument.h"
#include "platform/MuPDFEngine.h"

namespace platform {
namespace {

Error systemError(const std::string& what, const std::string& path) {
    return makeError(Error::Code::System, what + " " + path + ": " + std::strerror(errno));
}

// The open temporary file, removed again unless it was renamed over the target.
struct TemporaryFile {
    std::string path;
    int fd = -1;
    bool placed = false;  // renamed over the target: nothing to remove
    ~TemporaryFile() {
        if (fd >= 0) ::close(fd);
        if (!placed && !path.empty()) ::unlink(path.c_str());
    }
};

Status createSibling(const std::string& target, TemporaryFile& file) {
    std::filesystem::path targetPath(target);
    std::filesystem::path folder = targetPath.parent_path();
    if (folder.empty()) folder = ".";
    std::string pattern = (folder / ("." + targetPath.filename().string() + ".XXXXXX")).string();
    file.fd = ::mkstemp(pattern.data());
    if (file.fd < 0) return systemError("cannot create a temporary file beside", target);
    file.path = pattern;
    return Done{};
}

// The target's permission bits, or what a new file would get under the current umask.
mode_t permissionsFor(const std::string& target) {
    struct stat info;
    if (::stat(target.c_str(), &info) == 0) return info.st_mode & 07777;
    mode_t mask = ::umask(0);
    ::umask(mask);
    return 0666 & ~mask;
}

bool canWriteIncrementally(fz_context* ctx, pdf_document* doc) {
    int result = 0;
    fz_var(result);
    fz_try(ctx) {
        result = doc->file != nullptr && !pdf_was_repaired(ctx, doc) &&
                 pdf_can_be_saved_incrementally(ctx, doc);
    }
    fz_catch(ctx) { result = 0; }
    return result != 0;
}

// An incremental write appends the changes to a copy of the original bytes, which keeps
// signatures valid; either way the encryption stays as it was.
Status writePdf(fz_context* ctx, pdf_document* doc, int* fd, bool incremental) {
    if (::ftruncate(*fd, 0) != 0 || ::lseek(*fd, 0, SEEK_SET) != 0) {
        return makeError(Error::Code::System, std::string("cannot write: ") + std::strerror(errno));
    }
    pdf_write_options options = pdf_default_write_options;
    options.do_incremental = incremental ? 1 : 0;
    options.do_encrypt = PDF_ENCRYPT_KEEP;
    Result<fz_output*> opened = mupdf::openFileOutput(ctx, fd);
    if (!opened) return opened.error();
    fz_output* out = *opened;
    fz_try(ctx) {
        pdf_write_document(ctx, doc, out, &options);
        fz_close_output(ctx, out);
    }
    fz_always(ctx) { fz_drop_output(ctx, out); }
    fz_catch(ctx) { return mupdf::errorFromCaught(ctx, Error::Code::System); }
    return Done{};
}

Status replaceTarget(TemporaryFile& file, const std::string& target) {
    if (::fchmod(file.fd, permissionsFor(target)) != 0 || ::fsync(file.fd) != 0) {
        return systemError("cannot flush", file.path);
    }
    if (::rename(file.path.c_str(), target.c_str()) != 0) {
        return systemError("cannot replace", target);
    }
    file.placed = true;
    std::filesystem::path folder = std::filesystem::path(target).parent_path();
    int folderFd = ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY);
    if (folderFd >= 0) {
        ::fsync(folderFd);  // makes the rename itself durable; best effort
        ::close(folderFd);
    }
    return Done{};
}

}  // namespace

Status Document::save(const std::string& path) {
    if (!m_ || !m_->engine->unlocked) {
        return makeError(Error::Code::Password, "the document is locked");
    }
    TemporaryFile temporary;
    Status created = createSibling(path, temporary);
    if (!created) return created;
    fz_context* ctx = m_->engine->ctx;
    pdf_document* doc = m_->engine->doc;
    bool incremental = !m_->saved && canWriteIncrementally(ctx, doc);
    Status written = writePdf(ctx, doc, &temporary.fd, incremental);
    if (!written && incremental) written = writePdf(ctx, doc, &temporary.fd, false);
    if (!written) return written;
    Status replaced = replaceTarget(temporary, path);
    if (!replaced) return replaced;
    m_->saved = true;
    return Done{};
}

}  // namespace platform
