#pragma once
// The line `pdfannotations-host run` keeps redrawing on a terminal while a job works.

#include <string>

namespace host {

inline constexpr int kProgressBarWidth = 30;

// "[#########.....................] page 3 of 10": the bar filled in proportion to page of
// total. Without a total (0) only "page 3" follows the empty bar; page is clamped to total.
std::string makeProgressLine(int page, int total, int width = kProgressBarWidth);

}  // namespace host
