// A back catalogue through `pdfannotations-host batch`: 200 small books, a few of them broken,
// encrypted or empty, killed half way and resumed. Every book's output must then exist once and
// be byte for byte what a single `run` of the same line writes; the broken books are reported
// with their reason and do not hold up the others.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "robustness/Books.h"
#include "robustness/PdfSurgery.h"
#include "support/Process.h"
#include "support/TempDir.h"

namespace {

namespace fs = std::filesystem;
using testsupport::ProcessResult;

constexpr int kBooks = 200;

enum class Kind { Good, Garbage, WrongPassword, RightPassword, NoPages };

// Four of each kind of trouble among the 200, spread over the list.
Kind kindOf(int book) {
    switch (book % 50) {
        case 7:
            return Kind::Garbage;
        case 19:
            return Kind::WrongPassword;
        case 31:
            return Kind::RightPassword;
        case 43:
            return Kind::NoPages;
        default:
            return Kind::Good;
    }
}

std::string bookName(int book) { return "book" + std::to_string(book); }

void writeBook(int book, const fs::path& path) {
    switch (kindOf(book)) {
        case Kind::Garbage:
            robustness::writeBytes(path, "%PDF-1.7\nnot a document\n");
            break;
        case Kind::WrongPassword:
        case Kind::RightPassword:
            robustness::linkBook(2, book).writeEncrypted(path, "secret", "owner", "aes-128");
            break;
        case Kind::NoPages:
            testsupport::PdfFixture().write(path);
            break;
        case Kind::Good:
            robustness::linkBook(2, book).write(path);
            break;
    }
}

// The job line of a book: -b into a folder of its own, some divided, some as slides.
std::vector<std::string> jobOf(int book, const fs::path& books, const fs::path& out) {
    std::vector<std::string> job{"-b", "input=" + (books / (bookName(book) + ".pdf")).string(),
                                 "output=" + (out / bookName(book)).string(), "range=ALL",
                                 book % 3 == 0 ? "divide=2" : "divide=0"};
    if (book % 4 == 0) job.push_back("html5=1");
    if (kindOf(book) == Kind::WrongPassword) job.push_back("password=wrong");
    if (kindOf(book) == Kind::RightPassword) job.push_back("password=secret");
    return job;
}

// Every file under root, by its path below root, with its bytes.
std::map<std::string, std::string> filesUnder(const fs::path& root) {
    std::map<std::string, std::string> files;
    if (!fs::exists(root)) return files;
    for (const auto& entry : fs::recursive_directory_iterator(root)) {
        if (!entry.is_regular_file()) continue;
        files[fs::relative(entry.path(), root).string()] = robustness::readBytes(entry.path());
    }
    return files;
}

std::size_t lineCount(const fs::path& file) {
    std::ifstream in(file);
    std::size_t count = 0;
    for (std::string line; std::getline(in, line);) ++count;
    return count;
}

// Whether a process other than this one names text on its command line.
bool anyProcessNames(const std::string& text) {
    for (const auto& entry : fs::directory_iterator("/proc")) {
        const std::string name = entry.path().filename().string();
        if (name.find_first_not_of("0123456789") != std::string::npos) continue;
        std::string commandLine = robustness::readBytes(entry.path() / "cmdline");
        if (commandLine.find(text) != std::string::npos && std::stoi(name) != ::getpid()) {
            return true;
        }
    }
    return false;
}

extern "C" char** environ;

class HostBatch : public testing::Test {
protected:
    void SetUp() override {
        fs::create_directories(books_);
        std::ofstream list(list_);
        for (int book = 0; book < kBooks; ++book) {
            writeBook(book, books_ / (bookName(book) + ".pdf"));
            const std::vector<std::string> job = jobOf(book, books_, dir_ / "out");
            for (std::size_t k = 0; k < job.size(); ++k) list << (k ? "\t" : "") << job[k];
            list << "\n";
        }
    }

