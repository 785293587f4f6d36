#pragma once
// The front end's estimate of a book's single-page width, made before a job starts.

#include <cstdint>
#include <optional>
#include <string>

#include "pdf/WidePages.h"

namespace pdf {

// From the distinct crop-box widths (truncated, rotation not applied) of all pages: 0 for fewer
// than two; for two, the smaller when it is under 0.8 of the larger, else 0; for more, the width
// among those at or below the mean that lies nearest their own mean, as the host's original
// search finds it. 0 when the file cannot be opened or unlocked.
std::int64_t detectWidePageForFile(const std::string& path,
                                   const std::optional<std::string>& password);
// The same estimate for pages already measured.
std::int64_t detectWidePage(const PageMeasures& measures);

}  // namespace pdf
