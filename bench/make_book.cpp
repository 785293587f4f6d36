// Writes a deterministic benchmark book: `make_book <pages> <out.pdf>`.
//
// Every page carries a few paragraphs of Helvetica text (WinAnsi) with web addresses, e-mail
// addresses and Chinese-format telephone numbers in it, and link annotations of every kind the
// jobs read: a URI link lying over the first web address of the text, a go-to link with an /XYZ
// destination on another page (as /Dest or as /A GoTo, alternately), a /Square annotation with a
// /Named NextPage or PrevPage action and a push-button /Widget whose /AA /D action opens a URI.
// Every tenth page is a two-page spread (double width, text in two columns, one link running over
// the middle); some pages are rotated by 90 degrees. Content streams are FlateDecode-compressed.
// The PDF is written by hand so that the same page count always gives the same bytes.

#include <zlib.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

constexpr double kPageWidth = 612;
constexpr double kPageHeight = 792;
constexpr double kMargin = 72;
constexpr double kFontSize = 10;
constexpr double kLeading = 14;

// Helvetica advance widths (per 1000 units of font size) for the printable ASCII range.
constexpr int kHelveticaWidths[95] = {
    278, 278, 355, 556, 556, 889, 667, 191, 333, 333, 389, 584, 278, 333,  278, 278, 556, 556, 556,
    556, 556, 556, 556, 556, 556, 556, 278, 278, 584, 584, 584, 556, 1015, 667, 667, 722, 722, 667,
    611, 778, 722, 278, 500, 667, 556, 833, 722, 778, 667, 778, 722, 667,  611, 722, 667, 944, 667,
    667, 611, 278, 278, 278, 469, 556, 333, 556, 556, 500, 556, 556, 278,  556, 556, 222, 222, 500,
    222, 833, 556, 556, 556, 556, 333, 500, 278, 556, 500, 722, 500, 500,  500, 334, 260, 334, 584};

const char* const kWords[] = {
    "the",      "reader",   "turns",     "each",    "page",    "of",       "this",     "book",
    "and",      "finds",    "notes",     "about",   "travel",  "history",  "rivers",   "cities",
    "markets",  "bridges",  "letters",   "gardens", "we",      "walked",   "along",    "quiet",
    "streets",  "where",    "old",       "houses",  "lean",    "over",     "narrow",   "canals",
    "in",       "spring",   "light",     "a",       "guide",   "explains", "how",      "to",
    "reach",    "museum",   "by",        "train",   "or",      "bus",      "tickets",  "are",
    "sold",     "at",       "station",   "office",  "for",     "more",     "details",  "visit",
    "our",      "website",  "write",     "call",    "service", "desk",     "during",   "opening",
    "hours",    "chapter",  "describes", "morning", "tea",     "harbour",  "festival", "lanterns",
    "mountain", "path",     "village",   "school",  "library", "children", "learn",    "songs",
    "from",     "their",    "parents",   "winter",  "snow",    "covers",   "fields",   "farmers",
    "prepare",  "seeds",    "next",      "season",  "with",    "care",     "patience", "every",
    "evening",  "families", "gather",    "share",   "stories", "news",     "week"};

// splitmix64: small, fast and identical on every platform, so books are reproducible.
class Random {
public:
    explicit Random(uint64_t seed) : state_(seed) {}
    uint64_t next() {
        uint64_t z = (state_ += 0x9E3779B97F4A7C15ull);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
        return z ^ (z >> 31);
    }
    int below(int n) { return static_cast<int>(next() % static_cast<uint64_t>(n)); }

private:
    uint64_t state_;
};

double textWidth(const std::string& text) {
    int units = 0;
    for (unsigned char c : text) units += (c >= 32 && c < 127) ? kHelveticaWidths[c - 32] : 556;
    return units * kFontSize / 1000.0;
}

std::string digits(Random& random, int count) {
    std::string out;
    for (int i = 0; i < count; ++i) out += static_cast<char>('0' + random.below(10));
    return out;
}

// A word or one of the addresses and numbers the jobs look for; web is set for web addresses.
std::string makeToken(Random& random, int pageNumber, bool& web) {
    web = false;
    switch (random.below(90)) {
        case 0:
            web = true;
            return "https://www.example.org/guide/p" + std::to_string(pageNumber);
        case 1:
            web = true;
            return "www.example.org";
        case 2:
            web = true;
            return "http://news" + digits(random, 2) +
                   ".example.com/a?id=" + std::to_string(pageNumber);
        case 3:
            return "desk" + digits(random, 3) + "@example.com";
        case 4:
            return "138" + digits(random, 8);
        case 5:
            return "010-" + digits(random, 8);
        case 6:
            return "400 " + digits(random, 7);
        default: {
            std::string word = kWords[random.below(sizeof kWords / sizeof kWords[0])];
            return random.below(10) == 0 ? word + "." : word;
        }
    }
}