    // Starts the batch in a process group of its own, output to files.
    pid_t startBatch() {
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, 1, (dir_ / "first.out").c_str(),
                                         O_WRONLY | O_CREAT | O_TRUNC, 0644);
        posix_spawn_file_actions_addopen(&actions, 2, (dir_ / "first.err").c_str(),
                                         O_WRONLY | O_CREAT | O_TRUNC, 0644);
        posix_spawnattr_t attributes;
        posix_spawnattr_init(&attributes);
        posix_spawnattr_setpgroup(&attributes, 0);
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
        std::vector<std::string> texts{PDFA_HOST_COMMAND, "batch", "--jobs", "4", list_.string()};
        std::vector<char*> argv;
        for (std::string& text : texts) argv.push_back(text.data());
        argv.push_back(nullptr);
        pid_t pid = -1;
        EXPECT_EQ(posix_spawn(&pid, PDFA_HOST_COMMAND, &actions, &attributes, argv.data(), environ),
                  0);
        posix_spawn_file_actions_destroy(&actions);
        posix_spawnattr_destroy(&attributes);
        return pid;
    }

    testsupport::TempDir dir_;
    fs::path books_ = dir_ / "books";
    fs::path list_ = dir_ / "jobs.tsv";
};

TEST_F(HostBatch, KilledHalfWayAndResumedGivesEveryBookOnceAsASingleRunDoes) {
    // The batch, killed (with parallel) once about half the jobs are logged. The jobs running
    // then are left to end by themselves, as on a machine whose batch was killed.
    const pid_t batch = startBatch();
    ASSERT_GT(batch, 0);
    const fs::path joblog = fs::path(list_.string() + ".joblog");
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(8);
    while (lineCount(joblog) < 1 + kBooks / 2 && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    ASSERT_EQ(::kill(-batch, SIGKILL), 0);
    int status = 0;
    ASSERT_EQ(::waitpid(batch, &status, 0), batch);
    while (anyProcessNames(books_.string()) && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    const std::size_t loggedBeforeResume = lineCount(joblog) - 1;
    EXPECT_GE(loggedBeforeResume, static_cast<std::size_t>(kBooks / 2));
    EXPECT_LT(loggedBeforeResume, static_cast<std::size_t>(kBooks));

    ProcessResult resumed = testsupport::runProcess(
        PDFA_HOST_COMMAND, {"batch", "--resume", list_.string()}, {}, std::chrono::minutes(8));
    ASSERT_EQ(resumed.exitStatus, 1) << resumed.err;
    EXPECT_EQ(lineCount(joblog) - 1, static_cast<std::size_t>(kBooks));

    // Each book again through a single run, into a folder of its own.
    std::size_t written = 0;
    std::string failures;
    for (int book = 0; book < kBooks; ++book) {
        std::vector<std::string> arguments{"run"};
        for (const std::string& item : jobOf(book, books_, dir_ / "single")) {
            arguments.push_back(item);
        }
        ProcessResult single = testsupport::runProcess(PDFA_HOST_COMMAND, arguments);
        const std::string name = bookName(book);
        SCOPED_TRACE(name);
        const auto batchFiles = filesUnder(dir_ / "out" / name);
        EXPECT_EQ(batchFiles, filesUnder(dir_ / "single" / name));
        if (kindOf(book) == Kind::Good || kindOf(book) == Kind::RightPassword) {
            EXPECT_EQ(single.exitStatus, 0) << single.err;
            EXPECT_FALSE(batchFiles.empty());
            written += batchFiles.size();
            continue;
        }
        const char* reason = kindOf(book) == Kind::Garbage         ? "cannot open"
                             : kindOf(book) == Kind::WrongPassword ? "wrong password"
                                                                   : "no pages";
        failures += "failed: line " + std::to_string(book + 1) + ", " + reason + ": " +
                    (books_ / (name + ".pdf")).string() + "\n";
    }
    EXPECT_EQ(resumed.out, "200 jobs: 188 done, 12 failed, 0 not run; " + std::to_string(written) +
                               " files written\n" + failures);
    EXPECT_EQ(filesUnder(dir_ / "out").size(), written);
}

}  // namespace
