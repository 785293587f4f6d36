#include "platform/MuPDFAllocationLimit.h"

#include <gtest/gtest.h>

#include "platform/MuPDFDocument.h"
#include "support/AddLink.h"
#include "support/PdfFixture.h"
#include "support/TempDir.h"

// When an allocation fails while the engine writes the trailer of an incremental update, it
// keeps a reference to the trailer it copied in ensure_incremental_xref: its defect, not a path
// of ours. The engine has no frame pointers, so the suppression only matches when the
// sanitizer unwinds allocation stacks the slow way.
extern "C" const char* __lsan_default_suppressions() { return "leak:ensure_incremental_xref\n"; }
extern "C" const char* __asan_default_options() { return "fast_unwind_on_malloc=0"; }

namespace {

using platform::Document;

// Lifts the limit whatever way the test ends.
struct AllocationLimit {
    explicit AllocationLimit(long failFrom) { platform::setMuPDFAllocationLimit(failFrom); }
    ~AllocationLimit() { platform::setMuPDFAllocationLimit(0); }
};

// A whole job in small: open, read, add a link, save. True when every step gave the full,
// right answer; with too little memory a step gives an error or a neutral value instead.
// Page text is left out: the system FreeType dereferences null when one of its own allocations
// fails while it loads a glyph, a crash in the library rather than in our handling.
bool runJob(const std::filesystem::path& input, const std::filesystem::path& output) {
    auto document = Document::open(input.string());
    if (!document.ok() || !document->unlock("")) return false;
    auto annotations = document->annotations(0);
    bool readAll = annotations.size() == 2 && annotations[1].destination.has_value() &&
                   document->cropBox(1).width == 300 && document->rotation(1) == 90;
    return readAll &&
           testsupport::addLink(*document, 0, {1, 2, 3, 4}, std::string("http://x/")).ok() &&
           document->save(output.string()).ok();
}

// Every allocation of the job in turn is made to fail, and the job must come back with an
// answer each time: no crash, no leak, no message printed.
TEST(MuPDFAllocationLimit, EveryFailingAllocationIsSurvived) {
    testsupport::TempDir dir;
    testsupport::PdfFixture()
        .page({0, 0, 600, 800})
        .annot("<< /Subtype /Link /Rect [0 0 10 10] /A << /S /URI /URI (http://a/) >> >>")
        .annot("<< /Subtype /Link /Rect [0 0 10 10] /Dest /there >>")
        .page({0, 0, 300, 400}, {}, 90)
        .catalogEntry("Dests", "<< /there [{page:1} /Fit] >>")
        .write(dir / "in.pdf");
    ASSERT_TRUE(runJob(dir / "in.pdf", dir / "out.pdf"));

    long failFrom = 1;
    for (; failFrom < 200000; ++failFrom) {
        AllocationLimit limit(failFrom);
        if (runJob(dir / "in.pdf", dir / "out.pdf")) break;
    }
    EXPECT_LT(failFrom, 200000);
    std::cerr << "the job succeeded with " << failFrom - 1 << " allocations\n";
}

}  // namespace
