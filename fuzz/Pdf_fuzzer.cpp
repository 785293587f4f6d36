// Whole PDF files through everything the jobs do with a document: opening with the empty
// password, the page count, the raw link list (fmAnnotations) and the model's annotations of the
// first page, the text scan of that page, both -b writers on page 1 (page editor and slides,
// with text links, wide-page settings chosen from the input's hash), and a -a job on page 1.
//
// Properties checked: a document that opens gives -b the result 0 and XML files that parse
// again; one that does not opens nowhere else either and -a leaves its bytes alone; after -a
// the file opens again with the same number of pages.

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "FuzzSupport.h"
#include "convert/QXAnnos.h"
#include "pdf/CGPDFDocumentCreateX.h"
#include "pdf/ImprovePDFPage.h"
#include "platform/PugiXML.h"
#include "text2link/ParsePDFTextLink.h"

namespace {

namespace fs = std::filesystem;

class NullReporter final : public platform::Reporter {
public:
    void out(const std::string&) override {}
    void log(const std::string&) override {}
    void progress(const std::string&) override {}
};

std::uint32_t hashOf(const std::uint8_t* data, std::size_t size) {
    std::uint32_t hash = 2166136261u;
    for (std::size_t k = 0; k < size; ++k) hash = (hash ^ data[k]) * 16777619u;
    return hash;
}

std::string contentOf(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

void readFirstPage(const platform::Document& document) {
    const platform::NeverStop never;
    for (const platform::Annotation& link : pdf::fmAnnotations(document, 0, never)) {
        FUZZ_CHECK(link.type == "Link");
        FUZZ_CHECK(link.bounds.width >= 0 && link.bounds.height >= 0);
    }
    document.annotations(0);
    text2link::ParsePDFTextLink scanner;
    std::vector<platform::Annotation> found;
    scanner.parsePage(document, 0, found, never);
}

void convertFirstPage(const fs::path& input, bool slides, std::uint32_t choice) {
    const fs::path output = fuzzsupport::privateFolder() / (slides ? "slides" : "editor");
    fs::create_directory(output);
    convert::QXAnnos job;
    job.inputFile = input.string();
    job.outputFile = output.string();
    job.pageRange = "1";
    job.password = "";
    job.wideMode = choice % 3;
    job.divWidth = (choice >> 2) % 2 == 0 ? 0 : 300;
    job.isHTML5Annotions = slides;
    job.isRight2Left = (choice >> 3) % 2 == 1;
    job.isNewMode = (choice >> 4) % 2 == 1;
    job.aspectRatio = (choice >> 5) % 2 == 1 ? 0.75 : 0.0;
    job.isText2Link = true;
    NullReporter reporter;
    FUZZ_CHECK(job.parseAnnosToXML(platform::NeverStop(), reporter) == 0);
    for (const auto& file : fs::directory_iterator(output)) {
        FUZZ_CHECK(platform::XmlDocument::parse(contentOf(file.path())).has_value());
    }
}

void addTextLinks(const fs::path& input) {
    text2link::ParsePDFTextLink job;
    job.pdfFile = input.string();
    job.pageRange = "1";
    NullReporter reporter;
    job.parse(platform::NeverStop(), reporter);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzzsupport::clearPrivateFolder();
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const fs::path input = fuzzsupport::writePrivateFile("input.pdf", bytes);

    int pageCount = 0;
    {
        std::optional<platform::Document> document = pdf::CGPDFDocumentCreateX(input.string(), "");
        if (!document) {
            addTextLinks(input);
            FUZZ_CHECK(contentOf(input) == bytes);
            return 0;
        }
        pageCount = document->pageCount();
        readFirstPage(*document);
    }
    const std::uint32_t choice = hashOf(data, size);
    convertFirstPage(input, false, choice);
    convertFirstPage(input, true, choice);

    addTextLinks(input);
    std::optional<platform::Document> saved = pdf::CGPDFDocumentCreateX(input.string(), "");
    FUZZ_CHECK(saved.has_value());
    FUZZ_CHECK(saved->pageCount() == pageCount);
    return 0;
}
