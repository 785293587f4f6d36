"""Turns the raw measurements of scripts/bench into the results table, the plot and the targets.

    report.py <measurements.tsv> <results.md> [--plot <file.png>] [--header <text-file>]

The measurements file has one line per run: book pages, pages walked, case, run, wall seconds,
CPU seconds, peak kB, status, output check. Every figure is the median over a case's runs and is
set against the limit program's mode for the same kind of work, measured in the same session.
Prints the ratios and the targets; the exit status is 0 whatever the figures are, since the
harness reports, it does not judge.
"""
import statistics
import subprocess
import sys
from collections import defaultdict

# case -> (label, limit case it is compared with)
CASES = {
    "tool-b": ("PDFAnnotations -b (page editor)", "limit-a"),
    "tool-b-html5": ("PDFAnnotations -b html5=1 (slides)", "limit-a"),
    "tool-a": ("PDFAnnotations -a (text to link, all cores)", "limit-c"),
    "tool-a-w1": ("PDFAnnotations -a, 1 worker (taskset)", "limit-c"),
    "tool-a-w2": ("PDFAnnotations -a, 2 workers (taskset)", "limit-c"),
    "limit-a": ("limit (a) annotations to XML", "limit-a"),
    "limit-b": ("limit (b) text with boxes", "limit-b"),
    "limit-c": ("limit (c) text + links + save", "limit-c"),
    "pdfinfo-url": ("poppler pdfinfo -url", "limit-a"),
    "pdftotext-bbox": ("poppler pdftotext -bbox", "limit-b"),
    "pymupdf-links": ("PyMuPDF get_links", "limit-a"),
    "pymupdf-rawdict": ("PyMuPDF get_text('rawdict')", "limit-b"),
    "pdfjs-annots": ("pdf.js getAnnotations", "limit-a"),
    "pdfjs-text": ("pdf.js getTextContent", "limit-b"),
}
PLOTTED = ["tool-b", "tool-b-html5", "tool-a", "tool-a-w1", "tool-a-w2", "limit-a", "limit-b", "limit-c",
           "pdfinfo-url", "pdftotext-bbox", "pymupdf-links", "pymupdf-rawdict",
           "pdfjs-annots", "pdfjs-text"]


class Figure:
    """The medians of one case on one book."""

    def __init__(self, rows):
        ok = [r for r in rows if r["status"] == "0"]
        self.runs = len(rows)
        self.statuses = sorted({r["status"] for r in rows})
        self.check = next((r["check"] for r in rows if r["check"] != "-"), "-")
        # A job that left nothing behind was not doing the work, however fast it was.
        self.no_output = self.check in ("xml: 0", "links: +0")
        self.ok = bool(ok) and not self.no_output
        self.missing = all(r["status"] == "missing" for r in rows)
        use = ok or rows
        self.wall = statistics.median(float(r["wall"]) for r in use)
        self.cpu = statistics.median(float(r["cpu"]) for r in use)
        self.kb = statistics.median(int(r["kb"]) for r in use)


def read_measurements(path):
    fields = ["book", "pages", "case", "run", "wall", "cpu", "kb", "status", "check"]
    groups = defaultdict(list)
    with open(path, encoding="utf-8") as file:
        for line in file:
            row = dict(zip(fields, line.rstrip("\n").split("\t")))
            if len(row) == len(fields):
                groups[(int(row["book"]), int(row["pages"]), row["case"])].append(row)
    return {key: Figure(rows) for key, rows in groups.items()}


def ratio(value, base):
    return value / base if base > 0 else float("nan")


def describe_status(figure):
    if figure.missing:
        return "missing"
    if figure.no_output:
        return "no output"
    if figure.ok and figure.statuses == ["0"]:
        return "ok"
    return "failed (" + ", ".join(figure.statuses) + ")"


