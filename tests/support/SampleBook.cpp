#include "support/SampleBook.h"

namespace testsupport {
namespace {

const platform::Rect kPage{0, 0, 600, 800};
const platform::Rect kSpread{0, 0, 1200, 800};

std::string uriLink(const std::string& rect, const std::string& uri) {
    return "<< /Type /Annot /Subtype /Link /Rect [" + rect + "] /Border [0 0 0] /A << /S /URI /URI (" +
           uri + ") >> >>";
}

std::string goToLink(const std::string& rect, int page, int left, int top) {
    return "<< /Type /Annot /Subtype /Link /Rect [" + rect + "] /Border [0 0 0] /Dest [{page:" +
           std::to_string(page) + "} /XYZ " + std::to_string(left) + " " + std::to_string(top) +
           " null] >>";
}

// Navigation buttons are drawn as squares whose action names a page of the book.
std::string namedButton(const std::string& rect, const std::string& name) {
    return "<< /Type /Annot /Subtype /Square /Rect [" + rect + "] /A << /S /Named /N /" + name +
           " >> >>";
}

}  // namespace

PdfFixture sampleBook() {
    PdfFixture book;
    book.page(kPage)
        .text(72, 720, 24, "The Sample Book")
        .text(72, 680, 12, "Read the full story at https://www.example.org/story")
        .text(72, 660, 12, "Letters to the editor: editor@example.org")
        .text(72, 640, 12, "Orders by phone: 13812345678")
        .text(72, 600, 12, "Jump to the map spread")
        .annot(uriLink("200 676 370 690", "https://www.example.org/story"))
        .annot(goToLink("72 596 200 610", 2, 700, 800))
        .annot(namedButton("500 40 560 70", "NextPage"));
    book.page(kPage)
        .text(72, 720, 18, "Chapter 1")
        .text(72, 680, 12, "Back to the cover")
        .annot(goToLink("72 676 180 690", 0, 0, 800))
        .annot(namedButton("40 40 100 70", "PrevPage"))
        .annot(namedButton("500 40 560 70", "NextPage"));
    book.page(kSpread)
        .text(72, 720, 18, "The map, left half")
        .text(672, 720, 18, "The map, right half")
        .text(450, 400, 12, "Across the fold: www.example.org/fold")
        .annot(uriLink("72 716 260 736", "https://www.example.org/left"))
        .annot(uriLink("672 716 880 736", "https://www.example.org/right"))
        .annot(uriLink("450 396 700 410", "http://www.example.org/fold"))
        .annot(goToLink("72 100 200 120", 4, 0, 800));
    book.page(kPage, std::nullopt, 90)
        .text(72, 500, 12, "A page set sideways, with a link to the publisher")
        .annot(uriLink("72 480 300 520", "https://publisher.example.com/"));
    book.page(kPage)
        .text(72, 720, 18, "The end")
        .text(72, 680, 12, "Call the service line 400 1234567")
        .annot(namedButton("40 40 100 70", "FirstPage"))
        .annot(namedButton("500 40 560 70", "LastPage"))
        .annot("<< /Type /Annot /Subtype /Widget /FT /Btn /Rect [250 40 350 70] /AA << /D << /S "
               "/URI /URI (https://shop.example.com/order) >> >> >>");
    return book;
}

}  // namespace testsupport
