// Runs a fuzz target over saved inputs without libFuzzer, so the seeds and every input that once
// found a bug are replayed by the ordinary (gcc, sanitizer) test build. Arguments are files and
// folders; a folder's regular files run in name order. A failure aborts, as under libFuzzer;
// finding no input at all is an error too, so a lost corpus folder cannot pass quietly.
//
// With "--mutate RUNS" (first), the replay is followed by that many random mutations of the
// inputs (no coverage guidance: a short fuzz run in every test build). The generator starts
// from a fixed seed, so every build runs the same inputs and a failure can be repeated; the
// input that makes the target fail is written to "crash-input" in the current folder before the
// process dies.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
// From the sanitizers' runtime, when the build has one.
extern "C" void __sanitizer_set_death_callback(void (*callback)()) __attribute__((weak));

namespace {

using Bytes = std::vector<std::uint8_t>;

std::vector<std::filesystem::path> inputsOf(const std::filesystem::path& argument) {
    if (!std::filesystem::is_directory(argument)) return {argument};
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(argument)) {
        if (entry.is_regular_file()) files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

// The input being run, for the death callback.
const Bytes* gCurrent = nullptr;

void saveCurrentInput() {
    if (gCurrent == nullptr) return;
    std::ofstream out("crash-input", std::ios::binary);
    out.write(reinterpret_cast<const char*>(gCurrent->data()),
              static_cast<std::streamsize>(gCurrent->size()));
    std::fprintf(stderr, "the failing input is in crash-input\n");
}

void run(const Bytes& bytes) {
    // A copy of exactly the input's size, so a read past its end is caught as under libFuzzer.
    Bytes exact(bytes);
    exact.shrink_to_fit();
    gCurrent = &exact;
    LLVMFuzzerTestOneInput(exact.empty() ? nullptr : exact.data(), exact.size());
    gCurrent = nullptr;
}

bool read(const std::filesystem::path& file, Bytes& bytes) {
    std::ifstream in(file, std::ios::binary);
    if (!in) {
        std::fprintf(stderr, "cannot read %s\n", file.c_str());
        return false;
    }
    bytes.assign(std::istreambuf_iterator<char>(in), {});
    return true;
}

// Bytes that mean something to the parsers the targets reach.
constexpr std::uint8_t kTokens[] = {0,   0xFF, 0x7F, '(', ')', '<',  '>', '[', ']', '/', '\\',
                                    '0', '9',  '-',  '.', ' ', '\n', '|', '=', '%', '@', 0xD8};

void mutate(Bytes& bytes, std::mt19937_64& random) {
    auto below = [&random](std::size_t n) { return n == 0 ? 0 : random() % n; };
    const std::size_t at = below(bytes.size() + 1);
    switch (random() % 6) {
        case 0:  // flip a bit
            if (at < bytes.size()) bytes[at] ^= static_cast<std::uint8_t>(1u << below(8));
            break;
        case 1:  // a meaningful byte in place of another
            if (at < bytes.size()) bytes[at] = kTokens[below(std::size(kTokens))];
            break;
        case 2:  // insert one
            bytes.insert(bytes.begin() + static_cast<std::ptrdiff_t>(at),
                         kTokens[below(std::size(kTokens))]);
            break;
        case 3:  // cut a run out
            bytes.erase(bytes.begin() + static_cast<std::ptrdiff_t>(at),
                        bytes.begin() + static_cast<std::ptrdiff_t>(
                                            std::min(bytes.size(), at + 1 + below(64))));
            break;
        case 4:  // repeat a run
            if (at < bytes.size()) {
                Bytes run(bytes.begin() + static_cast<std::ptrdiff_t>(at),
                          bytes.begin() + static_cast<std::ptrdiff_t>(
                                              std::min(bytes.size(), at + 1 + below(64))));
                bytes.insert(bytes.begin() + static_cast<std::ptrdiff_t>(below(bytes.size())),
                             run.begin(), run.end());
            }
            break;
        default:  // cut the end off
            bytes.resize(at);
            break;
    }
}

void runMutations(long runs, const std::vector<Bytes>& seeds) {
    std::mt19937_64 random(20261121);
    for (long k = 0; k < runs; ++k) {
        Bytes input = seeds[random() % seeds.size()];
        for (std::uint64_t n = 1 + random() % 8; n-- > 0;) mutate(input, random);
        run(input);
    }
}

}  // namespace

int main(int argc, char** argv) {
    int first = 1;
    long mutations = 0;
    if (argc > 2 && std::string(argv[1]) == "--mutate") {
        mutations = std::strtol(argv[2], nullptr, 10);
        first = 3;
    }
    if (__sanitizer_set_death_callback != nullptr) __sanitizer_set_death_callback(saveCurrentInput);
    std::vector<Bytes> seeds;
    for (int k = first; k < argc; ++k) {
        for (const std::filesystem::path& file : inputsOf(argv[k])) {
            std::fprintf(stderr, "replaying %s\n", file.c_str());
            Bytes bytes;
            if (!read(file, bytes)) return 1;
            run(bytes);
            seeds.push_back(std::move(bytes));
        }
    }
    std::printf("%zu inputs replayed\n", seeds.size());
    if (seeds.empty()) return 1;
    if (mutations > 0) {
        runMutations(mutations, seeds);
        std::printf("%ld mutated inputs run\n", mutations);
    }
    return 0;
}
