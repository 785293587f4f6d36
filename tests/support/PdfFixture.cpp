#include "support/PdfFixture.h"

#include <gtest/gtest.h>

#include <charconv>
#include <cstdio>
#include <fstream>

namespace testsupport {
namespace {

constexpr int kCatalog = 1;
constexpr int kPages = 2;
constexpr int kFont = 3;
constexpr int kFirstExtraObject = 4;

std::string formatNumber(double value) {
    char buffer[64];
    auto [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed);
    return ec == std::errc() ? std::string(buffer, end) : std::string("0");
}

std::string formatRect(const platform::Rect& r) {
    return "[" + formatNumber(r.minX()) + " " + formatNumber(r.minY()) + " " +
           formatNumber(r.maxX()) + " " + formatNumber(r.maxY()) + "]";
}

std::string reference(int objectNumber) { return std::to_string(objectNumber) + " 0 R"; }

std::string escapeLiteral(const std::string& text) {
    std::string out;
    for (char c : text) {
        if (c == '(' || c == ')' || c == '\\') out += '\\';
        out += c;
    }
    return out;
}

std::string dictionary(const std::vector<std::string>& entries) {
    std::string out = "<<";
    for (const auto& entry : entries) out += " " + entry;
    return out + " >>";
}

// Appends "n 0 obj ... endobj" and records where it starts.
void appendObject(std::string& file, std::vector<std::size_t>& offsets, const std::string& body) {
    offsets.push_back(file.size());
    file += std::to_string(offsets.size()) + " 0 obj\n" + body + "\nendobj\n";
}

std::string crossReference(const std::vector<std::size_t>& offsets) {
    std::string out = "xref\n0 " + std::to_string(offsets.size() + 1) + "\n0000000000 65535 f \n";
    for (std::size_t offset : offsets) {
        char line[21];
        std::snprintf(line, sizeof line, "%010zu 00000 n \n", offset);
        out += line;
    }
    return out;
}

}  // namespace

PdfFixture::Page& PdfFixture::lastPage() {
    if (pages_.empty()) page({0, 0, 612, 792});
    return pages_.back();
}

PdfFixture& PdfFixture::page(platform::Rect mediaBox, std::optional<platform::Rect> cropBox,
                             int rotate) {
    Page p;
    p.entries.push_back("/MediaBox " + formatRect(mediaBox));
    if (cropBox) p.entries.push_back("/CropBox " + formatRect(*cropBox));
    if (rotate != 0) p.entries.push_back("/Rotate " + std::to_string(rotate));
    pages_.push_back(std::move(p));
    return *this;
}

PdfFixture& PdfFixture::pages(int count, platform::Rect mediaBox) {
    for (int i = 0; i < count; ++i) page(mediaBox);
    return *this;
}

PdfFixture& PdfFixture::bareLeaf() {
    pages_.push_back(Page{});
    return *this;
}

PdfFixture& PdfFixture::text(double x, double y, double fontSize, const std::string& text) {
    lastPage().content += "BT /F1 " + formatNumber(fontSize) + " Tf " + formatNumber(x) + " " +
                          formatNumber(y) + " Td (" + escapeLiteral(text) + ") Tj ET\n";
    return *this;
}

PdfFixture& PdfFixture::content(const std::string& operators) {
    lastPage().content += operators;
    return *this;
}

PdfFixture& PdfFixture::annot(const std::string& rawDictionary) {
    lastPage().annots.push_back(rawDictionary);
    lastPage().annotIsObject.push_back(true);
    return *this;
}

PdfFixture& PdfFixture::annotsEntry(const std::string& rawObject) {
    lastPage().annots.push_back(rawObject);
    lastPage().annotIsObject.push_back(false);
    return *this;
}

PdfFixture& PdfFixture::annotsValue(const std::string& rawValue) {
    lastPage().annotsValue = rawValue;
    return *this;
}

PdfFixture& PdfFixture::pageEntry(const std::string& key, const std::string& rawValue) {
    lastPage().entries.push_back("/" + key + " " + rawValue);
    return *this;
}

PdfFixture& PdfFixture::catalogEntry(const std::string& key, const std::string& rawValue) {
    catalogEntries_.push_back("/" + key + " " + rawValue);
    return *this;
}

PdfFixture& PdfFixture::pagesEntry(const std::string& key, const std::string& rawValue) {
    pagesEntries_.push_back("/" + key + " " + rawValue);
    return *this;
}

std::string PdfFixture::object(const std::string& rawObject) {
    objects_.push_back(rawObject);
    return "{obj:" + std::to_string(objects_.size() - 1) + "}";
}

int PdfFixture::firstPageObject() const {
    return kFirstExtraObject + static_cast<int>(objects_.size());
}

int PdfFixture::pageObjectNumber(std::size_t pageIndex) const {
    int number = firstPageObject();
    for (std::size_t i = 0; i < pageIndex; ++i) {
        number += 2;
        for (bool isObject : pages_[i].annotIsObject) number += isObject ? 1 : 0;
    }
    return number;
}

std::string PdfFixture::resolve(const std::string& raw) const {
    std::string out;
    std::size_t pos = 0;
    while (pos < raw.size()) {
        std::size_t open = raw.find('{', pos);
        std::size_t close = open == std::string::npos ? open : raw.find('}', open);
        if (close == std::string::npos) break;
        std::string inner = raw.substr(open + 1, close - open - 1);
        bool isPage = inner.rfind("page:", 0) == 0;
        bool isObject = inner.rfind("obj:", 0) == 0;
        std::string digits = inner.substr(inner.find(':') + 1);
        if ((!isPage && !isObject) || digits.empty() || digits.size() > 9 ||
            digits.find_first_not_of("0123456789") != std::string::npos) {
            out.append(raw, pos, open + 1 - pos);
            pos = open + 1;
            continue;
        }
        out.append(raw, pos, open - pos);
        std::size_t index = std::stoul(digits);
        if (index >= (isPage ? pages_.size() : objects_.size())) {
            out += "null";
        } else {
            out += reference(isPage ? pageObjectNumber(index)
                                    : kFirstExtraObject + static_cast<int>(index));
        }
        pos = close + 1;
    }
    out.append(raw, pos, std::string::npos);
    return out;
}

std::string PdfFixture::bytes() const {
    std::string file = "%PDF-1.7\n%\xE2\xE3\xCF\xD3\n";
    std::vector<std::size_t> offsets;
    std::vector<std::string> kids;
    for (std::size_t i = 0; i < pages_.size(); ++i) kids.push_back(reference(pageObjectNumber(i)));

    std::vector<std::string> catalog{"/Type /Catalog", "/Pages " + reference(kPages)};
    catalog.insert(catalog.end(), catalogEntries_.begin(), catalogEntries_.end());
    appendObject(file, offsets, resolve(dictionary(catalog)));

    std::string kidsArray = "[";
    for (const auto& kid : kids) kidsArray += kid + " ";
    kidsArray += "]";
    std::vector<std::string> pagesNode{"/Type /Pages", "/Kids " + kidsArray,
                                       "/Count " + std::to_string(pages_.size())};
    pagesNode.insert(pagesNode.end(), pagesEntries_.begin(), pagesEntries_.end());
    appendObject(file, offsets, resolve(dictionary(pagesNode)));

    appendObject(file, offsets,
                 "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica "
                 "/Encoding /WinAnsiEncoding >>");
    for (const auto& object : objects_) appendObject(file, offsets, resolve(object));

    for (const Page& p : pages_) {
        int pageNumber = static_cast<int>(offsets.size()) + 1;
        std::vector<std::string> entries{
            "/Type /Page", "/Parent " + reference(kPages),
            "/Resources << /Font << /F1 " + reference(kFont) + " >> >>",
            "/Contents " + reference(pageNumber + 1)};
        entries.insert(entries.end(), p.entries.begin(), p.entries.end());
        std::string annots = "[";
        int nextAnnot = pageNumber + 2;
        for (std::size_t a = 0; a < p.annots.size(); ++a) {
            annots += (p.annotIsObject[a] ? reference(nextAnnot++) : p.annots[a]) + " ";
        }
        annots += "]";
        if (p.annotsValue) {
            entries.push_back("/Annots " + *p.annotsValue);
        } else if (!p.annots.empty()) {
            entries.push_back("/Annots " + annots);
        }
        appendObject(file, offsets, resolve(dictionary(entries)));
        appendObject(file, offsets,
                     "<< /Length " + std::to_string(p.content.size()) + " >>\nstream\n" +
                         p.content + "\nendstream");
        for (std::size_t a = 0; a < p.annots.size(); ++a) {
            if (p.annotIsObject[a]) appendObject(file, offsets, resolve(p.annots[a]));
        }
    }

    std::size_t xrefOffset = file.size();
    file += crossReference(offsets);
    file += "trailer\n<< /Size " + std::to_string(offsets.size() + 1) + " /Root " +
            reference(kCatalog) + " >>\nstartxref\n" + std::to_string(xrefOffset) + "\n%%EOF\n";
    return file;
}

void PdfFixture::write(const std::filesystem::path& path) const {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    std::string data = bytes();
    out.write(data.data(), static_cast<std::streamsize>(data.size()));
    out.close();
    if (!out) ADD_FAILURE() << "could not write fixture " << path;
}

}  // namespace testsupport
