#!/usr/bin/env python3
"""How near the text that programs take from RTF files is to the text that is expected.

    rtf_similarity.py FOLDER PROGRAM [ARGUMENT]...

FOLDER holds pairs of NAME.rtf and NAME.txt. PROGRAM is run for each with the RTF file as its last
argument and prints the text. The figure of a file is the similarity of both sequences of words (2 x
common words / all words). What some expected texts add to the words, bars between cells and addresses
behind links (link("address")), does not count. The last line has the mean over the files and the figure of all files taken as one text.
"""

import difflib
import pathlib
import re
import subprocess
import sys


def words(text):
    return re.sub(r'\("[^"]*"\)', "", text).replace("|", " ").split()


def main():
    if len(sys.argv) < 3:
        sys.exit(__doc__)
    figures, common, total = [], 0, 0
    for rtf in sorted(pathlib.Path(sys.argv[1]).glob("*.rtf")):
        expected = words(rtf.with_suffix(".txt").read_text(errors="replace"))
        run = subprocess.run([*sys.argv[2:], str(rtf)], capture_output=True, timeout=60, check=False)
        got = words(run.stdout.decode(errors="replace"))
        matcher = difflib.SequenceMatcher(None, expected, got, autojunk=False)
        same = sum(block.size for block in matcher.get_matching_blocks())
        both = len(expected) + len(got)
        figures.append(2 * same / both if both else 1)
        common += 2 * same
        total += both
        print(f"{figures[-1]:.3f}  {len(expected):6} {len(got):6}  {rtf.name}")
    print(f"{sum(figures) / len(figures):.3f} mean, {common / total:.3f} of all words")


main()