struct Box {
    double x0, y0, x1, y1;
};

// The text of one column and where its first web address was drawn (x1 < x0 when none was).
struct Column {
    std::string operators;
    Box firstWeb{0, 0, -1, 0};
};

std::string escapeString(const std::string& text) {
    std::string out;
    for (char c : text) {
        if (c == '(' || c == ')' || c == '\\') out += '\\';
        out += c;
    }
    return out;
}

void emitLine(Column& column, const std::string& line, double x, double y) {
    char position[64];
    std::snprintf(position, sizeof position, "1 0 0 1 %.2f %.2f Tm (", x, y);
    column.operators += position + escapeString(line) + ") Tj\n";
}

// Lays out paragraphs of wrapped text between x and x + width, from the top margin down.
Column makeColumn(Random& random, int pageNumber, double x, double width) {
    Column column;
    double y = kPageHeight - kMargin;
    int paragraphs = 4 + random.below(2);
    for (int p = 0; p < paragraphs && y > 2 * kMargin; ++p) {
        int tokens = 55 + random.below(35);
        std::string line;
        for (int t = 0; t < tokens; ++t) {
            bool web = false;
            std::string token = makeToken(random, pageNumber, web);
            std::string candidate = line.empty() ? token : line + " " + token;
            if (textWidth(candidate) > width) {
                emitLine(column, line, x, y);
                y -= kLeading;
                candidate = token;
            }
            if (web && column.firstWeb.x1 < column.firstWeb.x0) {
                double start = x + (candidate == token ? 0 : textWidth(line + " "));
                column.firstWeb = {start, y - 2, start + textWidth(token), y + kFontSize - 1};
            }
            line = candidate;
        }
        emitLine(column, line, x, y);
        y -= 2 * kLeading;
    }
    return column;
}

std::string deflate(const std::string& data) {
    uLongf size = compressBound(data.size());
    std::string out(size, '\0');
    compress2(reinterpret_cast<Bytef*>(out.data()), &size,
              reinterpret_cast<const Bytef*>(data.data()), data.size(), 6);
    out.resize(size);
    return out;
}

std::string rect(const Box& box) {
    char text[96];
    std::snprintf(text, sizeof text, "[%.2f %.2f %.2f %.2f]", box.x0, box.y0, box.x1, box.y1);
    return text;
}

std::string ref(int object) { return std::to_string(object) + " 0 R"; }

bool isSpread(int pageNumber) { return pageNumber % 10 == 0; }
bool isRotated(int pageNumber) { return pageNumber % 20 == 7; }

// Objects of one page, in this order: page, contents, URI link, go-to link, square, widget, and
// on a spread the right column's URI link and the link over the middle.
int objectsOfPage(int pageNumber) { return isSpread(pageNumber) ? 8 : 6; }

class BookWriter {
public:
    explicit BookWriter(int pages) : pages_(pages) {
        int next = kFirstPageObject;
        for (int n = 1; n <= pages; ++n) {
            firstObject_.push_back(next);
            next += objectsOfPage(n);
        }
        offsets_.assign(next, 0);
    }

    std::string write() {
        out_ = "%PDF-1.7\n%\xE2\xE3\xCF\xD3\n";
        writeShared();
        for (int n = 1; n <= pages_; ++n) writePage(n);
        writeFields();
        return finish();
    }

private:
    static constexpr int kCatalog = 1, kPages = 2, kFont = 3, kAppearance = 4, kFields = 5;
    static constexpr int kFirstPageObject = 6;

    void object(int number, const std::string& body) {
        offsets_[number] = out_.size();
        out_ += std::to_string(number) + " 0 obj\n" + body + "\nendobj\n";
    }

    void writeShared() {
        object(kCatalog, "<< /Type /Catalog /Pages 2 0 R /AcroForm << /Fields " + ref(kFields) +
                             " /DA (/Helv 0 Tf 0 g) >> >>");
        std::string kids;
        for (int n = 1; n <= pages_; ++n) kids += ref(firstObject_[n - 1]) + " ";
        object(kPages,
               "<< /Type /Pages /Count " + std::to_string(pages_) + " /Kids [" + kids + "] >>");
        object(kFont,
               "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica /Encoding /WinAnsiEncoding >>");
        object(
            kAppearance,
            "<< /Type /XObject /Subtype /Form /BBox [0 0 1 1] /Length 0 >>\nstream\n\nendstream");
    }

    void writeFields() {
        std::string fields;
        for (int n = 1; n <= pages_; ++n) fields += ref(firstObject_[n - 1] + 5) + " ";
        object(kFields, "[" + fields + "]");
    }

