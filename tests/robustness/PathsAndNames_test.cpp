// Identifiers and paths as a careless or hostile host might pass them: "..", "/", spaces,
// non-ASCII text, very long names, "|" and "=" (escaped as the host escapes them), relative
// paths, output folders that do not exist or whose parent is a file (the tests run as root, so
// this stands in for a read-only folder), and symbolic links where files are expected.
//
// Every run happens in a sandbox whose whole tree is compared before and after: nothing may
// change outside the output path given (for -a, the input file; for an identifier, its stop
// flag file "Tarn_<identifier>" directly in the temporary directory), the jobs print only their
// own messages, and what they write matches a run with plain names.

#include <gtest/gtest.h>
#include <unistd.h>

#include "robustness/Books.h"
#include "robustness/ToolJobs.h"
#include "support/TempDir.h"

namespace {

using namespace robustness;

const Limits kLimits{std::chrono::seconds(60), 2048, 64};

// Every entry below root, without following links: a file by its bytes, a link by its target.
std::map<std::string, std::string> treeOf(const fs::path& root) {
    std::map<std::string, std::string> tree;
    std::error_code error;
    for (auto it = fs::recursive_directory_iterator(root, error);
         !error && it != fs::recursive_directory_iterator(); it.increment(error)) {
        const fs::path& path = it->path();
        const std::string name = path.lexically_relative(root).string();
        if (it->is_symlink()) {
            tree[name] = "link to " + fs::read_symlink(path).string();
        } else if (it->is_directory()) {
            tree[name] = "folder";
        } else {
            tree[name] = readBytes(path);
        }
    }
    return tree;
}

// Names whose entry was added, removed or changed.
std::vector<std::string> changedNames(const std::map<std::string, std::string>& before,
                                      const std::map<std::string, std::string>& after) {
    std::vector<std::string> changed;
    for (const auto& [name, entry] : after) {
        auto old = before.find(name);
        if (old == before.end() || old->second != entry) changed.push_back(name);
    }
    for (const auto& [name, entry] : before) {
        if (!after.count(name)) changed.push_back(name);
    }
    return changed;
}

bool isUnder(const std::string& name, const std::string& prefix) {
    return name == prefix || name.rfind(prefix + "/", 0) == 0;
}

class PathsAndNames : public testing::Test {
protected:
    void SetUp() override {
        root_ = dir_.path() / "sandbox";
        fs::create_directories(root_ / "tmp");
        fs::create_directories(root_ / "cwd");
        book_ = linkBook(3).bytes();
        ASSERT_TRUE(writeBytes(root_ / "book.pdf", book_));
        ASSERT_TRUE(writeBytes(root_ / "victim.txt", "not to be touched"));
        fs::create_directories(root_ / "plain");
        ToolResult plain = run({PDFA_TOOL, "-b",
                                codes("input=" + (root_ / "book.pdf").string() +
                                      "|output=" + (root_ / "plain").string() + "|range=ALL|d=0")});
        ASSERT_EQ(plain.exitStatus, 0);
        pageFiles_ = filesIn(root_ / "plain");
        ASSERT_EQ(pageFiles_.size(), 3u);
    }

    ToolResult run(const std::vector<std::string>& arguments) {
        return runTool(PDFA_TOOL, arguments, environmentFor(root_ / "tmp"), kLimits,
                       (root_ / "cwd").string());
    }

    // Runs the job and expects changes only under the allowed names (relative to the sandbox).
    ToolResult runConfined(const std::vector<std::string>& arguments,
                           const std::vector<std::string>& allowed) {
        const auto before = treeOf(root_);
        ToolResult result = run(arguments);
        for (const std::string& name : changedNames(before, treeOf(root_))) {
            bool permitted = std::any_of(allowed.begin(), allowed.end(),
                                         [&](const std::string& a) { return isUnder(name, a); });
            EXPECT_TRUE(permitted) << "changed outside the output path: " << name;
        }
        return result;
    }

    std::vector<std::string> convert(const std::string& output, const std::string& extra = "") {
        return {PDFA_TOOL, "-b",
                codes("input=" + pathValue((root_ / "book.pdf").string()) +
                      "|output=" + pathValue(output) + "|range=ALL|d=0" + extra)};
    }

