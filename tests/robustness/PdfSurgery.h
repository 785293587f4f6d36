#pragma once
// Byte-level changes to PDF files for the robustness tests: cutting, flipping, patching,
// appending an incremental update that replaces objects, and writing a whole file from numbered
// object bodies (for structures the fixture builder cannot make, such as page trees a million
// levels deep). Everything is deterministic: random choices come from a seeded generator.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace robustness {

inline std::string readBytes(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

inline bool writeBytes(const std::filesystem::path& path, const std::string& bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    out.close();
    return static_cast<bool>(out);
}

// count bytes at random offsets XORed with random non-zero values.
inline std::string flipped(std::string bytes, std::uint32_t seed, int count) {
    if (bytes.empty()) return bytes;
    std::mt19937 random(seed);
    std::uniform_int_distribution<std::size_t> offset(0, bytes.size() - 1);
    std::uniform_int_distribution<int> mask(1, 255);
    for (int k = 0; k < count; ++k) bytes[offset(random)] ^= static_cast<char>(mask(random));
    return bytes;
}

// The first occurrence of from replaced by to, searching from the end when last is set.
inline std::string patched(std::string bytes, const std::string& from, const std::string& to,
                           bool last = false) {
    std::size_t at = last ? bytes.rfind(from) : bytes.find(from);
    if (at != std::string::npos) bytes.replace(at, from.size(), to);
    return bytes;
}

// The number after the last "startxref", or -1.
inline long lastStartXref(const std::string& bytes) {
    std::size_t at = bytes.rfind("startxref");
    if (at == std::string::npos) return -1;
    return std::strtol(bytes.c_str() + at + 9, nullptr, 10);
}

// The value of the last "/Size" (the trailer's), or 0.
inline long lastSize(const std::string& bytes) {
    std::size_t at = bytes.rfind("/Size");
    if (at == std::string::npos) return 0;
    return std::strtol(bytes.c_str() + at + 5, nullptr, 10);
}

inline std::string xrefLine(std::size_t offset) {
    char line[21];
    std::snprintf(line, sizeof line, "%010zu 00000 n \n", offset);
    return line;
}

// Appends an incremental update: each object number of objects gets the body given (a new object
// or a replacement), under a trailer that keeps /Root 1 0 R, points back with /Prev and adds
// trailerExtra (raw "/Key value" text).
inline std::string withUpdate(std::string bytes, const std::map<int, std::string>& objects,
                              const std::string& trailerExtra = "") {
    const long previous = lastStartXref(bytes);
    long size = lastSize(bytes);
    std::map<int, std::size_t> offsets;
    if (!bytes.empty() && bytes.back() != '\n') bytes += '\n';
    for (const auto& [number, body] : objects) {
        offsets[number] = bytes.size();
        bytes += std::to_string(number) + " 0 obj\n" + body + "\nendobj\n";
        size = std::max(size, static_cast<long>(number) + 1);
    }
    const std::size_t xref = bytes.size();
    bytes += "xref\n";
    for (const auto& [number, offset] : offsets) {
        bytes += std::to_string(number) + " 1\n" + xrefLine(offset);
    }
    bytes += "trailer\n<< /Size " + std::to_string(size) + " /Root 1 0 R /Prev " +
             std::to_string(previous) + " " + trailerExtra + " >>\nstartxref\n" +
             std::to_string(xref) + "\n%%EOF\n";
    return bytes;
}

// A whole file whose object k + 1 has bodies[k] (object 1 is the catalog), with a classic
// cross-reference table.
inline std::string pdfOf(const std::vector<std::string>& bodies,
                         const std::string& trailerExtra = "") {
    std::string bytes = "%PDF-1.7\n%\xE2\xE3\xCF\xD3\n";
    std::vector<std::size_t> offsets;
    offsets.reserve(bodies.size());
    for (std::size_t k = 0; k < bodies.size(); ++k) {
        offsets.push_back(bytes.size());
        bytes += std::to_string(k + 1) + " 0 obj\n" + bodies[k] + "\nendobj\n";
    }
    const std::size_t xref = bytes.size();
    bytes += "xref\n0 " + std::to_string(bodies.size() + 1) + "\n0000000000 65535 f \n";
    for (std::size_t offset : offsets) bytes += xrefLine(offset);
    bytes += "trailer\n<< /Size " + std::to_string(bodies.size() + 1) + " /Root 1 0 R " +
             trailerExtra + " >>\nstartxref\n" + std::to_string(xref) + "\n%%EOF\n";
    return bytes;
}

inline std::string ref(std::size_t objectNumber) { return std::to_string(objectNumber) + " 0 R"; }

// A stream object body with its /Length and extra dictionary entries.
inline std::string streamBody(const std::string& data, const std::string& entries = "") {
    return "<< /Length " + std::to_string(data.size()) + " " + entries + " >>\nstream\n" + data +
           "\nendstream";
}

}  // namespace robustness
