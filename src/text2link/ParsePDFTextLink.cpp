// The -a job: pages read and scanned on every core the process may use, then in ascending order
// each reported, cleared of duplicates and extended; the document is saved over its file at the
// end, also after a stop.
#include "text2link/ParsePDFTextLink.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <memory>
#include <new>
#include <system_error>

#include "frontend/parsePageRange.h"
#include "pdf/CGPDFDocumentCreateX.h"
#include "platform/AtomicFile.h"
#include "platform/FileLock.h"
#include "platform/OutOfMemory.h"
#include "platform/URIParser.h"
#include "platform/WorkerPool.h"

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
        ParsePDFTextLink::checkRemoveAnnoFrom(links, static_cast<std::int64_t>(k), checkList, stop);
    }
}

// Adds the links found on the page that duplicate none the page has.
void addScannedLinks(platform::Document& document, int index, std::vector<Annotation> links,
                     const platform::StopFlag& stop) {
    if (links.empty()) return;
    const std::vector<Annotation> existing = document.annotations(index);
    if (!existing.empty()) {
        std::vector<Annotation> checkList;
        collectCheckList(existing, checkList, stop);
        removeDuplicates(links, checkList, stop);
    }
    (void)document.addLinks(index, links);
}

// More workers than this add handles on the file, and their memory, for little gain.
constexpr std::size_t kMaxWorkers = 8;
// Pages per worker that may wait to have their links added: enough that one slow page keeps
// no worker idle, few enough that memory stays bounded.
constexpr std::size_t kPagesAheadPerWorker = 4;

// One handle on the file per worker, each with an engine context of its own; none when the
// process may run on one core only or there is one page, and fewer when the file cannot be
// opened again.
std::vector<platform::Document> openReaders(const platform::Document& document,
                                            const std::string& path, std::size_t pages,
                                            const platform::StopFlag& stop) {
    std::vector<platform::Document> readers;
    const auto workers = std::min<std::size_t>(
        {static_cast<std::size_t>(platform::usableCores()), kMaxWorkers, pages});
    if (workers < 2) return readers;
    for (std::size_t k = 0; k < workers; ++k) {
        platform::Result<platform::Document> reader = document.openAgain(path, stop);
        if (!reader) break;
        readers.push_back(std::move(reader).value());
    }
    return readers;
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
    // The workers are done when linkPages returns, before anything is saved.
    linkPages(document, std::vector<std::int64_t>(pages.begin(), pages.end()), pageCount, stop,
              reporter);
    // What was read may have been cut short: the job fails, and the file stays as it was.
    if (platform::ranOutOfMemory()) throw std::bad_alloc();
    // A failed save leaves the original file as it was; the job has no one to tell.
    (void)document.save(pdfFile);
}

void ParsePDFTextLink::linkPages(platform::Document& document,
                                 const std::vector<std::int64_t>& numbers, std::int64_t pageCount,
                                 const platform::StopFlag& stop, platform::Reporter& reporter) {
    std::vector<std::vector<Annotation>> found(numbers.size());
    // Each worker reads a page's text from a handle of its own and scans it; the job's document
    // is only used on this thread. The file is saved only after the workers are done.
    auto scanWith = [this, &numbers, &found, pageCount, &stop](const platform::Document& source) {
        return [this, &source, &numbers, &found, pageCount, &stop](std::size_t n) {
            if (stop.isSet() || numbers[n] > pageCount) return;
            std::optional<platform::PageText> text =
                readPageText(source, static_cast<int>(numbers[n] - 1), stop);
            if (text) parsePageText(*text, found[n], stop);
        };
    };
    // Each worker's function owns its handle, so that the worker tears it down once done.
    std::vector<platform::WorkerPool::Work> work;
    for (platform::Document& reader : openReaders(document, pdfFile, numbers.size(), stop)) {
        auto owned = std::make_shared<const platform::Document>(std::move(reader));
        work.push_back([owned, scan = scanWith(*owned)](std::size_t n) { scan(n); });
    }
    const std::size_t ahead = kPagesAheadPerWorker * work.size();
    platform::WorkerPool pool = work.empty()
                                    ? platform::WorkerPool(scanWith(document), numbers.size())
                                    : platform::WorkerPool(std::move(work), numbers.size(), ahead);
    const auto stopped = [this, &stop] { return stop.isSet() || isStop != 0; };
    // Pages are reported and extended in ascending order. A page is dropped when a stop is heard
    // before it is reported, or when the host's flag is set while it is (its scan would have
    // heard it; stopParse lets the current page finish); so a stop never leaves a page the host
    // has seen followed by another.
    for (std::size_t n = 0; n < numbers.size(); ++n) {
        if (stopped()) break;
        pool.take(n);
        if (stopped()) break;
        setMessage(numbers[n], reporter);
        if (stop.isSet()) break;
        addScannedLinks(document, static_cast<int>(numbers[n] - 1), std::move(found[n]), stop);
    }
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