    testsupport::TempDir dir_;
    fs::path root_;
    std::string book_;
    std::map<std::string, std::string> pageFiles_;
};

const std::vector<std::string> kIdentifiers = {
    "..",
    ".",
    "../escape",
    "a/b",
    "/etc/passwd",
    " spaced id ",
    "名前-ñ-\xF0\x9F\x93\x96",
    std::string(300, 'x'),
    "",
    "id..dots",
    "-",
    "Tarn_",
    "...",
    "\t",
    "x\\y",
    "*?[",
};

// Flag file name for an identifier, or "" when no file may appear for it.
std::string flagFileFor(const std::string& identifier) {
    if (identifier.find('/') != std::string::npos || identifier == "." || identifier == "..") {
        return "";
    }
    return "tmp/Tarn_" + identifier;
}

TEST_F(PathsAndNames, IdentifiersNameNoFileOutsideTheTemporaryDirectory) {
    for (const std::string& id : kIdentifiers) {
        SCOPED_TRACE("identifier \"" + id + "\"");
        const std::string flag = flagFileFor(id);
        ASSERT_TRUE(writeBytes(root_ / "book.pdf", book_));
        fs::remove_all(root_ / "out");
        fs::create_directories(root_ / "out");
        std::vector<std::string> allowed = {"out"};
        if (!flag.empty()) allowed.push_back(flag);
        ToolResult b = runConfined(convert((root_ / "out").string(), "|identifier=" + id), allowed);
        expectConversionOutcome(b);
        EXPECT_EQ(b.exitStatus, 0);
        EXPECT_TRUE(filesIn(root_ / "out") == pageFiles_) << "not the plain run's files";

        allowed = {"book.pdf"};
        if (!flag.empty()) allowed.push_back(flag);
        ToolResult a =
            runConfined(textLinkArguments(root_ / "book.pdf", "|identifier=" + id), allowed);
        expectTextLinkOutcome(a);
        EXPECT_EQ(openablePageCount(root_ / "book.pdf"), 3);
        fs::remove_all(root_ / "tmp");
        fs::create_directories(root_ / "tmp");
    }
}

// A flag file name that is a link: the tool must not follow it (it would truncate the target).
TEST_F(PathsAndNames, StopFlagFileThatIsALinkIsNotFollowed) {
    fs::create_symlink(root_ / "victim.txt", root_ / "tmp" / "Tarn_linked");
    ToolResult result =
        runConfined(textLinkArguments(root_ / "book.pdf", "|identifier=linked"), {"book.pdf"});
    expectTextLinkOutcome(result);
    EXPECT_EQ(readBytes(root_ / "victim.txt"), "not to be touched");
}

TEST_F(PathsAndNames, AwkwardOutputFolderNames) {
    const std::vector<std::string> names = {
        "out with spaces",  "ünïcødé 出力", "a..b", "pipe|and=equals", std::string(255, 'n'), "-b",
        "dots/../resolved",
    };
    fs::create_directories(root_ / "dots");
    for (const std::string& name : names) {
        SCOPED_TRACE("output folder \"" + name + "\"");
        const fs::path folder = root_ / name;
        fs::create_directories(folder);
        const std::string allowed = fs::relative(fs::weakly_canonical(folder), root_).string();
        ToolResult result = runConfined(convert(folder.string()), {allowed});
        expectConversionOutcome(result);
        EXPECT_EQ(result.exitStatus, 0);
        EXPECT_TRUE(filesIn(folder) == pageFiles_) << "not the plain run's files";
    }
}

// Names up to the 255 bytes a folder entry holds: a save first writes a sibling named after the
// file, which must still fit.
TEST_F(PathsAndNames, AwkwardInputNames) {
    for (const std::string& name :
         std::vector<std::string>{"book with spaces.pdf", "книга.pdf", "a|b=c.pdf",
                                  std::string(251, 'p') + ".pdf", "-a"}) {
        SCOPED_TRACE("input \"" + name + "\"");
        ASSERT_TRUE(writeBytes(root_ / name, book_));
        fs::create_directories(root_ / "out");
        std::vector<std::string> b = {
            PDFA_TOOL, "-b",
            codes("input=" + pathValue((root_ / name).string()) +
                  "|output=" + (root_ / "out").string() + "|range=ALL|d=0")};
        ToolResult converted = runConfined(b, {"out"});
        expectConversionOutcome(converted);
        EXPECT_TRUE(filesIn(root_ / "out") == pageFiles_) << "not the plain run's files";
        ToolResult linked = runConfined(textLinkArguments(root_ / name), {name});
        expectTextLinkOutcome(linked);
        EXPECT_NE(readBytes(root_ / name), book_);
        EXPECT_EQ(openablePageCount(root_ / name), 3);
        fs::remove_all(root_ / "out");
        fs::remove(root_ / name);
    }
}

// Paths relative to the tool's working directory, "." and ".." included.
TEST_F(PathsAndNames, RelativePaths) {
    fs::create_directories(root_ / "rel");
    ToolResult b = runConfined(
        {PDFA_TOOL, "-b", codes("input=../book.pdf|output=../rel|range=ALL|d=0")}, {"rel"});
    expectConversionOutcome(b);
    EXPECT_TRUE(filesIn(root_ / "rel") == pageFiles_) << "not the plain run's files";
    ToolResult a = runConfined({PDFA_TOOL, "-a", "./../book.pdf", "ALL"}, {"book.pdf"});
    expectTextLinkOutcome(a);
    EXPECT_EQ(openablePageCount(root_ / "book.pdf"), 3);
}

TEST_F(PathsAndNames, SingleOutputFileWithTheLongestName) {
    const std::string name = std::string(251, 'o') + ".xml";
    ToolResult result = runConfined(convert((root_ / name).string()), {name});
    expectConversionOutcome(result);
    EXPECT_EQ(readBytes(root_ / name), pageFiles_["1.xml"]);
}

// Nothing to write into: the job runs, writes nothing anywhere and says nothing.
TEST_F(PathsAndNames, OutputThatCannotBeWritten) {
    const std::vector<std::string> outputs = {
        (root_ / "missing").string(),
        (root_ / "missing" / "deeper").string(),
        (root_ / "victim.txt" / "out").string(),  // the parent is a file
        (root_ / "victim.txt" / "Result.xml").string(),
        (root_ / "missing" / "Result.xml").string(),
        (root_ / std::string(300, 'l')).string(),  // a name longer than a folder can hold
    };
    for (const std::string& output : outputs) {
        SCOPED_TRACE("output \"" + output + "\"");
        ToolResult result = runConfined(convert(output), {});
        EXPECT_FALSE(result.timedOut);
        EXPECT_EQ(result.signal, 0);
        EXPECT_EQ(result.exitStatus, 0);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err, "");
    }
}

