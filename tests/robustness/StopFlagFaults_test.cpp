// The stop flag file under the faults a desktop host meets: a temporary folder on a full disk,
// and a host that reuses a flag file by rewriting it while a job reads it. Neither may end a
// job: it runs to its end as it would without a flag, or stops when the rewritten file asks it
// to, and gives exactly what a job without a flag gives.

#include <gtest/gtest.h>

#include <thread>

#include "robustness/Books.h"
#include "robustness/ToolJobs.h"
#include "support/HostStopFlag.h"
#include "support/TempDir.h"

namespace {

using namespace robustness;

const Limits kLimits{std::chrono::minutes(3), 2048, 256};

// Mounts a tmpfs of 256 KiB on the folder given first, makes an existing flag file of 800 zero
// bytes under the identifier given second (when there is one), fills the rest of the file
// system, and runs the command that follows with the folder as its temporary directory. Exit
// status 99 when the mount was refused.
const char* kFullFolderScript = R"(
folder=$1; existing=$2; shift 2
mount -t tmpfs -o size=256k tmpfs "$folder" || exit 99
[ -z "$existing" ] || head -c 800 /dev/zero > "$folder/Tarn_$existing"
head -c 1048576 /dev/zero > "$folder/fill" 2>/dev/null
TMPDIR=$folder exec "$@"
)";

bool privateMountsWork() {
    return runTool("/usr/bin/unshare", {"unshare", "-m", "true"}, {}, kLimits).exitStatus == 0;
}

enum class Kind { TextLinks, PageEditor, Slides };

struct Case {
    const char* name;
    Kind kind;
    int longBookPages;  // enough for the job to run a second or more under the sanitizers
};

void PrintTo(const Case& job, std::ostream* out) { *out << job.name; }

class StopFlagFaults : public testing::TestWithParam<Case> {
protected:
    void SetUp() override {
        book_ = linkBook(pagesOfBook()).bytes();
        expected_ = outputAfter("alone", run("alone", ""));
    }

    virtual int pagesOfBook() const { return 6; }

    fs::path folder(const std::string& name) const { return dir_.path() / name; }
    fs::path output(const std::string& name) const {
        return GetParam().kind == Kind::TextLinks ? folder(name) : folder(name) / "out";
    }
    fs::path temporary(const std::string& name) const { return folder(name) / "tmp"; }

    // A fresh folder with the book, an output folder and a temporary folder; the job's
    // arguments.
    std::vector<std::string> prepare(const std::string& name, const std::string& extraItems) {
        fs::create_directories(folder(name) / "out");
        fs::create_directories(temporary(name));
        const fs::path input = folder(name) / "book.pdf";
        EXPECT_TRUE(writeBytes(input, book_));
        switch (GetParam().kind) {
            case Kind::TextLinks:
                return textLinkArguments(input, extraItems);
            case Kind::PageEditor:
                return conversionArguments(input, output(name), Writer::PageEditor, extraItems);
            case Kind::Slides:
                break;
        }
        return conversionArguments(input, output(name), Writer::Slides, extraItems);
    }

    ToolResult run(const std::string& name, const std::string& extraItems) {
        return runTool(PDFA_TOOL, prepare(name, extraItems), environmentFor(temporary(name)),
                       kLimits);
    }

    // What the job in folder name gave, once it ended normally and silently.
    std::map<std::string, std::string> outputAfter(const std::string& name,
                                                   const ToolResult& result) const {
        EXPECT_EQ(result.signal, 0) << "ended by a signal";
        EXPECT_EQ(result.exitStatus, 0);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err, "");
        return filesIn(output(name));
    }

    testsupport::TempDir dir_;
    std::string book_;
    std::map<std::string, std::string> expected_;
};

// A job with a new identifier on a full disk cannot make its flag file hold its bytes and runs
// without a flag; one whose host made the file before the disk filled uses it. Both end
// normally with everything written.
TEST_P(StopFlagFaults, AFullTemporaryFolderEndsNoJob) {
    if (!privateMountsWork()) {
        GTEST_SKIP() << "needs a private mount namespace (unshare -m) for a small full disk";
    }
    for (const std::string identifier : {"new", "existing"}) {
        SCOPED_TRACE(identifier);
        std::vector<std::string> arguments = {"unshare",
                                              "-m",
                                              "sh",
                                              "-c",
                                              kFullFolderScript,
                                              "sh",
                                              temporary(identifier).string(),
                                              identifier == "existing" ? identifier : ""};
        for (const std::string& argument : prepare(identifier, "|identifier=" + identifier)) {
            arguments.push_back(argument);
        }
        const ToolResult result = runTool("/usr/bin/unshare", arguments, {}, kLimits);
        ASSERT_NE(result.exitStatus, 99) << "the test's file system could not be mounted";
        EXPECT_EQ(outputAfter(identifier, result), expected_);
    }
}

class RewrittenStopFlag : public StopFlagFaults {
protected:
    int pagesOfBook() const override { return GetParam().longBookPages; }

    // Starts the job under identifier "reused" with the host's flag file, waits until it has
    // run a while, and then lets host act on the file while the job still runs.
    template <typename Host>
    ToolResult runAndRewrite(const std::string& name, Host host) {
        const std::vector<std::string> arguments = prepare(name, "|identifier=reused");
        testsupport::HostStopFlag flag(temporary(name), "reused");
        ToolProcess job(PDFA_TOOL, arguments, environmentFor(temporary(name)), kLimits);
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        EXPECT_FALSE(job.poll()) << "the job ended before the host rewrote its flag";
        host(flag);
        return job.wait();
    }
};

// A host that reuses a flag file rewrites it ("head -c 800 /dev/zero > Tarn_<id>" truncates
// first): a file cut short holds no stop request, and the job runs to its end.
TEST_P(RewrittenStopFlag, AFlagFileCutShortIsNotAStop) {
    const ToolResult result = runAndRewrite("cut", [](testsupport::HostStopFlag& flag) {
        fs::resize_file(flag.path(), 0);
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        fs::resize_file(flag.path(), 800);
    });
    EXPECT_EQ(outputAfter("cut", result), expected_);
}

// The rewritten file is read as it is now: a stop request written into it is heard.
TEST_P(RewrittenStopFlag, AStopWrittenIntoARewrittenFileIsHeard) {
    const ToolResult result = runAndRewrite("rewritten", [](testsupport::HostStopFlag& flag) {
        fs::resize_file(flag.path(), 0);
        fs::resize_file(flag.path(), 800);
        flag.set();
    });
    const std::map<std::string, std::string> stopped = outputAfter("rewritten", result);
    EXPECT_NE(stopped, expected_) << "the job did not stop";
    if (GetParam().kind == Kind::TextLinks) {
        EXPECT_EQ(openablePageCount(folder("rewritten") / "book.pdf"), pagesOfBook());
    } else {
        expectWellFormedXml(output("rewritten"));
    }
}

const Case kCases[] = {
    {"TextLinks", Kind::TextLinks, 1200},
    {"PageEditor", Kind::PageEditor, 1500},
    {"Slides", Kind::Slides, 1200},
};

std::string caseName(const testing::TestParamInfo<Case>& info) { return info.param.name; }

INSTANTIATE_TEST_SUITE_P(Jobs, StopFlagFaults, testing::ValuesIn(kCases), caseName);
INSTANTIATE_TEST_SUITE_P(Jobs, RewrittenStopFlag, testing::ValuesIn(kCases), caseName);

}  // namespace
