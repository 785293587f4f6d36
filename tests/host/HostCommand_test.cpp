// The built pdfannotations-host, run from a shell as a publisher or a host developer runs it.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>

#include "support/HostStopFlag.h"
#include "support/Process.h"
#include "support/TempDir.h"

namespace {

namespace fs = std::filesystem;
using testsupport::ProcessResult;

const std::string kUsage =
    "usage: pdfannotations-host encode TEXT\n"
    "       pdfannotations-host decode CODES\n"
    "       pdfannotations-host run -b|-a KEY=VALUE...\n"
    "       pdfannotations-host batch [--jobs N] [--resume|--resume-failed]\n"
    "                                 [--sshloginfile FILE] JOBS.tsv\n"
    "       pdfannotations-host stop ID\n"
    "       pdfannotations-host listen\n"
    "       pdfannotations-host preview BOOK.pdf [XML...] [--page N] [--password PW] [--r2l]\n"
    "                           [--scale S] -o PNG\n";

extern "C" char** environ;

// Runs the command with standard output and error on a terminal of its own; gives what the
// terminal received (line feeds arrive as "\r\n").
std::string runOnTerminal(const std::vector<std::string>& arguments, const fs::path& tmp) {
    int terminal = -1;
    int side = -1;
    if (::openpty(&terminal, &side, nullptr, nullptr, nullptr) != 0) return "no terminal";
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, side, 1);
    posix_spawn_file_actions_adddup2(&actions, side, 2);
    posix_spawn_file_actions_addclose(&actions, terminal);
    std::vector<std::string> texts = {PDFA_HOST_COMMAND};
    texts.insert(texts.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    for (std::string& text : texts) argv.push_back(text.data());
    argv.push_back(nullptr);
    std::vector<std::string> variables = {"TMPDIR=" + tmp.string()};
    for (char** variable = environ; *variable != nullptr; ++variable) {
        if (!std::string_view(*variable).starts_with("TMPDIR=")) variables.push_back(*variable);
    }
    std::vector<char*> envp;
    for (std::string& variable : variables) envp.push_back(variable.data());
    envp.push_back(nullptr);
    pid_t child = -1;
    const int failed =
        ::posix_spawn(&child, PDFA_HOST_COMMAND, &actions, nullptr, argv.data(), envp.data());
    posix_spawn_file_actions_destroy(&actions);
    ::close(side);
    std::string received;
    char buffer[256];
    for (ssize_t n;
         !failed && ((n = ::read(terminal, buffer, sizeof buffer)) > 0 || errno == EINTR);) {
        if (n > 0) received.append(buffer, static_cast<std::size_t>(n));
    }
    ::close(terminal);
    int status = 0;
    if (!failed) ::waitpid(child, &status, 0);
    return received;
}

class HostCommand : public ::testing::Test {
protected:
    testsupport::TempDir tmp;
    fs::path book = tmp / "book.pdf";

    void SetUp() override { fs::copy_file(fs::path(PDFA_SOURCE_DIR) / "samples/book.pdf", book); }

    ProcessResult host(const std::vector<std::string>& arguments) {
        return testsupport::runProcess(PDFA_HOST_COMMAND, arguments,
                                       {{"TMPDIR", tmp.path().string()}});
    }
};

TEST_F(HostCommand, EncodeAndDecodeGiveTheTextBack) {
    const ProcessResult encoded = host({"encode", "input=a b.pdf|range=ALL"});
    ASSERT_EQ(encoded.exitStatus, 0);
    ASSERT_TRUE(encoded.out.ends_with("_\n"));
    const ProcessResult decoded = host({"decode", encoded.out.substr(0, encoded.out.size() - 1)});
    EXPECT_EQ(decoded.exitStatus, 0);
    EXPECT_EQ(decoded.out, "input=a b.pdf|range=ALL\n");
    EXPECT_EQ(decoded.err, "");
}

TEST_F(HostCommand, TwoEncodingsOfOneTextDiffer) {
    EXPECT_NE(host({"encode", "range=1"}).out, host({"encode", "range=1"}).out);
}

TEST_F(HostCommand, DecodeSaysWhenACodesTextCannotBeDecoded) {
    const ProcessResult decoded = host({"decode", "xyz"});
    EXPECT_EQ(decoded.exitStatus, 1);
    EXPECT_EQ(decoded.out, "");
    EXPECT_EQ(decoded.err, "pdfannotations-host: the codes text cannot be decoded\n");
}

TEST_F(HostCommand, WrongArgumentsGiveTheUsageAndStatus2) {
    for (const std::vector<std::string>& arguments :
         std::vector<std::vector<std::string>>{{},
                                               {"help"},
                                               {"encode"},
                                               {"decode", "a", "b"},
                                               {"run", "-x", "input=a"},
                                               {"run", "-b"},
                                               {"stop"},
                                               {"listen", "now"},
                                               {"preview", "book.pdf"},
                                               {"preview", "book.pdf", "-o", "x.png"},
                                               {"preview", "book.pdf", "--page"}}) {
        SCOPED_TRACE(arguments.empty() ? "" : arguments[0]);
        const ProcessResult result = host(arguments);
        EXPECT_EQ(result.exitStatus, 2);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err, kUsage);
    }
}

