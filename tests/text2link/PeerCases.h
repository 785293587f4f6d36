#pragma once
// Other linkifiers' published cases, kept as data in tests/text2link/peer-cases/, and the
// answers we give them.
//
// A suite file (NAME.tsv) starts with "#" lines: "# source: ..." names the peer's repository and
// file, "# compare: all" means a line must give exactly the listed links, "# compare: first"
// that only the first link is the peer's claim (a line listing none must give none). Every other
// line is one case: id, text, then for each expected link its start (16-bit units), the text it
// covers and its target, all separated by tabs. In texts "\n", "\t" and "\\" stand for a line
// break, a tab and a backslash.
//
// differences.tsv lists the cases we answer differently on purpose: id, reason, then our links
// in the same three columns.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "platform/ICUText.h"

namespace peercases {

struct Link {
    std::size_t start = 0;
    std::string text;  // UTF-8, as it stands in the case
    std::string target;
};

struct Case {
    std::string id;
    std::string text;  // UTF-8
    std::vector<Link> links;
};

struct Suite {
    std::string name;
    std::string source;
    bool firstLinkOnly = false;
    std::vector<Case> cases;
};

struct Difference {
    std::string reason;
    std::vector<Link> links;
};

inline std::filesystem::path folder() {
    return std::filesystem::path(PDFA_SOURCE_DIR) / "tests" / "text2link" / "peer-cases";
}

inline const std::vector<std::string>& suiteNames() {
    static const std::vector<std::string> names = {
        "linkify-links", "linkify-not-links", "pdfjs",     "pdfjs-not-links",
        "gfm",           "libphonenumber",    "cn-numbers"};
    return names;
}

inline std::string unescape(const std::string& field) {
    std::string out;
    for (std::size_t i = 0; i < field.size(); ++i) {
        if (field[i] != '\\' || i + 1 == field.size()) {
            out += field[i];
            continue;
        }
        char next = field[++i];
        out += next == 'n' ? '\n' : next == 't' ? '\t' : next;
    }
    return out;
}

inline std::vector<std::string> fieldsOf(const std::string& line) {
    std::vector<std::string> fields;
    std::istringstream in(line);
    for (std::string field; std::getline(in, field, '\t');) fields.push_back(unescape(field));
    return fields;
}

// The links in fields[first], fields[first + 1], ...; a malformed row fails the test.
inline std::vector<Link> linksOf(const std::vector<std::string>& fields, std::size_t first,
                                 const std::string& id) {
    std::vector<Link> links;
    if ((fields.size() - first) % 3 != 0) ADD_FAILURE() << id << ": link columns come in threes";
    for (std::size_t i = first; i + 2 < fields.size(); i += 3) {
        links.push_back({std::stoul(fields[i]), fields[i + 1], fields[i + 2]});
    }
    return links;
}

inline Suite readSuite(const std::string& name) {
    Suite suite{name, "", false, {}};
    std::ifstream in(folder() / (name + ".tsv"));
    if (!in) ADD_FAILURE() << "cannot read " << name << ".tsv";
    for (std::string line; std::getline(in, line);) {
        if (line.rfind("# source: ", 0) == 0) suite.source = line.substr(10);
        if (line == "# compare: first") suite.firstLinkOnly = true;
        if (line.empty() || line[0] == '#') continue;
        std::vector<std::string> fields = fieldsOf(line);
        if (fields.size() < 2) {
            ADD_FAILURE() << name << ": case without text: " << line;
            continue;
        }
        suite.cases.push_back({fields[0], fields[1], linksOf(fields, 2, fields[0])});
    }
    return suite;
}

inline std::map<std::string, Difference> readDifferences() {
    std::map<std::string, Difference> differences;
    std::ifstream in(folder() / "differences.tsv");
    if (!in) ADD_FAILURE() << "cannot read differences.tsv";
    for (std::string line; std::getline(in, line);) {
        if (line.empty() || line[0] == '#') continue;
        std::vector<std::string> fields = fieldsOf(line);
        if (fields.size() < 2 || fields[1].empty()) {
            ADD_FAILURE() << "difference without a reason: " << line;
            continue;
        }
        differences[fields[0]] = {fields[1], linksOf(fields, 2, fields[0])};
    }
    return differences;
}

// Peers write a bare host with or without the final "/" ("http://a.com/" from a URL parser);
// both name the same page.
inline std::string comparableTarget(const std::string& target) {
    std::size_t authority = target.find("://");
    if (authority == std::string::npos) return target;
    if (target.find_first_of("/?#", authority + 3) == std::string::npos) return target + "/";
    return target;
}

inline bool sameLink(const Link& a, const Link& b) {
    return a.start == b.start && a.text == b.text &&
           comparableTarget(a.target) == comparableTarget(b.target);
}

// Whether our links give the answer: all links alike, or only the first when the suite claims
// no more (and then none when it lists none).
inline bool agrees(const std::vector<Link>& ours, const std::vector<Link>& answer,
                   bool firstLinkOnly) {
    if (firstLinkOnly && !answer.empty()) return !ours.empty() && sameLink(ours[0], answer[0]);
    if (ours.size() != answer.size()) return false;
    for (std::size_t i = 0; i < ours.size(); ++i) {
        if (!sameLink(ours[i], answer[i])) return false;
    }
    return true;
}

inline std::string describe(const std::vector<Link>& links) {
    std::string out;
    for (const Link& link : links) {
        out += "[" + std::to_string(link.start) + " \"" + link.text + "\" " + link.target + "] ";
    }
    return links.empty() ? "no link" : out;
}

}  // namespace peercases
