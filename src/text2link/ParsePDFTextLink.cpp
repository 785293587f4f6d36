// The -a job: pages in ascending order, each reported, scanned, cleared of duplicates and
// extended; the document is saved over its file at the end, also after a stop.
#include "text2link/ParsePDFTextLink.h"

#include <filesystem>
#include <system_error>

#include "frontend/parsePageRange.h"
#include "platform/URIParser.h"

namespace text2link {

namespace {

using platform::Annotation;

// Existing links that can stand for a new one: big enough to be clicked and with a host.
bool isCheckableLink(const Annotation& annotation) {
    if (annotation.bounds.width < 0.1 || annotation.bounds.height < 0.1) return false;
    if (annotation.type != "Link" || !annotation.url) return false;
    return platform::hostOfURL(*annotation.url).has_value();
}

void collectCheckList(const std::vector<Annotation>& existing, std::vector<Annotation>& checkList,
                      const platform::StopFlag& stop) {
    checkList.clear();
    for (const Annotation& annotation : existing) {
        if (stop.isSet()) return;
        if (isCheckableLink(annotation)) checkList.push_back(annotation);
    }
}

// Backwards, so that a removal leaves the indexes still to visit in place.
void removeDuplicates(std::vector<Annotation>& links, const std::vector<Annotation>& checkList,
                      const platform::StopFlag& stop) {
    for (std::size_t k = links.size(); k-- > 0;) {
        if (stop.isSet()) return;
        if (!links[k].url || !platform::hostOfURL(*links[k].url)) continue;
        ParsePDFTextLink::checkRemoveAnnoFrom(links, static_cast<std::int64_t>(k), checkList, stop);
    }
}

bool unlockDocument(platform::Document& document, const std::optional<std::string>& password) {
    if (!document.isEncrypted() || document.unlock("")) return true;
    return password && document.unlock(*password);
}

}  // namespace

void ParsePDFTextLink::parse(const platform::StopFlag& stop, platform::Reporter& reporter) {
    std::error_code error;
    if (!std::filesystem::exists(pdfFile, error)) return;
    auto opened = platform::Document::open(pdfFile);
    if (!opened) return;
    platform::Document& document = opened.value();
    if (!unlockDocument(document, password)) return;
    const std::int64_t pageCount = document.pageCount();
    const std::set<std::int64_t> pages = frontend::parsePageRange(pageRange, pageCount);
    if (pages.empty()) return;
    if (!(parseType & 3)) parseType = 1;
    isStop = 0;
    // Both lists live across pages; each page empties them, so memory stays that of one page.
    std::vector<Annotation> links;
    std::vector<Annotation> checkList;
    for (std::int64_t pageNumber : pages) {
        if (stop.isSet() || isStop != 0) break;
        setMessage(pageNumber, reporter);
        if (pageNumber < 1 || pageNumber > pageCount) continue;
        const int index = static_cast<int>(pageNumber - 1);
        links.clear();
        parsePage(document, index, links, stop);
        if (links.empty()) continue;
        const std::vector<Annotation> existing = document.annotations(index);
        if (!existing.empty()) {
            collectCheckList(existing, checkList, stop);
            removeDuplicates(links, checkList, stop);
        }
        for (const Annotation& link : links) {
            (void)document.addLink(index, link.bounds, link.url);
        }
    }
    // A failed save leaves the original file as it was; the job has no one to tell.
    (void)document.save(pdfFile);
}

void ParsePDFTextLink::setMessage(std::int64_t pageNumber, platform::Reporter& reporter) const {
    // The host's format takes a 32-bit number.
    reporter.progress(std::to_string(static_cast<std::int32_t>(pageNumber)));
}

void ParsePDFTextLink::setStopMessage(std::int64_t value, platform::Reporter& reporter) const {
    reporter.progress("stop" + std::to_string(static_cast<std::int32_t>(value)));
}

void ParsePDFTextLink::stopParse(const std::optional<std::string>& identifier) {
    if (identifier && taskID && *identifier == *taskID) isStop = 1;
}

}  // namespace text2link
