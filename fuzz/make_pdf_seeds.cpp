// Writes the seed PDFs of the Pdf fuzz target, made with the tests' own fixture builder: the
// sample book, and small files that each put one thing the jobs read on page 1 (the target
// reads page 1 only). The files in fuzz/corpus/Pdf/ were written by
//   build/<dir>/fuzz/fuzz_make_pdf_seeds fuzz/corpus/Pdf

#include <cstdio>
#include <filesystem>

#include "support/PdfFixture.h"
#include "support/SampleBook.h"

namespace {

using testsupport::PdfFixture;
namespace fs = std::filesystem;

constexpr platform::Rect kPage{0, 0, 600, 800};
constexpr platform::Rect kSpread{0, 0, 1200, 800};

std::string uriLink(const std::string& rect, const std::string& uri) {
    return "<< /Type /Annot /Subtype /Link /Rect [" + rect + "] /A << /S /URI /URI (" + uri +
           ") >> >>";
}

PdfFixture everyLinkKind() {
    PdfFixture pdf;
    pdf.page(kPage)
        .pageEntry("StructParents", "7")
        .text(72, 700, 12, "www.example.org mail@example.cn 13812345678 010-12345678")
        .annot(uriLink("72 696 200 712", "http://www.example.org/%E4%BD%A0"))
        .annot(
            "<< /Type /Annot /Subtype /Link /Rect [300 40 200 20] /Dest [{page:1} /XYZ 0 800 "
            "null] >>")
        .annot(
            "<< /Type /Annot /Subtype /Link /Rect [10 10 60 30] /A << /S /Named /N /NextPage "
            ">> >>")
        .annot(
            "<< /Type /Annot /Subtype /Link /Rect [10 40 60 60] /A << /S /URI /URI (http://a) "
            "/URI#20action (http://b.example.com/) >> >>")
        .annot(
            "<< /Type /Annot /Subtype /Widget /FT /Btn /Rect [250 40 350 70] /AA << /D << /S "
            "/URI /URI (https://shop.example.com/order) >> >> >>")
        .annot("<< /Type /Annot /Subtype /Text /Rect [0 0 10 10] /Contents (note) >>")
        .annot(
            "<< /Type /Annot /Subtype /Link /Rect [1 2 3] /Border [0 0 1 [3 2]] /BS << /W 2 /S "
            "/D /D [3] >> /F 4 /NM (n) /M (D:20240101) /StructParent 3 /P << /StructParent 7 "
            ">> /A << /S /GoTo /D [{page:0} /Fit] >> >>")
        .annotsEntry("42")
        .annotsEntry(
            "<< /Subtype /Link /Rect [5 5 6 6] /A << /S /URI /URI <68747470733A2F2F78> >> >>");
    pdf.page(kPage).text(72, 700, 12, "Second page");
    return pdf;
}

PdfFixture spreadBook() {
    PdfFixture pdf;
    pdf.page(kSpread)
        .text(450, 400, 12, "Across the fold: www.example.org/fold")
        .annot(uriLink("72 716 260 736", "https://www.example.org/left"))
        .annot(uriLink("672 716 880 736", "https://www.example.org/right"))
        .annot(uriLink("450 396 700 410", "http://www.example.org/fold"))
        .annot("<< /Subtype /Link /Rect [700 100 800 120] /Dest [{page:2} /XYZ 700 800 null] >>");
    pdf.page(kPage);
    pdf.page(kSpread);
    return pdf;
}

PdfFixture rotatedPage() {
    PdfFixture pdf;
    pdf.page(kPage, platform::Rect{50, 50, 500, 700}, 90)
        .text(72, 500, 12, "Call 400 1234567 or write to a@b.cn, see ftp://files.example.net/x")
        .annot(uriLink("72 480 300 520", "https://publisher.example.com/"));
    return pdf;
}

PdfFixture inheritedBoxes() {
    PdfFixture pdf;
    pdf.pagesEntry("MediaBox", "[0 0 595 842]")
        .pagesEntry("Rotate", "270")
        .bareLeaf()
        .annotsValue("{obj:0}");
    pdf.object("[<< /Subtype /Link /Rect [10 10 100 40] /A << /S /URI /URI (http://x.cn) >> >>]");
    return pdf;
}

void write(const PdfFixture& pdf, const fs::path& path) {
    pdf.write(path);
    std::printf("%s\n", path.c_str());
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s FOLDER\n", argv[0]);
        return 2;
    }
    const fs::path folder = argv[1];
    fs::create_directories(folder);
    write(testsupport::sampleBook(), folder / "fixture-sample-book.pdf");
    write(everyLinkKind(), folder / "fixture-every-link-kind.pdf");
    write(spreadBook(), folder / "fixture-spreads.pdf");
    write(rotatedPage(), folder / "fixture-rotated.pdf");
    write(inheritedBoxes(), folder / "fixture-inherited.pdf");
    everyLinkKind().writeEncrypted(folder / "fixture-encrypted-rc4.pdf", "", "owner", "rc4-128");
    rotatedPage().writeEncrypted(folder / "fixture-encrypted-aes.pdf", "", "owner", "aes-256");
    return 0;
}
