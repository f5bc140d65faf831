#!/usr/bin/env python3
"""Makes hundred.docx, hundred.odt and hundred.doc in FOLDER, by an office program.

    make_documents.py FOLDER
"""

import pathlib
import subprocess
import sys

FORMATS = ["docx:MS Word 2007 XML", "odt:writer8", "doc:MS Word 97"]


def page(number):
    words = "The quick brown fox jumps over the lazy dog and goes on to the next line of text. "
    rows = "".join(f"<tr><td>{i}</td><td><b>cell {i}</b></td></tr>" for i in range(5))
    items = "".join(f"<li>item {i}</li>" for i in range(5))
    return (f"<h2>Chapter {number}</h2>"
            + f"<p>{words * 4}<b>bold</b> <i>italic</i> <a href='http://a.org/{number}'>link</a></p>" * 5
            + f"<ol>{items}</ol><table border=1>{rows}</table>")


def main():
    folder = pathlib.Path(sys.argv[1])
    folder.mkdir(parents=True, exist_ok=True)
    html = folder / "hundred.html"
    html.write_text("<html><body>" + "".join(page(i) for i in range(100)) + "</body></html>")
    profile = (folder / "profile").absolute().as_uri()
    for form in FORMATS:
        subprocess.run(["soffice", f"-env:UserInstallation={profile}", "--headless",
                        "--infilter=HTML (StarWriter)", "--convert-to", form, "--outdir", str(folder),
                        str(html)], check=True, stdout=subprocess.DEVNULL)


if len(sys.argv) != 2:
    sys.exit(__doc__)
main()
