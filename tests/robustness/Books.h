#pragma once
// Well-formed books for the whole-job tests: every page shows web addresses, e-mail addresses
// and phone numbers for -a to find, and carries web, go-to and named links for -b to convert;
// every seventh page is a two-page spread. fillerLines adds plain prose below, to make pages as
// heavy as real ones.

#include <string>

#include "support/PdfFixture.h"

namespace robustness {

inline testsupport::PdfFixture linkBook(int pages, int variant = 0, int fillerLines = 0) {
    testsupport::PdfFixture book;
    const std::string tag = std::to_string(variant);
    for (int p = 0; p < pages; ++p) {
        const std::string n = std::to_string(p + 1);
        const bool spread = p % 7 == 6;
        book.page(spread ? platform::Rect{0, 0, 1200, 800} : platform::Rect{0, 0, 600, 800})
            .text(72, 720, 14, "Book " + tag + ", page " + n)
            .text(72, 690, 11, "Read more at www.book" + tag + ".example.org/page/" + n)
            .text(72, 670, 11,
                  "Write to editor" + n + "@example.cn or call 138" +
                      std::to_string(10000000 + p * 37 + variant))
            .text(72, 650, 11, "Orders: https://shop.example.com/b" + tag + "?p=" + n)
            .annot(
                "<< /Type /Annot /Subtype /Link /Rect [72 600 200 620] /A << /S /URI /URI "
                "(https://www.example.org/" +
                n + ") >> >>")
            .annot("<< /Type /Annot /Subtype /Link /Rect [300 600 400 620] /Dest [{page:" +
                   std::to_string((p + 1) % pages) + "} /XYZ 0 800 null] >>")
            .annot(
                "<< /Type /Annot /Subtype /Link /Rect [500 40 560 70] /A << /S /Named /N "
                "/NextPage >> >>");
        for (int line = 0; line < fillerLines; ++line) {
            book.text(72, 580 - 13.0 * line, 10,
                      "Line " + std::to_string(line) +
                          " of plain prose that holds no address, only words to read and scan.");
        }
    }
    return book;
}

}  // namespace robustness