def table(figures):
    lines = [
        "| Case | Book pages | Pages walked | Runs | Time (s) | ms/page | × limit | "
        "Peak RSS (MB) | × limit | CPU (s) | Output | Status |",
        "|---|---:|---:|---:|---:|---:|---:|---:|---:|---:|---|---|",
    ]
    order = {case: i for i, case in enumerate(CASES)}
    for (book, pages, case) in sorted(figures, key=lambda k: (k[1] != k[0], k[0], order.get(k[2], 99))):
        f = figures[(book, pages, case)]
        label, base_case = CASES.get(case, (case, case))
        if f.missing:
            lines.append(f"| {label} | {book} | {pages} | – | – | – | – | – | – | – | – | missing |")
            continue
        base = figures.get((book, pages, base_case))
        wall_ratio = ratio(f.wall, base.wall) if base else float("nan")
        kb_ratio = ratio(f.kb, base.kb) if base else float("nan")
        lines.append(
            f"| {label} | {book} | {pages} | {f.runs} | {f.wall:.3f} | {1000 * f.wall / pages:.3f} | "
            f"{wall_ratio:.2f} ({base_case}) | {f.kb / 1024:.1f} | {kb_ratio:.2f} | {f.cpu:.3f} | "
            f"{f.check} | {describe_status(f)} |")
    return lines


class Targets:
    """Checks the performance targets on the largest book measured."""

    def __init__(self, figures):
        self.figures = figures
        whole = [k for k in figures if k[0] == k[1]]
        self.sizes = sorted({k[0] for k in whole})
        self.lines = []

    def get(self, book, case, pages=None):
        f = self.figures.get((book, pages or book, case))
        return f if f and f.ok else None

    def add(self, text, passed):
        verdict = "n/a (not measured or failed)" if passed is None else ("PASS" if passed else "FAIL")
        self.lines.append(f"- {text}: **{verdict}**")

    MEASURES = {"time": lambda f: f.wall, "CPU time": lambda f: f.cpu, "memory": lambda f: f.kb}

    def compare(self, text, case, base_case, limit, what="time"):
        big = self.sizes[-1]
        f, base = self.get(big, case), self.get(big, base_case)
        if not (f and base):
            return self.add(f"{text} at {big} pages", None)
        key = self.MEASURES[what]
        value = ratio(key(f), key(base))
        cpu = f"; CPU time {ratio(f.cpu, base.cpu):.2f}×" if what == "time" else ""
        self.add(f"{text} at {big} pages: {value:.2f}× (target ≤ {limit}×{cpu})", value <= limit)

    def scaling(self):
        """How -a scales with its workers: information beside the targets, not a target."""
        big = self.sizes[-1]
        names = {"tool-a-w1": "1 worker", "tool-a-w2": "2 workers", "tool-a": "all cores"}
        rows = [(names[c], self.get(big, c)) for c in names]
        rows = [(name, f) for name, f in rows if f]
        if len(rows) < 2 or rows[0][0] != "1 worker":
            return
        one = rows[0][1]
        parts = [f"{name} {f.wall:.2f} s wall, {f.cpu:.2f} s CPU "
                 f"({ratio(one.wall, f.wall):.2f}× the speed of 1 worker)" for name, f in rows]
        self.lines.append(f"- scaling of -a at {big} pages: " + "; ".join(parts))

    def evaluate(self):
        if not self.sizes:
            return ["- no measurements"]
        big, small = self.sizes[-1], self.sizes[0]
        for case in ("tool-b", "tool-b-html5"):
            name = CASES[case][0]
            self.compare(f"{name} time vs limit (a)", case, "limit-a", 1.5)
            f, g = self.get(big, case), self.get(small, case)
            if f and g and big != small:
                growth = (f.wall / big) / (g.wall / small)
                cpu = (f.cpu / big) / (g.cpu / small) if g.cpu > 0 else float("nan")
                self.add(f"{name} time/page at {big} vs {small} pages: {growth:.2f}× "
                         f"(target ≤ 1.25×; CPU time {cpu:.2f}×)", growth <= 1.25)
            else:
                self.add(f"{name} time/page growth", None)
            self.compare(f"{name} CPU time vs limit (a)", case, "limit-a", 1.2, "CPU time")
            self.compare(f"{name} peak memory vs limit (a)", case, "limit-a", 1.5, "memory")
        self.compare("PDFAnnotations -a time vs limit (c)", "tool-a", "limit-c", 1.3)
        self.compare("PDFAnnotations -a time on every core vs limit (c)", "tool-a", "limit-c", 0.6)
        self.compare("PDFAnnotations -a CPU time vs limit (c)", "tool-a", "limit-c", 1.2,
                     "CPU time")
        a, poppler = self.get(big, "tool-a"), self.get(big, "pdftotext-bbox")
        if a and poppler:
            self.add(f"PDFAnnotations -a at {big} pages: {a.wall:.2f} s vs pdftotext -bbox "
                     f"{poppler.wall:.2f} s (target: faster)", a.wall < poppler.wall)
        else:
            self.add(f"PDFAnnotations -a faster than pdftotext -bbox at {big} pages", None)
        for case in ("tool-a", "tool-a-w1", "tool-a-w2"):
            if case == "tool-a" or self.get(big, case):
                self.compare(f"{CASES[case][0]} peak memory vs limit (c)", case, "limit-c", 1.5,
                             "memory")
        self.scaling()
        for case, base_case in (("tool-b", "limit-a"), ("tool-a", "limit-c")):
            f, base = self.get(big, case, 1), self.get(big, base_case, 1)
            text = f"one-page {CASES[case][0]} minus one-page {base_case} ({big}-page book)"
            if f and base:
                extra = 1000 * (f.wall - base.wall)
                cpu = 1000 * (f.cpu - base.cpu)
                self.add(f"{text}: {extra:+.1f} ms (target ≤ 20 ms; CPU time {cpu:+.1f} ms)",
                         extra <= 20)
            else:
                self.add(text, None)
        return self.lines


