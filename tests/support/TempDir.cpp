#include "support/TempDir.h"

#include <cstdlib>
#include <string>

namespace testsupport {

TempDir::TempDir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "pdfa-test-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) std::abort();
    path_ = pattern;
}

TempDir::~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

}  // namespace testsupport
