#!/usr/bin/env python3
"""CPU time of the PDF worker against pdftotext and mutool:

    pdf_text_bench.py [--rounds N] WORKER [PDF...]

Files of a long manual are made when none are named. Programs run in turn, each on the same file,
output thrown away; the figures are medians of user and system time, and ratios to pdftotext's.
"""

import argparse
import os
import statistics
import subprocess
import sys
import tempfile


def cpu_seconds(command):
    process = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    _, _, usage = os.wait4(process.pid, 0)
    process.returncode = 0
    return usage.ru_utime + usage.ru_stime


def main():
    arguments = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    arguments.add_argument("--rounds", type=int, default=5)
    arguments.add_argument("worker")
    arguments.add_argument("files", nargs="*")
    options = arguments.parse_args()

    with tempfile.TemporaryDirectory() as folder:
        files = options.files
        if not files:
            maker = os.path.join(os.path.dirname(os.path.abspath(__file__)), "make_manual.py")
            for pages in (300, 1000):
                files.append(os.path.join(folder, "manual-%d.pdf" % pages))
                subprocess.run([sys.executable, maker, str(pages), files[-1]], check=True)
        print("%-36s %11s %7s %7s" % ("file", "pdftotext", "worker", "mutool"))
        totals = [0.0, 0.0, 0.0]
        for file in files:
            commands = [["pdftotext", file, "-"],
                        [options.worker, "--once", "convert", "pdf=@" + file],
                        ["mutool", "draw", "-F", "txt", file]]
            times = [[] for _ in commands]
            for _ in range(options.rounds):
                for samples, command in zip(times, commands):
                    samples.append(cpu_seconds(command))
            middle = [statistics.median(samples) for samples in times]
            totals = [a + b for a, b in zip(totals, middle)]
            base = middle[0] or 1e-9
            print("%-36s %8.1f ms %7.2f %7.2f" % (
                os.path.basename(file)[-36:], base * 1000, middle[1] / base, middle[2] / base))
        print("%-36s %8.1f ms %7.2f %7.2f" % (
            "all", totals[0] * 1000, totals[1] / totals[0], totals[2] / totals[0]))


if __name__ == "__main__":
    main()