def plot(figures, png):
    whole = {k: f for k, f in figures.items() if k[0] == k[1] and f.ok}
    series = [c for c in PLOTTED if any(k[2] == c for k in whole)]
    if not series:
        return
    script = [
        "set terminal pngcairo noenhanced size 1000,640 font 'sans,10'",
        f"set output '{png}'",
        "set title 'Time per page against book size (median wall time)'",
        "set logscale xy", "set xlabel 'pages'", "set ylabel 'ms per page'",
        "set key outside right", "set grid",
    ]
    plots, data = [], []
    for case in series:
        points = sorted((k[0], 1000 * f.wall / k[0]) for k, f in whole.items() if k[2] == case)
        style = "lw 3" if case.startswith("tool") else ("lw 2 dt 2" if case.startswith("limit") else "lw 1")
        plots.append(f"'-' with linespoints {style} title \"{CASES[case][0]}\"")
        data.append("\n".join(f"{x} {y}" for x, y in points) + "\ne")
    script.append("plot " + ", ".join(plots))
    script.extend(data)
    subprocess.run(["gnuplot"], input="\n".join(script) + "\n", text=True, check=True)


def main(argv):
    args = list(argv[1:])
    png = header = None
    if "--plot" in args:
        i = args.index("--plot")
        png = args.pop(i + 1)
        args.pop(i)
    if "--header" in args:
        i = args.index("--header")
        header = args.pop(i + 1)
        args.pop(i)
    figures = read_measurements(args[0])
    targets = Targets(figures).evaluate()
    out = ["# Benchmark results", ""]
    if header:
        with open(header, encoding="utf-8") as file:
            out += file.read().rstrip("\n").split("\n") + [""]
    out += table(figures) + ["", "## Targets", ""] + targets + [""]
    if png:
        plot(figures, png)
        out += [f"![time per page]({png.rsplit('/', 1)[-1]})", ""]
    with open(args[1], "w", encoding="utf-8") as file:
        file.write("\n".join(out))
    print("\n".join(table(figures)))
    print("\nTargets:")
    print("\n".join(targets))


if __name__ == "__main__":
    main(sys.argv)
