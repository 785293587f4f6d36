#pragma once
// Builds small PDF files with exactly the objects a test asks for. The file is written by hand
// (objects, cross-reference table, trailer) so every byte is known; only encryption goes through
// the engine.
//
// Object layout of a written file: 1 the catalog, 2 the /Pages node, 3 the Helvetica font, then
// the objects added with object() in order, then per page: the page, its content stream and its
// /Annots entries made with annot(). Content streams are not compressed.
//
// Placeholders in raw text (annotations, entries, extra objects):
//   {page:N}  the reference "n 0 R" of the N-th (zero-based) page; "null" when there is no such
//             page;
//   {obj:K}   the reference of the K-th object added with object(); "null" when there is none.
//
//   testsupport::PdfFixture()
//       .page({0, 0, 600, 800}, platform::Rect{50, 50, 500, 700}, 90)
//       .text(72, 700, 12, "Hello world")
//       .annot("<< /Type /Annot /Subtype /Link /Rect [10 10 110 30] /Dest [{page:0} /Fit] >>")
//       .write(dir / "a.pdf");

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "platform/Geometry.h"

namespace testsupport {

class PdfFixture {
public:
    // Adds a page. Rectangles are written as [x y x+width y+height]. Without a crop box the page
    // has no /CropBox entry; rotate 0 writes no /Rotate.
    PdfFixture& page(platform::Rect mediaBox, std::optional<platform::Rect> cropBox = {},
                     int rotate = 0);
    // Adds count pages with the same media box and nothing else.
    PdfFixture& pages(int count, platform::Rect mediaBox);
    // Adds a page whose /MediaBox, /CropBox and /Rotate all come from the /Pages node (see
    // pagesEntry), so its boxes and rotation are inherited.
    PdfFixture& bareLeaf();

    // Draws text in Helvetica (WinAnsi; the bytes are written as given, with "(", ")" and "\"
    // escaped) on the last page, starting at the baseline point (x, y).
    PdfFixture& text(double x, double y, double fontSize, const std::string& text);
    // Appends raw content-stream operators to the last page's content, as they are.
    PdfFixture& content(const std::string& operators);
    // Appends an indirect annotation object made of rawDictionary to the last page's /Annots.
    PdfFixture& annot(const std::string& rawDictionary);
    // Appends rawObject to the last page's /Annots array as it is (a direct dictionary, a number,
    // a reference, ...).
    PdfFixture& annotsEntry(const std::string& rawObject);
    // Replaces the last page's /Annots array with the raw value (for an indirect or malformed
    // array); annot() and annotsEntry() are then ignored for that page.
    PdfFixture& annotsValue(const std::string& rawValue);

    // Extra entries: key without the slash, value as raw PDF syntax.
    PdfFixture& pageEntry(const std::string& key, const std::string& rawValue);     // last page
    PdfFixture& catalogEntry(const std::string& key, const std::string& rawValue);  // /Root
    PdfFixture& pagesEntry(const std::string& key, const std::string& rawValue);    // /Pages
    // Adds an indirect object and returns its placeholder "{obj:K}" for use in other raw text.
    std::string object(const std::string& rawObject);

    // The file's bytes, and the same written to path. write() fails the current test when the
    // file cannot be written.
    std::string bytes() const;
    void write(const std::filesystem::path& path) const;
    // Writes the file encrypted by the engine. method: "rc4-40", "rc4-128", "aes-128" or
    // "aes-256"; permissions as in the /P entry (-1 grants everything). Fails the current test
    // when the engine refuses.
    void writeEncrypted(const std::filesystem::path& path, const std::string& userPassword,
                        const std::string& ownerPassword, const std::string& method,
                        int permissions = -1) const;

private:
    struct Page {
        std::vector<std::string> entries;  // "/Key value" lines of the page dictionary
        std::string content;
        std::vector<std::string> annots;  // raw text of each /Annots element
        std::vector<bool> annotIsObject;  // element i is an indirect object of its own
        std::optional<std::string> annotsValue;
    };
    Page& lastPage();
    std::string resolve(const std::string& raw) const;
    int firstPageObject() const;
    int pageObjectNumber(std::size_t pageIndex) const;

    std::vector<Page> pages_;
    std::vector<std::string> catalogEntries_;
    std::vector<std::string> pagesEntries_;
    std::vector<std::string> objects_;
};

}  // namespace testsupport
