// The encrypted variant of a fixture: the plain file is written first, then the engine rewrites
// it with the requested security handler.
#include <gtest/gtest.h>
#include <mupdf/fitz.h>
#include <mupdf/pdf.h>

#include <cstring>

#include "support/PdfFixture.h"

namespace testsupport {
namespace {

int encryptionMethod(const std::string& method) {
    if (method == "rc4-40") return PDF_ENCRYPT_RC4_40;
    if (method == "rc4-128") return PDF_ENCRYPT_RC4_128;
    if (method == "aes-128") return PDF_ENCRYPT_AES_128;
    if (method == "aes-256") return PDF_ENCRYPT_AES_256;
    return PDF_ENCRYPT_UNKNOWN;
}

void ignoreMessage(void*, const char*) {}

// Returns false when the engine could not rewrite the file; only plain C data is alive inside.
bool saveEncrypted(const char* plain, const char* target, const pdf_write_options* options) {
    fz_context* ctx = fz_new_context(nullptr, nullptr, FZ_STORE_DEFAULT);
    if (ctx == nullptr) return false;
    fz_set_warning_callback(ctx, ignoreMessage, nullptr);
    fz_set_error_callback(ctx, ignoreMessage, nullptr);
    pdf_document* doc = nullptr;
    bool ok = true;
    fz_var(doc);
    fz_var(ok);
    fz_try(ctx) {
        doc = pdf_open_document(ctx, plain);
        pdf_save_document(ctx, doc, target, options);
    }
    fz_always(ctx) { pdf_drop_document(ctx, doc); }
    fz_catch(ctx) { ok = false; }
    fz_drop_context(ctx);
    return ok;
}

}  // namespace

void PdfFixture::writeEncrypted(const std::filesystem::path& path, const std::string& userPassword,
                                const std::string& ownerPassword, const std::string& method,
                                int permissions) const {
    pdf_write_options options = pdf_default_write_options;
    options.do_encrypt = encryptionMethod(method);
    options.permissions = permissions;
    if (options.do_encrypt == PDF_ENCRYPT_UNKNOWN || userPassword.size() >= 128 ||
        ownerPassword.size() >= 128) {
        ADD_FAILURE() << "unsupported encryption request " << method;
        return;
    }
    std::memcpy(options.upwd_utf8, userPassword.c_str(), userPassword.size() + 1);
    std::memcpy(options.opwd_utf8, ownerPassword.c_str(), ownerPassword.size() + 1);

    std::filesystem::path plain = path;
    plain += ".plain";
    write(plain);
    bool ok = saveEncrypted(plain.c_str(), path.c_str(), &options);
    std::error_code ignored;
    std::filesystem::remove(plain, ignored);
    if (!ok) ADD_FAILURE() << "the engine could not encrypt " << path;
}

}  // namespace testsupport
