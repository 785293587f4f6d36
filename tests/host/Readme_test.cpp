// The console examples of README.md, run in order in one scratch folder as a reader would run
// them, with the built commands first in PATH. A block fenced as ```console is an example:
// "$ " starts a command, "> " continues it on the next line, and every other line is the output
// (standard output and standard error together) the command must give.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "support/Process.h"
#include "support/TempDir.h"

namespace {

namespace fs = std::filesystem;

struct Example {
    int line = 0;
    std::string command;
    std::string output;
};

std::vector<Example> readExamples(std::istream& readme) {
    std::vector<Example> examples;
    bool inBlock = false;
    int number = 0;
    for (std::string line; std::getline(readme, line);) {
        ++number;
        if (!inBlock) {
            inBlock = line == "```console";
        } else if (line == "```") {
            inBlock = false;
        } else if (line.starts_with("$ ")) {
            examples.push_back({number, line.substr(2), ""});
        } else if (line.starts_with("> ") && !examples.empty()) {
            examples.back().command += "\n" + line.substr(2);
        } else if (!examples.empty()) {
            examples.back().output += line + "\n";
        }
    }
    return examples;
}

std::vector<Example> readmeExamples() {
    std::ifstream readme(fs::path(PDFA_SOURCE_DIR) / "README.md");
    return readExamples(readme);
}

TEST(ReadmeExamples, AreFoundInConsoleBlocks) {
    std::istringstream text(
        "```sh\n$ not this\n```\n```console\n$ echo a \\\n> b\na b\n\n$ true\n```\nafter\n");
    const std::vector<Example> examples = readExamples(text);
    ASSERT_EQ(examples.size(), 2u);
    EXPECT_EQ(examples[0].line, 5);
    EXPECT_EQ(examples[0].command, "echo a \\\nb");
    EXPECT_EQ(examples[0].output, "a b\n\n");
    EXPECT_EQ(examples[1].output, "");
    // The README keeps its examples.
    EXPECT_GE(readmeExamples().size(), 20u);
}

TEST(ReadmeExamples, GiveTheOutputShown) {
    testsupport::TempDir scratch;
    fs::create_directory(scratch / "samples");
    fs::copy_file(fs::path(PDFA_SOURCE_DIR) / "samples/book.pdf", scratch / "samples/book.pdf");
    const std::string path = fs::path(PDFA_HOST_COMMAND).parent_path().string() + ":" +
                             fs::path(PDFA_TOOL).parent_path().string() + ":/usr/bin:/bin";
    const std::map<std::string, std::string> environment = {
        {"PATH", path}, {"TMPDIR", scratch.path().string()}, {"LC_ALL", "C"}};
    for (const Example& example : readmeExamples()) {
        SCOPED_TRACE("README.md:" + std::to_string(example.line) + ": " + example.command);
        const testsupport::ProcessResult result = testsupport::runProcess(
            "/bin/sh",
            {"-c", "cd '" + scratch.path().string() + "' && {\n" + example.command + "\n} 2>&1"},
            environment);
        EXPECT_EQ(result.out, example.output);
    }
}

}  // namespace
