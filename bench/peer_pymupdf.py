"""PyMuPDF peer: `peer_pymupdf.py links|text <book.pdf>`.

links reads every page's links (get_links), text every page's characters with their boxes
(get_text('rawdict')), so both are the peer's counterpart of one job. Prints a count, so the
work cannot be skipped.
"""
import sys

import fitz


def main():
    mode, path = sys.argv[1], sys.argv[2]
    count = 0
    with fitz.open(path) as doc:
        for page in doc:
            if mode == "links":
                count += len(page.get_links())
            else:
                for block in page.get_text("rawdict")["blocks"]:
                    for line in block.get("lines", ()):
                        for span in line["spans"]:
                            count += len(span["chars"])
    print(count)


if __name__ == "__main__":
    main()
