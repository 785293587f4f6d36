// The -a job: pages in ascending order, each reported, scanned, cleared of duplicates and
// extended; the document is saved over its file at the end, also after a stop.
#include "text2link/ParsePDFTextLink.h"

#include <chrono>
#include <filesystem>
#include <future>
#include <memory>
#include <new>
#include <system_error>

#include "frontend/parsePageRange.h"
#include "pdf/CGPDFDocumentCreateX.h"
#include "platform/AtomicFile.h"
#include "platform/FileLock.h"
#include "platform/OutOfMemory.h"
#include "platform/SerialWorker.h"
#include "platform/URIParser.h"

namespace text2link {

namespace {

using platform::Annotation;

// How long a job waits for another job on the same file to finish.
constexpr std::chrono::minutes kLockWait{5};

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

// A page whose text is being scanned on the worker thread.
struct PendingPage {
    int index = -1;
    std::future<std::vector<Annotation>> links;
};

PendingPage startScan(const ParsePDFTextLink& job, platform::SerialWorker& worker, int index,
                      platform::PageText text, const platform::StopFlag& stop) {
    using Scan = std::packaged_task<std::vector<Annotation>()>;
    auto scan = std::make_shared<Scan>([&job, &stop, text = std::move(text)] {
        std::vector<Annotation> found;
        job.parsePageText(text, found, stop);
        return found;
    });
    PendingPage pending{index, scan->get_future()};
    worker.submit([scan] { (*scan)(); });
    return pending;
}

// Waits for the page's scan and adds the links found that duplicate none the page has.
void addScannedLinks(platform::Document& document, PendingPage& page,
                     const platform::StopFlag& stop) {
    if (!page.links.valid()) return;
    std::vector<Annotation> links = page.links.get();
    if (links.empty()) return;
    const std::vector<Annotation> existing = document.annotations(page.index);
    if (!existing.empty()) {
        std::vector<Annotation> checkList;
        collectCheckList(existing, checkList, stop);
        removeDuplicates(links, checkList, stop);
    }
    for (const Annotation& link : links) {
        (void)document.addLink(page.index, link.bounds, link.url, link.lines);
    }
}

bool unlockDocument(platform::Document& document, const std::optional<std::string>& password) {
    if (!document.isEncrypted() || document.unlock("")) return true;
    return password && document.unlock(*password);
}

}  // namespace

std::optional<platform::PageText> ParsePDFTextLink::readPageText(const platform::Document& document,
                                                                 int pageIndex,
                                                                 const platform::StopFlag& stop) {
    platform::Result<platform::PageText> text = document.pageText(pageIndex, stop);
    if (!text && text.error().code == platform::Error::Code::System) throw std::bad_alloc();
    if (!text || text->text.empty()) return std::nullopt;
    return std::move(text).value();
}

void ParsePDFTextLink::parse(const platform::StopFlag& stop, platform::Reporter& reporter) {
    std::error_code error;
    if (!std::filesystem::exists(pdfFile, error)) return;
    // Another job on the same file finishes first, and this one then works on what it saved.
    auto lock = platform::FileLock::acquire(pdfFile, kLockWait, stop);
    if (!lock) return;
    // Left by a job killed while it saved; no other job saves this file while the lock is held.
    platform::removeStaleSiblings(pdfFile);
    auto opened = platform::Document::open(pdfFile, stop);
    if (!opened) return;
    platform::Document& document = opened.value();
    if (!unlockDocument(document, password)) return;
    const std::int64_t pageCount = pdf::pageCountOfJob(document, reporter);
    const std::set<std::int64_t> pages = frontend::parsePageRange(pageRange, pageCount);
    if (pages.empty()) return;
    if (!(parseType & 3)) parseType = 1;
    isStop = 0;
    // Each page's text is scanned on the worker while the next page's text is read here; the
    // engine is only ever used on this thread. A page is finished before the next is reported,
    // so a stop never cuts short a page the host has seen followed by another.
    platform::SerialWorker worker;
    PendingPage pending;
    for (std::int64_t pageNumber : pages) {
        if (stop.isSet() || isStop != 0) break;
        std::optional<platform::PageText> text =
            pageNumber <= pageCount ? readPageText(document, static_cast<int>(pageNumber - 1), stop)
                                    : std::nullopt;
        addScannedLinks(document, pending, stop);
        pending = {};
        setMessage(pageNumber, reporter);
        if (text) {
            const int index = static_cast<int>(pageNumber - 1);
            pending = startScan(*this, worker, index, std::move(*text), stop);
        }
    }
    addScannedLinks(document, pending, stop);
    // What was read may have been cut short: the job fails, and the file stays as it was.
    if (platform::ranOutOfMemory()) throw std::bad_alloc();
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
