#!/usr/bin/env python3
"""CPU time and peak memory of the movie worker against ffmpeg, for the frame at 15 s:

    movie_frame_bench.py [--rounds N] WORKER [MOVIE]

A minute of 1080p H.264 with a key frame every 250 is made when no movie is named. Programs run in
turn. ffmpeg seeks and writes raw pixels, or an LZW-compressed TIFF as the worker does, whose time
includes starting and writing its answer as text. The last line tells whether the frames agree.
"""

import argparse
import base64
import json
import os
import re
import statistics
import subprocess
import tempfile

MOVIE = ("-f lavfi -i testsrc2=s=1920x1080:r=30:d=60,noise=alls=12:allf=t -c:v libx264"
         " -preset veryfast -g 250 -keyint_min 250 -sc_threshold 0 -b:v 6M -pix_fmt yuv420p"
         " -colorspace bt709").split()


def measure(command, out):
    """User and system time in seconds, peak memory in MB."""
    with open(out, "wb") as stream:
        process = subprocess.Popen(command, stdout=stream, stderr=subprocess.DEVNULL)
    _, _, usage = os.wait4(process.pid, 0)
    process.returncode = 0
    return usage.ru_utime + usage.ru_stime, usage.ru_maxrss / 1024


def likeness(first, second):
    """PSNR of the luma in dB; None when the pictures cannot be compared. The chroma is spread in
    another way."""
    graph = "[0]format=gray[a];[1]format=gray[b];[a][b]psnr"
    result = subprocess.run(["ffmpeg", "-i", first, "-i", second, "-lavfi", graph, "-f", "null",
                             "-"], capture_output=True, text=True)
    found = re.search(r"average:(\S+)", result.stderr)
    return float(found.group(1)) if found else None


def main():
    arguments = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    arguments.add_argument("--rounds", type=int, default=5)
    arguments.add_argument("worker")
    arguments.add_argument("movie", nargs="?")
    options = arguments.parse_args()

    with tempfile.TemporaryDirectory() as folder:
        movie = options.movie
        if not movie:
            movie = os.path.join(folder, "movie.mp4")
            subprocess.run(["ffmpeg", "-v", "error", *MOVIE, movie], check=True)
        tiff, answer = os.path.join(folder, "frame.tiff"), os.path.join(folder, "answer")
        seek = ["ffmpeg", "-v", "quiet", "-y", "-ss", "15", "-i", movie, "-frames:v", "1"]
        commands = {
            "ffmpeg, raw": seek + ["-f", "rawvideo", "-pix_fmt", "rgb24", "/dev/null"],
            "ffmpeg, TIFF": seek + ["-compression_algo", "lzw", "-pix_fmt", "rgb24", tiff],
            "worker": [options.worker, "--once", "thumbnail", "path=" + os.path.abspath(movie)],
        }
        samples = {name: [] for name in commands}
        for _ in range(options.rounds):
            for name, command in commands.items():
                samples[name].append(measure(command, answer))
        base = None
        for name, figures in samples.items():
            time, memory = (statistics.median(column) for column in zip(*figures))
            base = base or (time, memory)
            print("%-14s %7.0f ms %5.2f   %5.0f MB %5.2f" % (
                name, time * 1000, time / base[0], memory, memory / base[1]))
        with open(answer) as stream:
            result = json.loads(stream.readlines()[-1])["result"]
        frame = os.path.join(folder, "worker.tiff")
        with open(frame, "wb") as stream:
            stream.write(base64.b64decode(result["Tiff"]["bytes"]))
        decibels = likeness(tiff, frame)
        print("frames agree" if decibels and decibels > 35 else "FRAMES DIFFER", decibels, "dB")


if __name__ == "__main__":
    main()
