#pragma once
// Hostile and broken PDF files, made from fixture books by byte manipulation or written object by
// object: cut short, bytes flipped, cross-reference tables broken, page trees cyclic or deep,
// annotation arrays of 100,000 entries, references that loop, and streams that inflate to a
// gigabyte. Every generator is deterministic.

#include <zlib.h>

#include <string>
#include <vector>

#include "robustness/PdfSurgery.h"
#include "support/SampleBook.h"

namespace robustness {

struct HostileCase {
    std::string name;
    std::string bytes;
};

// The text every written page shows: one address of each kind the text scan finds.
inline const std::string kPageText =
    "BT /F1 12 Tf 72 700 Td (Visit www.example.org, mail info@example.cn or call 13812345678) "
    "Tj ET";

// Objects 1 to 6 of a one-page book: catalog, the given /Pages node, font, content, the page
// (parent 2, one link annotation, object 6), and its link. More objects follow from 7.
inline std::vector<std::string> oneLeafBook(const std::string& pagesNode,
                                            const std::string& pageExtra = "",
                                            const std::string& annots = "[6 0 R]") {
    return {"<< /Type /Catalog /Pages 2 0 R >>",
            pagesNode,
            "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica /Encoding /WinAnsiEncoding >>",
            streamBody(kPageText),
            "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 600 800] /Resources << /Font << /F1 3 0 "
            "R >> >> /Contents 4 0 R /Annots " +
                annots + " " + pageExtra + " >>",
            "<< /Type /Annot /Subtype /Link /Rect [72 696 200 712] /A << /S /URI /URI "
            "(http://www.example.org/) >> >>"};
}

inline std::string sampleBookBytes() { return testsupport::sampleBook().bytes(); }

inline std::vector<HostileCase> truncations() {
    const std::string book = sampleBookBytes();
    std::vector<std::size_t> lengths = {0, 1, 5, 8, 9, 16, 17, 64};
    for (std::size_t k = 1; k < 24; ++k) lengths.push_back(book.size() * k / 24);
    for (std::size_t tail : {40, 20, 7, 6, 2, 1}) lengths.push_back(book.size() - tail);
    std::vector<HostileCase> cases;
    for (std::size_t length : lengths) {
        cases.push_back({"cut at " + std::to_string(length), book.substr(0, length)});
    }
    return cases;
}

inline std::vector<HostileCase> byteFlips() {
    const std::string book = sampleBookBytes();
    std::vector<HostileCase> cases;
    for (std::uint32_t seed = 1; seed <= 30; ++seed) {
        int count = 1 + static_cast<int>(seed % 16);
        cases.push_back({"seed " + std::to_string(seed) + ", " + std::to_string(count) + " bytes",
                         flipped(book, seed, count)});
    }
    return cases;
}

inline std::vector<HostileCase> brokenCrossReferences() {
    const std::string book = sampleBookBytes();
    const std::string startxref = "startxref\n" + std::to_string(lastStartXref(book));
    const std::string size = "/Size " + std::to_string(lastSize(book));
    std::string zeroed = book;
    for (std::size_t at = zeroed.find(" 00000 n "); at != std::string::npos;
         at = zeroed.find(" 00000 n ", at + 1)) {
        zeroed.replace(at - 10, 10, "0000000000");
    }
    // An update whose /Prev names its own cross-reference section.
    std::string looped = withUpdate(book, {{6, "<< /Looped true >>"}});
    looped = patched(looped, "/Prev " + std::to_string(lastStartXref(book)),
                     "/Prev " + std::to_string(lastStartXref(looped)), true);
    return {
        {"startxref past the end", patched(book, startxref, "startxref\n99999999", true)},
        {"startxref 0", patched(book, startxref, "startxref\n0", true)},
        {"startxref negative", patched(book, startxref, "startxref\n-5", true)},
        {"xref keyword gone", patched(book, "xref\n0 ", "xyzw\n0 ", true)},
        {"offsets all zero", zeroed},
        {"offsets shifted by 7", book.substr(0, 9) + "%shift\n" + book.substr(9)},
        {"trailer without Root", patched(book, "/Root 1 0 R", "/Rooo 1 0 R", true)},
        {"Size 2147483647", patched(book, size, "/Size 2147483647", true)},
        {"Size -1", patched(book, size, "/Size -1", true)},
        {"Prev names itself", looped},
        {"subsection of 999999999 entries", patched(book, "xref\n0 ", "xref\n0 999999999 ", true)},
        {"no trailer", book.substr(0, book.rfind("trailer"))},
        {"Root is a number", patched(book, "/Root 1 0 R", "/Root 42", true)},
        {"Root is a page", patched(book, "/Root 1 0 R", "/Root 8 0 R", true)},
    };
}

// A chain of depth /Pages nodes above the one page.
inline std::string pageChain(std::size_t depth) {
    // 1 catalog, 2 font, 3 content, 4 link, 5.. the /Pages nodes, then the page.
    std::vector<std::string> bodies = {
        "<< /Type /Catalog /Pages 5 0 R >>",
        "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica /Encoding /WinAnsiEncoding >>",
        streamBody(kPageText),
        "<< /Type /Annot /Subtype /Link /Rect [72 696 200 712] /A << /S /URI /URI "
        "(http://www.example.org/) >> >>"};
    bodies.reserve(depth + 5);
    for (std::size_t level = 0; level < depth; ++level) {
        std::string parent = level == 0 ? "" : " /Parent " + ref(4 + level);
        bodies.push_back("<< /Type /Pages /Kids [" + ref(6 + level) + "] /Count 1" + parent +
                         " >>");
    }
    bodies.push_back("<< /Type /Page /Parent " + ref(4 + depth) +
                     " /MediaBox [0 0 600 800] /Resources << /Font << /F1 2 0 R >> >> /Contents 3 "
                     "0 R /Annots [4 0 R] >>");
    return pdfOf(bodies);
}

// One page listed times times in the /Kids of the root.
inline std::string repeatedLeaf(int times) {
    std::string kids;
    for (int k = 0; k < times; ++k) kids += "5 0 R ";
    return pdfOf(oneLeafBook("<< /Type /Pages /Kids [" + kids + "] /Count " +
                             std::to_string(times) + " >>"));
}

inline std::string pagesCounted(const std::string& count) {
    return pdfOf(oneLeafBook("<< /Type /Pages /Kids [5 0 R] /Count " + count + " >>"));
}

// The page names itself as its parent: inherited entries are looked up in a loop.
inline std::string pageOwnParent() {
    return pdfOf(oneLeafBook("<< /Type /Pages /Kids [5 0 R] /Count 1 >>", "/Parent 5 0 R"));
}

// The page beside a chain of levels /Pages nodes that each list the next one twice, down to an
// empty node: 2^levels paths through the tree, in levels + 6 objects.
inline std::string sharedSubtrees(std::size_t levels) {
    std::vector<std::string> bodies =
        oneLeafBook("<< /Type /Pages /Kids [5 0 R 7 0 R] /Count 1 >>");
    for (std::size_t level = 0; level < levels; ++level) {
        const std::string kids = level + 1 == levels ? "" : ref(8 + level) + " " + ref(8 + level);
        bodies.push_back("<< /Type /Pages /Kids [" + kids + "] /Count 0 >>");
    }
    return pdfOf(bodies);
}

inline std::vector<HostileCase> brokenPageTrees() {
    std::vector<std::string> mutual = oneLeafBook("<< /Type /Pages /Kids [7 0 R] /Count 1 >>");
    mutual.push_back("<< /Type /Pages /Kids [2 0 R 5 0 R] /Parent 2 0 R /Count 1 >>");
    return {
        {"Kids holds its own node",
         pdfOf(oneLeafBook("<< /Type /Pages /Kids [5 0 R 2 0 R] /Count 2 >>"))},
        {"two nodes hold each other", pdfOf(mutual)},
        {"Count 0", pagesCounted("0")},
        {"Count -1", pagesCounted("-1")},
        {"Count 2147483647", pagesCounted("2147483647")},
        {"Count 3 for one page", pagesCounted("3")},
        {"Count not a number", pagesCounted("(many)")},
        {"Kids of numbers and nulls",
         pdfOf(oneLeafBook("<< /Type /Pages /Kids [1 null (x) 5 0 R 99 0 R] /Count 2 >>"))},
        {"Kids not an array", pdfOf(oneLeafBook("<< /Type /Pages /Kids 5 0 R /Count 1 >>"))},
        {"one page 10000 times", repeatedLeaf(10000)},
        {"page tree 64 levels deep", pageChain(64)},
        {"page tree 100 levels deep", pageChain(100)},
        {"page tree 101 levels deep", pageChain(101)},
        {"page tree 1000 levels deep", pageChain(1000)},
        {"page that is its own parent", pageOwnParent()},
        {"2^40 paths through shared nodes", sharedSubtrees(40)},
    };
}

// The page's link goes to the named destination "chapter", found levels deep in the catalog's
// /Names /Dests tree: a chain of nodes of one kid each, all of whose limits admit the name.
inline std::string destinationTreeChain(std::size_t levels) {
    std::vector<std::string> bodies = oneLeafBook("<< /Type /Pages /Kids [5 0 R] /Count 1 >>");
    bodies[0] = "<< /Type /Catalog /Pages 2 0 R /Names << /Dests 7 0 R >> >>";
    bodies[5] = "<< /Type /Annot /Subtype /Link /Rect [72 696 200 712] /Dest (chapter) >>";
    bodies.reserve(bodies.size() + levels + 1);
    for (std::size_t level = 0; level < levels; ++level) {
        bodies.push_back("<< /Kids [" + ref(8 + level) + "] /Limits [(a) (z)] >>");
    }
    bodies.push_back("<< /Names [(chapter) [5 0 R /Fit]] /Limits [(chapter) (chapter)] >>");
    return pdfOf(bodies);
}

// The page's resources name a form whose resources name the next one: levels forms.
inline std::string formChain(std::size_t levels) {
    std::vector<std::string> bodies = oneLeafBook("<< /Type /Pages /Kids [5 0 R] /Count 1 >>");
    bodies[4] = patched(bodies[4], "/Font << /F1 3 0 R >>",
                        "/Font << /F1 3 0 R >> /XObject << /X 7 0 R >>");
    bodies.reserve(bodies.size() + levels + 1);
    for (std::size_t level = 0; level < levels; ++level) {
        const std::string next =
            level + 1 == levels ? "" : "/XObject << /X " + ref(8 + level) + " >>";
        bodies.push_back(streamBody("",
                                    "/Type /XObject /Subtype /Form /BBox [0 0 1 1] /Resources "
                                    "<< " +
                                        next + " >>"));
    }
    return pdfOf(bodies);
}

inline std::string annotationsBook(const std::string& annots, std::vector<std::string> extra) {
    std::vector<std::string> bodies =
        oneLeafBook("<< /Type /Pages /Kids [5 0 R] /Count 1 >>", "", annots);
    bodies.insert(bodies.end(), extra.begin(), extra.end());
    return pdfOf(bodies);
}

inline std::string linkDictionary(std::size_t k) {
    const std::string x = std::to_string(k % 500), y = std::to_string(k % 700);
    return "<< /Type /Annot /Subtype /Link /Rect [" + x + " " + y + " " + x + "5 " + y +
           "9] /A << /S /URI /URI (http://e" + std::to_string(k) + ".cn/) >> >>";
}

inline std::vector<HostileCase> hugeAnnotationArrays(std::size_t count = 100000) {
    std::string indirect = "[", direct = "[", same = "[";
    std::vector<std::string> objects;
    for (std::size_t k = 0; k < count; ++k) {
        indirect += ref(7 + k) + " ";
        direct += linkDictionary(k) + " ";
        same += "6 0 R ";
        objects.push_back(linkDictionary(k));
    }
    return {
        {std::to_string(count) + " link objects", annotationsBook(indirect + "]", objects)},
        {std::to_string(count) + " direct link dictionaries", annotationsBook(direct + "]", {})},
        {"one link " + std::to_string(count) + " times", annotationsBook(same + "]", {})},
    };
}

inline std::vector<HostileCase> loopingReferences() {
    auto withLink = [](const std::string& link, std::vector<std::string> extra = {}) {
        std::vector<std::string> bodies = oneLeafBook("<< /Type /Pages /Kids [5 0 R] /Count 1 >>");
        bodies[5] = link;
        bodies.insert(bodies.end(), extra.begin(), extra.end());
        return pdfOf(bodies);
    };
    return {
        {"Annots through two references to each other",
         annotationsBook("7 0 R", {"8 0 R", "7 0 R"})},
        {"Annots holds itself", annotationsBook("7 0 R", {"[7 0 R 6 0 R]"})},
        {"object is a reference to itself", withLink("6 0 R")},
        {"Rect loops", withLink("<< /Subtype /Link /Rect 7 0 R /A << /S /URI /URI (http://x.cn) "
                                ">> >>",
                                {"8 0 R", "7 0 R"})},
        {"action Next loops", withLink("<< /Subtype /Link /Rect [1 1 90 90] /A 7 0 R >>",
                                       {"<< /S /URI /URI (http://x.cn) /Next 8 0 R >>",
                                        "<< /S /Named /N /NextPage /Next 7 0 R >>"})},
        {"named destination in a looping name tree", pdfOf([] {
             std::vector<std::string> bodies =
                 oneLeafBook("<< /Type /Pages /Kids [5 0 R] /Count 1 >>");
             bodies[0] = "<< /Type /Catalog /Pages 2 0 R /Names << /Dests 7 0 R >> >>";
             bodies[5] = "<< /Subtype /Link /Rect [1 1 90 90] /Dest (chapter) >>";
             bodies.push_back("<< /Kids [8 0 R] >>");
             bodies.push_back("<< /Kids [7 0 R] /Limits [(a) (z)] >>");
             return bodies;
         }())},
        {"destination page loops",
         withLink("<< /Subtype /Link /Rect [1 1 90 90] /Dest [7 0 R /Fit] >>", {"7 0 R"})},
        {"P and Parent loop", withLink("<< /Subtype /Link /Rect [1 1 90 90] /P 7 0 R /StructParent "
                                       "1 /A << /S /URI /URI (http://x.cn) >> >>",
                                       {"<< /Parent 7 0 R /StructParent 1 /P 7 0 R >>"})},
        {"Contents loops", pdfOf([] {
             std::vector<std::string> bodies =
                 oneLeafBook("<< /Type /Pages /Kids [5 0 R] /Count 1 >>");
             bodies[4] = patched(bodies[4], "/Contents 4 0 R", "/Contents [7 0 R 4 0 R]");
             bodies.push_back("[7 0 R]");
             return bodies;
         }())},
        {"Resources loop", pdfOf([] {
             std::vector<std::string> bodies =
                 oneLeafBook("<< /Type /Pages /Kids [5 0 R] /Count 1 >>");
             bodies[4] =
                 patched(bodies[4], "/Resources << /Font << /F1 3 0 R >> >>", "/Resources 7 0 R");
             bodies.push_back("<< /Font << /F1 7 0 R >> /Parent 7 0 R >>");
             return bodies;
         }())},
    };
}

// The zlib stream of mebibytes MiB of zero bytes, made without compressing them all: after a
// full flush, deflate turns every further MiB of zeros into the same bytes, so one is repeated,
// and the checksum is set to that of the whole.
inline std::string deflatedZeros(std::size_t mebibytes) {
    const std::string chunk(1u << 20, '\0');
    z_stream z{};
    deflateInit(&z, 9);
    auto run = [&z](const std::string& input, int flush) {
        std::string output;
        z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(input.data()));
        z.avail_in = static_cast<uInt>(input.size());
        char buffer[65536];
        do {
            z.next_out = reinterpret_cast<Bytef*>(buffer);
            z.avail_out = sizeof buffer;
            deflate(&z, flush);
            output.append(buffer, sizeof buffer - z.avail_out);
        } while (z.avail_out == 0);
        return output;
    };
    std::string stream = run(chunk, Z_FULL_FLUSH);
    const std::string repeated = run(chunk, Z_FULL_FLUSH);
    std::string tail = run("", Z_FINISH);
    deflateEnd(&z);
    for (std::size_t k = 1; k < mebibytes; ++k) stream += repeated;
    const unsigned long total = static_cast<unsigned long>(mebibytes) << 20;
    const unsigned long adler = ((total % 65521u) << 16) | 1u;  // every byte 0
    for (int k = 0; k < 4; ++k) {
        tail[tail.size() - 4 + k] = static_cast<char>((adler >> (24 - 8 * k)) & 0xFF);
    }
    return stream + tail;
}

