#pragma once
// The sample book that `make demo` converts: five pages with web links, go-to links, page
// navigation actions, a URI widget, one two-page spread and a rotated page, plus addresses and a
// phone number in the text. samples/book.pdf is this file's output, checked by a test.

#include "support/PdfFixture.h"

namespace testsupport {

PdfFixture sampleBook();

}  // namespace testsupport