TEST_F(PathsAndNames, OutputFolderThatIsALink) {
    fs::create_directories(root_ / "real");
    fs::create_directory_symlink(root_ / "real", root_ / "linked");
    ToolResult result = runConfined(convert((root_ / "linked").string()), {"real"});
    expectConversionOutcome(result);
    EXPECT_TRUE(filesIn(root_ / "real") == pageFiles_) << "not the plain run's files";
    EXPECT_TRUE(fs::is_symlink(root_ / "linked"));
}

// The link is replaced by the new file; its target is never written.
TEST_F(PathsAndNames, OutputFileThatIsALinkIsReplacedNotFollowed) {
    fs::create_symlink(root_ / "victim.txt", root_ / "Result.xml");
    ToolResult single = runConfined(convert((root_ / "Result.xml").string()), {"Result.xml"});
    expectConversionOutcome(single);
    EXPECT_EQ(readBytes(root_ / "victim.txt"), "not to be touched");
    EXPECT_FALSE(fs::is_symlink(root_ / "Result.xml"));
    EXPECT_EQ(readBytes(root_ / "Result.xml"), pageFiles_["1.xml"]);

    fs::create_directories(root_ / "out");
    fs::create_symlink(root_ / "victim.txt", root_ / "out" / "2.xml");
    ToolResult folder = runConfined(convert((root_ / "out").string()), {"out"});
    expectConversionOutcome(folder);
    EXPECT_EQ(readBytes(root_ / "victim.txt"), "not to be touched");
    EXPECT_TRUE(filesIn(root_ / "out") == pageFiles_) << "not the plain run's files";
}

// -a on a link: the saved file takes the link's place and the file it pointed to stays as it was.
TEST_F(PathsAndNames, TextLinksOnALinkedPdf) {
    ASSERT_TRUE(writeBytes(root_ / "target.pdf", book_));
    fs::create_symlink(root_ / "target.pdf", root_ / "link.pdf");
    ToolResult result = runConfined(textLinkArguments(root_ / "link.pdf"), {"link.pdf"});
    expectTextLinkOutcome(result);
    EXPECT_EQ(readBytes(root_ / "target.pdf"), book_);
    EXPECT_EQ(openablePageCount(root_ / "link.pdf"), 3);
}

}  // namespace
