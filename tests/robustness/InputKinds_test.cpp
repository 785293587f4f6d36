// Inputs that are no regular file, and a file too big to open quickly once the host has asked
// for a stop. A FIFO used to block the job in open() before anything else happened, so that only
// a kill ended it; a damaged file of gigabytes was read to its end before the flag was looked at.
// Now anything but a regular file is refused at once, as a file that does not open: -b exits 255
// with its one line, -a leaves the input as it was. A stop raised while a damaged file is
// repaired to open it ends the opening once it has read more than a sound document's opening
// does: -b then ends as a stopped job (status 0, nothing written, nothing printed) and -a leaves
// the input untouched.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "robustness/Books.h"
#include "robustness/ToolJobs.h"
#include "support/HostStopFlag.h"
#include "support/TempDir.h"

namespace {

using namespace robustness;

// Long enough for a refused input under the sanitizer; a job blocked in open() is killed at it.
const Limits kLimits{std::chrono::seconds(20), 2048, 16};

class InputKinds : public testing::Test {
protected:
    void SetUp() override {
        fs::create_directories(dir_.path() / "tmp");
        fs::create_directories(dir_.path() / "out");
    }

    ToolResult convert(const fs::path& input, const std::string& extraItems = "") {
        return runTool(
            PDFA_TOOL,
            conversionArguments(input, dir_.path() / "out", Writer::PageEditor, extraItems),
            environmentFor(dir_.path() / "tmp"), kLimits);
    }
    ToolResult addLinks(const fs::path& input, const std::string& extraItems = "") {
        return runTool(PDFA_TOOL, textLinkArguments(input, extraItems),
                       environmentFor(dir_.path() / "tmp"), kLimits);
    }

    // Refused like a file that does not open; the entry itself is left as it was.
    void expectRefused(const fs::path& input) {
        ToolResult converted = convert(input);
        expectConversionOutcome(converted);
        EXPECT_EQ(converted.exitStatus, 255);
        EXPECT_TRUE(fs::is_empty(dir_.path() / "out"));
        expectTextLinkOutcome(addLinks(input));
    }

    testsupport::TempDir dir_;
};

TEST_F(InputKinds, FifoIsRefusedWithoutWaitingForAWriter) {
    const fs::path fifo = dir_.path() / "book.pdf";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    expectRefused(fifo);
    EXPECT_TRUE(fs::is_fifo(fifo));
    EXPECT_EQ(strayNames(dir_.path(), {"book.pdf", "tmp", "out"}), std::vector<std::string>());
}

TEST_F(InputKinds, FolderIsRefused) {
    const fs::path folder = dir_.path() / "book.pdf";
    fs::create_directory(folder);
    expectRefused(folder);
    EXPECT_TRUE(fs::is_directory(folder));
    EXPECT_TRUE(fs::is_empty(folder));
}

// Through a link in the sandbox, so that a tool that did save would replace the link only.
TEST_F(InputKinds, DeviceIsRefused) {
    const fs::path link = dir_.path() / "book.pdf";
    fs::create_symlink("/dev/zero", link);
    expectRefused(link);
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_EQ(fs::read_symlink(link), "/dev/zero");
}

// 4 GiB of nothing after a PDF header (sparse: it takes no room on disk). Opening repairs it,
// which reads all of it: 23 to 31 s a job before, with the flag raised from the start.
TEST_F(InputKinds, StopRaisedBeforeTheStartEndsTheOpeningOfAHugeDamagedFile) {
    const fs::path huge = dir_.path() / "huge.pdf";
    ASSERT_TRUE(writeBytes(huge, "%PDF-1.4\n1 0 obj\n<< /Type /Catalog >>\nendobj\n"));
    const std::uintmax_t size = std::uintmax_t{4} << 30;
    fs::resize_file(huge, size);
    struct stat before {};
    ASSERT_EQ(::stat(huge.c_str(), &before), 0);
    testsupport::HostStopFlag flag(dir_.path() / "tmp", "huge");
    flag.set();

    ToolResult converted = convert(huge, "|id=huge");
    expectEndedByItself(converted);
    EXPECT_EQ(converted.exitStatus, 0);
    EXPECT_EQ(converted.out, "");
    EXPECT_EQ(converted.err, "");
    EXPECT_TRUE(fs::is_empty(dir_.path() / "out"));

    ToolResult added = addLinks(huge, "|id=huge");
    expectTextLinkOutcome(added);
    struct stat after {};
    ASSERT_EQ(::stat(huge.c_str(), &after), 0);
    EXPECT_EQ(after.st_ino, before.st_ino) << "the file was replaced";
    EXPECT_EQ(after.st_size, static_cast<off_t>(size));
    EXPECT_EQ(after.st_mtim.tv_sec, before.st_mtim.tv_sec);
    EXPECT_EQ(after.st_mtim.tv_nsec, before.st_mtim.tv_nsec);
    EXPECT_EQ(strayNames(dir_.path(), {"huge.pdf", "tmp", "out"}), std::vector<std::string>());
    std::printf(
        "[figures] 4 GiB damaged file, flag raised before the start: -b %.2f s, -a %.2f s\n",
        converted.seconds, added.seconds);
}

}  // namespace
