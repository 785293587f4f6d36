// Runs a fuzz target over saved inputs without libFuzzer, so the seeds and every input that once
// found a bug are replayed by the ordinary (gcc, sanitizer) test build. Arguments are files and
// folders; a folder's regular files run in name order. A failure aborts, as under libFuzzer;
// finding no input at all is an error too, so a lost corpus folder cannot pass quietly.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

std::vector<std::filesystem::path> inputsOf(const std::filesystem::path& argument) {
    if (!std::filesystem::is_directory(argument)) return {argument};
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(argument)) {
        if (entry.is_regular_file()) files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

bool replay(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    if (!in) {
        std::fprintf(stderr, "cannot read %s\n", file.c_str());
        return false;
    }
    std::vector<std::uint8_t> bytes{std::istreambuf_iterator<char>(in), {}};
    // A copy of exactly the input's size, so a read past its end is caught as under libFuzzer.
    std::vector<std::uint8_t> exact(bytes);
    exact.shrink_to_fit();
    LLVMFuzzerTestOneInput(exact.empty() ? nullptr : exact.data(), exact.size());
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    std::size_t count = 0;
    for (int k = 1; k < argc; ++k) {
        for (const std::filesystem::path& file : inputsOf(argv[k])) {
            std::fprintf(stderr, "replaying %s\n", file.c_str());
            if (!replay(file)) return 1;
            ++count;
        }
    }
    std::printf("%zu inputs replayed\n", count);
    return count > 0 ? 0 : 1;
}