    void writePage(int n) {
        Random random(0x5EED0000ull + static_cast<uint64_t>(n));
        double width = isSpread(n) ? 2 * kPageWidth : kPageWidth;
        int first = firstObject_[n - 1];
        Column left = makeColumn(random, n, kMargin, kPageWidth - 2 * kMargin);
        std::string content = "BT /F1 10 Tf\n" + left.operators;
        Column right;
        if (isSpread(n)) {
            right = makeColumn(random, n, kPageWidth + kMargin, kPageWidth - 2 * kMargin);
            content += right.operators;
        }
        content += "ET\n";
        std::string annots;
        for (int k = 2; k < objectsOfPage(n); ++k) annots += ref(first + k) + " ";
        char box[64];
        std::snprintf(box, sizeof box, "[0 0 %.0f %.0f]", width, kPageHeight);
        object(first, "<< /Type /Page /Parent 2 0 R /MediaBox " + std::string(box) +
                          (isRotated(n) ? " /Rotate 90" : "") +
                          " /Resources << /Font << /F1 3 0 R >> >> /Contents " + ref(first + 1) +
                          " /Annots [" + annots + "] >>");
        std::string packed = deflate(content);
        object(first + 1, "<< /Length " + std::to_string(packed.size()) +
                              " /Filter /FlateDecode >>\nstream\n" + packed + "\nendstream");
        writeAnnotations(n, left, right);
    }

    void writeAnnotations(int n, const Column& left, const Column& right) {
        int first = firstObject_[n - 1];
        std::string page = ref(first);
        object(first + 2, uriLink(left.firstWeb, n, "guide"));
        int target = (n - 1 + 7) % pages_;
        std::string dest = ref(firstObject_[target]);
        dest = "[" + dest + " /XYZ 72 700 0]";
        std::string goTo = n % 2 ? "/Dest " + dest : "/A << /S /GoTo /D " + dest + " >>";
        object(first + 3, "<< /Type /Annot /Subtype /Link /Rect [72 40 200 56] /Border [0 0 0] " +
                              goTo + " >>");
        object(first + 4, "<< /Type /Annot /Subtype /Square /Rect [420 30 520 60] /P " + page +
                              " /AP << /N 4 0 R >> /A << /S /Named /N /" +
                              (n % 2 ? "NextPage" : "PrevPage") + " >> >>");
        std::string widget = "<< /Type /Annot /Subtype /Widget /FT /Btn /Ff 65536 /T (button";
        widget += std::to_string(n) + ") /Rect [260 30 380 60] /P " + page;
        widget += " /AP << /N 4 0 R >> /AA << /D << /S /URI /URI (https://www.example.org/widget/";
        widget += std::to_string(n) + ") >> >> >>";
        object(first + 5, widget);
        if (!isSpread(n)) return;
        object(first + 6, uriLink(right.firstWeb, n, "right"));
        object(first + 7, uriLink({560, 20, 680, 36}, n, "middle"));
    }

    // A link over the given text box, or in the bottom corner when the column had no address.
    static std::string uriLink(Box box, int n, const char* what) {
        if (box.x1 < box.x0) box = {500, 740, 580, 756};
        return "<< /Type /Annot /Subtype /Link /Rect " + rect(box) +
               " /Border [0 0 0] /A << /S /URI /URI (https://www.example.org/" + what + "/" +
               std::to_string(n) + ") >> >>";
    }

    std::string finish() {
        size_t xref = out_.size();
        out_ += "xref\n0 " + std::to_string(offsets_.size()) + "\n0000000000 65535 f \n";
        char entry[32];
        for (size_t i = 1; i < offsets_.size(); ++i) {
            std::snprintf(entry, sizeof entry, "%010zu 00000 n \n", offsets_[i]);
            out_ += entry;
        }
        char id[40];
        std::snprintf(id, sizeof id, "%032x", static_cast<unsigned>(pages_) * 2654435761u);
        out_ += "trailer\n<< /Size " + std::to_string(offsets_.size()) + " /Root 1 0 R /ID [<" +
                id + "> <" + id + ">] >>\nstartxref\n" + std::to_string(xref) + "\n%%EOF\n";
        return out_;
    }

    int pages_;
    std::vector<int> firstObject_;
    std::vector<size_t> offsets_;
    std::string out_;
};

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3 || std::atoi(argv[1]) < 1) {
        std::fprintf(stderr, "usage: make_book <pages> <out.pdf>\n");
        return 2;
    }
    std::string pdf = BookWriter(std::atoi(argv[1])).write();
    FILE* file = std::fopen(argv[2], "wb");
    if (!file) {
        std::perror(argv[2]);
        return 1;
    }
    bool written = std::fwrite(pdf.data(), 1, pdf.size(), file) == pdf.size();
    if (std::fclose(file) != 0 || !written) {
        std::perror(argv[2]);
        return 1;
    }
    return 0;
}