inline std::string deflated(const std::string& data) {
    uLongf size = compressBound(data.size());
    std::string out(size, '\0');
    compress2(reinterpret_cast<Bytef*>(out.data()), &size,
              reinterpret_cast<const Bytef*>(data.data()), data.size(), 9);
    out.resize(size);
    return out;
}

// pages pages that each show kPageText and then run one shared content stream of data, written
// with filters (raw "/Filter ..." value, or empty).
inline std::string pagesSharingContent(int pages, const std::string& data,
                                       const std::string& filters) {
    std::string kids;
    for (int page = 0; page < pages; ++page) kids += ref(6 + page) + " ";
    std::vector<std::string> bodies = {
        "<< /Type /Catalog /Pages 2 0 R >>",
        "<< /Type /Pages /Kids [" + kids + "] /Count " + std::to_string(pages) + " >>",
        "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica /Encoding /WinAnsiEncoding >>",
        streamBody(kPageText), streamBody(data, filters.empty() ? "" : "/Filter " + filters)};
    for (int page = 0; page < pages; ++page) {
        bodies.push_back(
            "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 600 800] /Resources << /Font << /F1 3 0 "
            "R >> >> /Contents [4 0 R 5 0 R] >>");
    }
    return pdfOf(bodies);
}

inline std::vector<HostileCase> inflationBombs(std::size_t mebibytes = 1024) {
    const std::string once = deflatedZeros(mebibytes);
    const std::string twice = deflated(once);
    const std::string label = std::to_string(mebibytes) + " MiB";
    auto withContents = [](const std::string& data, const std::string& filters) {
        std::vector<std::string> bodies = oneLeafBook("<< /Type /Pages /Kids [5 0 R] /Count 1 >>");
        bodies[4] = patched(bodies[4], "/Contents 4 0 R", "/Contents [4 0 R 7 0 R]");
        bodies.push_back(streamBody(data, "/Filter " + filters));
        return pdfOf(bodies);
    };
    std::vector<std::string> cmap = oneLeafBook("<< /Type /Pages /Kids [5 0 R] /Count 1 >>");
    cmap[2] = patched(cmap[2], " >>", " /ToUnicode 7 0 R >>", true);
    cmap.push_back(streamBody(twice, "/Filter [/FlateDecode /FlateDecode]"));
    std::vector<std::string> image = oneLeafBook("<< /Type /Pages /Kids [5 0 R] /Count 1 >>");
    image[4] = patched(image[4], "/Font << /F1 3 0 R >>",
                       "/Font << /F1 3 0 R >> /XObject << /Im 7 0 R >>");
    image[3] = streamBody(kPageText + " q 600 0 0 800 0 0 cm /Im Do Q");
    image.push_back(streamBody(twice,
                               "/Type /XObject /Subtype /Image /Width 32768 /Height 32768 "
                               "/ColorSpace /DeviceGray /BitsPerComponent 8 /Filter "
                               "[/FlateDecode /FlateDecode]"));
    return {
        {"content stream of " + label + " of zeros", withContents(once, "/FlateDecode")},
        {"content stream of " + label + " of zeros, deflated twice",
         withContents(twice, "[/FlateDecode /FlateDecode]")},
        {"ToUnicode map of " + label, pdfOf(cmap)},
        {"image of " + label, pdfOf(image)},
    };
}

}  // namespace robustness
