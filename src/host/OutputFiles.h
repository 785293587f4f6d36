#pragma once
// The files a job writes. A conversion writes "<page>.xml" (or "<page>-w0.xml" and
// "<page>-w1.xml" for a divided page) into its output folder, or, when its output ends in
// ".xml", that one file (or its "-w0"/"-w1" halves); a text-to-link job replaces its PDF. Every
// file is written to a temporary name and renamed into place, so a written file is a new one:
// it is told apart from what was there before by its identity and time.

#include <sys/types.h>

#include <ctime>
#include <map>
#include <string>
#include <vector>

#include "host/SettingsText.h"

namespace host {

// True when a conversion's output names one file (its extension is "xml" in any letter case)
// rather than a folder.
bool isSingleOutputFile(const std::string& output);

// Orders file names as people read page numbers: "2.xml" before "10.xml", "2-w0" before "2-w1".
bool isBeforeInPageOrder(const std::string& a, const std::string& b);

class OutputSnapshot {
public:
    // Notes the state of every file the job may write.
    static OutputSnapshot take(JobKind kind, const SettingsText& settings);

    // The files created or replaced since the snapshot, in page order.
    std::vector<std::string> changedFiles() const;

private:
    struct Identity {
        dev_t device = 0;
        ino_t inode = 0;
        timespec modified{};
        off_t size = 0;
        bool operator==(const Identity& other) const;
    };

    std::vector<std::string> candidates() const;

    JobKind kind_ = JobKind::Convert;
    std::string target_;  // the output folder, the output file, or the PDF
    bool isFolder_ = false;
    std::map<std::string, Identity> before_;
};

}  // namespace host