TEST_F(HostCommand, RunPrintsTheFilesTheJobWrote) {
    fs::create_directory(tmp / "out");
    const ProcessResult result = host({"run", "-b", "input=" + book.string(),
                                       "output=" + (tmp / "out").string(), "range=3", "divide=1"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.out,
              (tmp / "out/3-w0.xml").string() + "\n" + (tmp / "out/3-w1.xml").string() + "\n");
    EXPECT_EQ(result.err, "");
    // The job's stop flag file is gone again.
    for (const fs::directory_entry& entry : fs::directory_iterator(tmp.path())) {
        EXPECT_FALSE(entry.path().filename().string().starts_with("Tarn_"));
    }
}

TEST_F(HostCommand, RunMakesTheOutputFolder) {
    const fs::path out = tmp / "new/pages";
    const ProcessResult result = host(
        {"run", "-b", "input=" + book.string(), "output=" + out.string(), "range=1", "divide=1"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.out, (out / "1.xml").string() + "\n");
}

TEST_F(HostCommand, RunSaysWhenItCannotMakeTheOutputFolder) {
    std::ofstream(tmp / "file") << "x";
    const ProcessResult result =
        host({"run", "-b", "input=" + book.string(), "output=" + (tmp / "file/pages").string(),
              "range=1", "divide=1"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.err, "pdfannotations-host: cannot make " + (tmp / "file/pages").string() +
                              ": Not a directory\n");
}

TEST_F(HostCommand, RunPassesTheWorkersMessageAndStatusOn) {
    const ProcessResult result = host({"run", "-b", "input=" + (tmp / "none.pdf").string(),
                                       "output=out", "range=ALL", "ar=0.75"});
    EXPECT_EQ(result.exitStatus, 255);
    EXPECT_EQ(result.out, "failed to verify the password!!!\n");
    EXPECT_EQ(result.err, "pdfannotations-host: PDFAnnotations ended with status 255\n");
}

TEST_F(HostCommand, RunNamesAMissingSetting) {
    const ProcessResult result = host({"run", "-a", "input=" + book.string()});
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_EQ(result.err, "pdfannotations-host: the setting \"range\" is missing\n");
}

TEST_F(HostCommand, RunRefusesItemsItCannotPass) {
    ProcessResult result = host({"run", "-a", "input"});
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_EQ(result.err, "pdfannotations-host: \"input\" is not KEY=VALUE\n");
    result = host({"run", "-a", "input=a.pdf", "range=1", "password=a=b"});
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_EQ(result.err,
              "pdfannotations-host: the value of \"password\" cannot hold \"|\" or \"=\"\n");
}

TEST_F(HostCommand, RunOfATextToLinkJobGivesThePdf) {
    const ProcessResult result = host({"run", "-a", "input=" + book.string(), "range=1"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.out, book.string() + "\n");
}

TEST_F(HostCommand, RunDrawsAProgressBarOnATerminal) {
    const std::string received =
        runOnTerminal({"run", "-a", "input=" + book.string(), "range=ALL"}, tmp.path());
    EXPECT_EQ(received,
              "\r[######........................] page 1 of 5"
              "\r[############..................] page 2 of 5"
              "\r[##################............] page 3 of 5"
              "\r[########################......] page 4 of 5"
              "\r[##############################] page 5 of 5"
              "\r\033[K" +
                  book.string() + "\r\n");
}

TEST_F(HostCommand, StopRaisesTheFlagOfARunningJob) {
    testsupport::HostStopFlag flag(tmp.path(), "job5");
    const ProcessResult result = host({"stop", "job5"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(flag.read(1), 1);
}

TEST_F(HostCommand, StopSaysWhenNoJobRunsUnderTheIdentifier) {
    const ProcessResult result = host({"stop", "job6"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.err, "pdfannotations-host: no job runs under the identifier \"job6\"\n");
    EXPECT_FALSE(fs::exists(tmp / "Tarn_job6"));
}

TEST_F(HostCommand, PreviewWritesThePictureAndCountsTheLinks) {
    const ProcessResult result = host({"preview", book.string(), "--page", "1", "--scale", "0.5",
                                       "-o", (tmp / "p.png").string()});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.out, (tmp / "p.png").string() + ": 2 links\n");
    EXPECT_TRUE(fs::file_size(tmp / "p.png") > 0);
}

TEST_F(HostCommand, PreviewTakesThePageFromTheFileName) {
    fs::create_directory(tmp / "out");
    ASSERT_EQ(host({"run", "-b", "input=" + book.string(), "output=" + (tmp / "out").string(),
                    "range=4", "divide=0", "html5=1"})
                  .exitStatus,
              0);
    const ProcessResult result = host(
        {"preview", book.string(), (tmp / "out/4.xml").string(), "-o", (tmp / "p4.png").string()});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.out, (tmp / "p4.png").string() + ": 1 link\n");
}

TEST_F(HostCommand, PreviewReportsAFileItCannotRead) {
    const ProcessResult result =
        host({"preview", book.string(), (tmp / "2.xml").string(), "-o", (tmp / "p.png").string()});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.err, "pdfannotations-host: cannot read " + (tmp / "2.xml").string() + "\n");
}

}  // namespace
