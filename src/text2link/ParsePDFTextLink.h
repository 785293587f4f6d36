#pragma once
// The text-to-link job (-a) and the link text tests it is built on. The front end sets the job
// properties and calls parse once; the conversion writers use parsePage on single pages.
//
// All texts the tests take are 16-bit units and all positions count those units. Every test is
// case-sensitive.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/MuPDFDocument.h"
#include "platform/Reporter.h"
#include "platform/StopFlag.h"

namespace text2link {

class ParsePDFTextLink {
public:
    ParsePDFTextLink();  // builds schumeKeys and domainKeys; parseType 3

    std::vector<std::u16string> schumeKeys;  // URL scheme markers: "ftp:", "https:", ...
    std::vector<std::u16string> domainKeys;  // top-level domains without the dot, in order
    std::string pdfFile;
    std::string pageRange;
    std::optional<std::string> password;
    std::int64_t parseType = 3;  // bit 1: web and e-mail addresses; bit 2: telephone numbers
    std::optional<std::string> taskID;
    // parsePage finds links with the data detector; false selects the slower walk that asks
    // for the URL around each index in turn.
    bool useDataDetector = true;

    // True when any scheme key occurs anywhere in the text ("see http://x" counts).
    bool hasSchume(std::u16string_view text) const;
    // A scheme key anywhere, "www." at the start or after a character that is no ASCII letter
    // or digit, or "." followed by a domain key anywhere.
    bool isURLString(std::u16string_view text) const;
    // True when one of the three telephone patterns matches the whole text.
    bool isPhoneNumber(std::u16string_view text) const;
    // "tel:" followed by the ASCII digits of the text (of the part after its first "tel:");
    // nullopt when no digit is left or nothing follows "tel:".
    std::optional<std::u16string> fixPhoneString(std::u16string_view text) const;
    // The text cut to where its URL starts (a scheme key, or "www." not after "/" or ":") and
    // then to its leading run of URL characters; empty when there is no such run.
    std::u16string fixURLString(std::u16string_view text) const;

    // Runs the whole job: for each selected page reports the page number, appends the links
    // found in its text that duplicate no existing link, and finally saves over pdfFile (also
    // after a stop). Writes nothing when the file cannot be opened or unlocked or no page is
    // selected.
    void parse(const platform::StopFlag& stop, platform::Reporter& reporter);
    // Reports the one-based page number being worked on ("7").
    void setMessage(std::int64_t pageNumber, platform::Reporter& reporter) const;
    // Reports a stop ("stop7"); the job itself never calls it.
    void setStopMessage(std::int64_t value, platform::Reporter& reporter) const;
    // Asks a running parse to end after its current page when the identifier is taskID.
    void stopParse(const std::optional<std::string>& identifier);

    // Appends one new link (type "Link", bounds of its text, URL when one could be made) per
    // web address, e-mail address or phone number found in the text of the zero-based page.
    void parsePage(const platform::Document& document, int pageIndex,
                   std::vector<platform::Annotation>& list, const platform::StopFlag& stop) const;
    // The text of the zero-based page; nullopt when it holds none, cannot be read, or a stop
    // cut its reading short. Throws std::bad_alloc when the engine ran out of memory reading
    // it: the job fails then, as when our own memory runs out, instead of going on as if the
    // page had no text.
    static std::optional<platform::PageText> readPageText(const platform::Document& document,
                                                          int pageIndex,
                                                          const platform::StopFlag& stop);
    // The same for a page's text already read; the stop flag is polled before each find.
    void parsePageText(const platform::PageText& page, std::vector<platform::Annotation>& list,
                       const platform::StopFlag& stop) const;

    // Removes the new link list[index] and returns true when it lies over an existing link of
    // checkList (one encloses the other, or one's centre lies in the other) whose host contains
    // its host or is contained in it. Links without a host are never removed; an index out of
    // range or a stop gives false and changes nothing.
    static bool checkRemoveAnnoFrom(std::vector<platform::Annotation>& list, std::int64_t index,
                                    const std::vector<platform::Annotation>& checkList,
                                    const platform::StopFlag& stop);

private:
    // Reads and scans the pages (one-based numbers, ascending) on every core the process may
    // use, and reports and extends them in order until a stop.
    void linkPages(platform::Document& document, const std::vector<std::int64_t>& numbers,
                   std::int64_t pageCount, const platform::StopFlag& stop,
                   platform::Reporter& reporter);
    void parsePageWithDetector(const platform::PageText& page,
                               std::vector<platform::Annotation>& list,
                               const platform::StopFlag& stop) const;
    void parsePageByIndex(const platform::PageText& page, std::vector<platform::Annotation>& list,
                          const platform::StopFlag& stop) const;

    std::int64_t isStop = 0;  // set by stopParse, read once per page
};

}  // namespace text2link
