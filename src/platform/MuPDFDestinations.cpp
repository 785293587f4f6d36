// Go-to targets: explicit destination arrays and named destinations, looked up in the catalog's
// /Dests dictionary and in the /Names /Dests name tree.
#include "platform/MuPDFEngine.h"

namespace platform {
namespace mupdf {
namespace {

// Stops cycles and absurd trees, with kMaxNameTreeDepth.
constexpr int kMaxNameTreeNodes = 100000;

// The lookup key of a named destination: a name's or a string's bytes.
std::optional<std::string> destinationKey(const PdfObject& needle) {
    if (auto name = needle.name()) return name;
    return needle.stringBytes();
}

bool keyOutsideLimits(const PdfObject& node, const std::string& key) {
    PdfObject limits = node.get("Limits");
    if (limits.arrayLength() < 2) return false;
    auto low = limits.at(0).stringBytes();
    auto high = limits.at(1).stringBytes();
    return (low && key < *low) || (high && key > *high);
}

PdfObject findInNameTree(const PdfObject& node, const std::string& key, int depth, int& budget) {
    if (depth > kMaxNameTreeDepth || --budget < 0 || !node.isDictionary()) return {};
    PdfObject names = node.get("Names");
    std::size_t count = names.arrayLength();
    for (std::size_t i = 0; i + 1 < count; i += 2) {
        if (names.at(i).stringBytes() == key) return names.at(i + 1);
    }
    PdfObject kids = node.get("Kids");
    std::size_t kidCount = kids.arrayLength();
    for (std::size_t i = 0; i < kidCount && budget >= 0; ++i) {
        PdfObject kid = kids.at(i);
        if (keyOutsideLimits(kid, key)) continue;
        PdfObject found = findInNameTree(kid, key, depth + 1, budget);
        if (!found.isNull()) return found;
    }
    return {};
}

PdfObject findNamedDestination(const PdfObject& catalog, const std::string& key) {
    PdfObject fromDictionary = catalog.get("Dests").get(key);
    if (!fromDictionary.isNull()) return fromDictionary;
    int budget = kMaxNameTreeNodes;
    return findInNameTree(catalog.get("Names").get("Dests"), key, 0, budget);
}

// The point a destination array asks for: the coordinates its view kind carries, 0 for any
// that are left unspecified.
Point destinationPoint(const PdfObject& array) {
    std::string kind = array.at(1).name().value_or("");
    auto number = [&](std::size_t i) { return array.at(i).number().value_or(0); };
    if (kind == "XYZ") return {number(2), number(3)};
    if (kind == "FitH" || kind == "FitBH") return {0, number(2)};
    if (kind == "FitV" || kind == "FitBV") return {number(2), 0};
    if (kind == "FitR") return {number(2), number(3)};
    return {};
}

}  // namespace

std::optional<Destination> readDestination(const PdfObject::Handle& engine,
                                           const PdfObject& catalog, PdfObject target) {
    if (auto key = destinationKey(target)) {
        target = findNamedDestination(catalog, *key);
        if (target.isDictionary()) target = target.get("D");
    }
    if (target.arrayLength() == 0) return std::nullopt;
    int pageIndex = pageIndexOf(engine, target.at(0));
    if (pageIndex < 0) return std::nullopt;
    return Destination{pageIndex, destinationPoint(target)};
}

}  // namespace mupdf
}  // namespace platform
