#pragma once
// The engine keeps every PDF real as a 32-bit float, while the jobs compute in doubles. Widening
// the float keeps its binary error (296.936 becomes 296.93600463867...), which shows in the sixth
// decimal of a fraction of the page. A decimal of up to six significant digits, which is what
// PDF writers write, comes back exactly as the shortest text that reads as the same float, so
// that text read as a double is the number the file wrote.

namespace platform {

double decimalValue(float value);

}  // namespace platform
