#include "host/ProgressBar.h"

#include <algorithm>

namespace host {

std::string makeProgressLine(int page, int total, int width) {
    width = std::max(width, 1);
    page = std::max(page, 0);
    if (total > 0) page = std::min(page, total);
    const int filled =
        total > 0 ? static_cast<int>(static_cast<long long>(page) * width / total) : 0;
    std::string line = "[" + std::string(filled, '#') + std::string(width - filled, '.') +
                       "] page " + std::to_string(page);
    if (total > 0) line += " of " + std::to_string(total);
    return line;
}

}  // namespace host
