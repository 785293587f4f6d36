#include "platform/PublicSuffix.h"

#include <libpsl.h>

#include <memory>

namespace platform {

namespace {

struct PslFree {
    void operator()(psl_ctx_t* psl) const { psl_free(psl); }
};

const psl_ctx_t* suffixList() {
    // The newer of the library's built-in list and the system's file.
    static const std::unique_ptr<psl_ctx_t, PslFree> list(psl_latest(nullptr));
    return list.get();
}

constexpr std::size_t kMaxLabel = 63;

bool isLabelByte(char c) { return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-'; }

}  // namespace

bool isTopLevelDomain(std::string_view label) {
    if (label.empty() || label.size() > kMaxLabel) return false;
    char lowered[kMaxLabel + 1];
    for (std::size_t i = 0; i < label.size(); ++i) {
        char c = label[i];
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
        if (!isLabelByte(c)) return false;
        lowered[i] = c;
    }
    lowered[label.size()] = '\0';
    const psl_ctx_t* list = suffixList();
    if (list == nullptr) return false;
    // Without the star rule an unknown label is no suffix at all.
    return psl_is_public_suffix2(list, lowered, PSL_TYPE_ICANN | PSL_TYPE_NO_STAR_RULE) != 0;
}

}  // namespace platform
