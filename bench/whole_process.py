#!/usr/bin/env python3
"""The vonautil tool beside its peers as whole processes, on the same files.

Jobs (each a pair of commands that do the same work; names as the benchmark programs use them):
  TextConvert   vonautil text convert --from utf8 --to cp1251  beside  iconv -f UTF-8 -t CP1251
  TextDetect    vonautil text detect                            beside  iconv -f UTF-8 -t UTF-8
                (the check that the text is valid UTF-8, which detection makes first)
  CopyTree      vonautil fs copy (log to a file)                beside  cp -r
  RemoveTree    vonautil fs rm                                  beside  rm -rf
  TsCheck       vonautil ts check                               beside  cat > /dev/null

Every run of every job starts both sides in a random order; what a side needs (no destination,
or a fresh copy to remove) is prepared before its timer starts. Wall time and peak resident
memory (`/usr/bin/time -f %M`, which starts each side, the same for both) are recorded per run, and written in the JSON form of Google Benchmark, so that
bench/report.py reads them with the benchmark programs' results.

Usage: python3 bench/whole_process.py [--tool build/vonautil] [--runs 5] [--dir /dev/shm]
                                      [--out build/bench-results/whole_process.json]
"""
import argparse
import json
import os
import random
import shutil
import subprocess
import sys
import tempfile
import time

TEXT_SIZE = 50 * 1000 * 1000
STREAM_SIZE = 100 << 20
FOLDERS, FILES_PER_FOLDER = 200, 100


def make_text(path):
    """50 MB of Latin and Cyrillic lines, every character of which CP1251 holds."""
    words = ["Привет", "мир", "файл", "папка", "Музыка", "фильм", "hello", "world", "Media",
             "track", "Album", "ёлка", "Ёж", "№", "12", "2026", "—", "«кино»", "Жёлтый", "сад"]
    rng = random.Random(5)
    lines = [" ".join(rng.choice(words) for _ in range(rng.randint(3, 14))) for _ in range(5000)]
    block = ("\n".join(lines) + "\n").encode("utf-8")
    with open(path, "wb") as out:
        written = 0
        while written < TEXT_SIZE:
            out.write(block)
            written += len(block)


def crc32_mpeg(data):
    crc = 0xFFFFFFFF
    for byte in data:
        crc ^= byte << 24
        for _ in range(8):
            crc = ((crc << 1) ^ 0x04C11DB7) & 0xFFFFFFFF if crc & 0x80000000 else (crc << 1) & 0xFFFFFFFF
    return crc


def section_packet(pid, table, body, counter):
    section = bytes([table, 0xB0, len(body) + 4]) + body
    section += crc32_mpeg(section).to_bytes(4, "big")
    packet = bytes([0x47, 0x40 | pid >> 8, pid & 0xFF, 0x10 | counter, 0]) + section
    return packet + b"\xff" * (188 - len(packet))


def make_stream(path):
    """100 MB: a program association and a program map section every 50 packets, the rest
    video packets (one in ten starting an elementary stream packet) with random payload, every
    PID's continuity counter in order."""
    bodies = {0x0000: (0x00, bytes([0x00, 0x01, 0xC1, 0x00, 0x00, 0x00, 0x01, 0xE1, 0x00])),
              0x0100: (0x02, bytes([0x00, 0x01, 0xC1, 0x00, 0x00, 0xE1, 0x01, 0xF0, 0x00, 0x1B, 0xE1, 0x01, 0xF0,
                                    0x00]))}
    sections = {pid: [section_packet(pid, table, body, counter) for counter in range(16)]
                for pid, (table, body) in bodies.items()}
    rng = random.Random(2)
    video = 0
    with open(path, "wb") as out:
        packets = STREAM_SIZE // 188
        for group_index, start in enumerate(range(0, packets, 50)):
            group = [sections[0x0000][group_index % 16], sections[0x0100][group_index % 16]]
            payload = rng.randbytes(184 * 48)
            for n in range(48):
                first = (start + 2 + n) % 10 == 2
                header = bytes([0x47, 0x41 if first else 0x01, 0x01, 0x10 | video % 16])
                video += 1
                body = payload[184 * n:184 * (n + 1)]
                if first:
                    body = b"\x00\x00\x01\xe0" + body[4:]
                group.append(header + body)
            out.write(b"".join(group[:packets - start]))


def make_tree(path):
    """20,000 files of 100 to 4,099 bytes in 200 folders (the tree of advanced_file_utils_bench)."""
    rng = random.Random(3)
    content = rng.randbytes(8192)
    os.mkdir(path)
    for folder in range(FOLDERS):
        folder_path = os.path.join(path, "Album %d" % folder)
        os.mkdir(folder_path)
        for file in range(FILES_PER_FOLDER):
            with open(os.path.join(folder_path, "%d track.lrc" % file), "wb") as out:
                out.write(content[:100 + rng.randrange(4000)])


def run(command, stdout, stderr=subprocess.DEVNULL):
    """Wall seconds and peak resident KiB of one process (through `time -f %M`, which reports
    the maximum resident set size of the child it starts); raises when it fails."""
    with tempfile.NamedTemporaryFile("r") as peak:
        start = time.perf_counter()
        status = subprocess.run(["/usr/bin/time", "-f", "%M", "-o", peak.name] + command, stdout=stdout,
                                stderr=stderr).returncode
        elapsed = time.perf_counter() - start
        if status != 0:
            raise RuntimeError("%s exited with %d" % (" ".join(command), status))
        return elapsed, int(peak.read().split()[-1])


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--tool", default="build/vonautil")
    parser.add_argument("--runs", type=int, default=5)
    parser.add_argument("--dir", default="/dev/shm" if os.access("/dev/shm", os.W_OK) else None)
    parser.add_argument("--out", default="build/bench-results/whole_process.json")
    args = parser.parse_args()
    tool = os.path.abspath(args.tool)
    work = tempfile.mkdtemp(prefix="vonautil-whole-", dir=args.dir)
    try:
        text, stream, tree = (os.path.join(work, name) for name in ("text.txt", "stream.ts", "Music"))
        make_text(text)
        make_stream(stream)
        make_tree(tree)
        out_path, copy, log = (os.path.join(work, name) for name in ("out.txt", "copy", "copy.log"))

        def no_copy():
            shutil.rmtree(copy, ignore_errors=True)

        def fresh_copy():
            no_copy()
            subprocess.run(["cp", "-r", tree, copy], check=True)

        def to(path):
            return lambda: open(path, "wb")

        # job -> [(side, command, standard output, preparation)]
        jobs = {
            "TextConvert": [("Library", [tool, "text", "convert", "--from", "utf8", "--to", "cp1251", text],
                             to(out_path), None),
                            ("Iconv", ["iconv", "-f", "UTF-8", "-t", "CP1251", text], to(out_path), None)],
            "TextDetect": [("Library", [tool, "text", "detect", text], to(os.devnull), None),
                           ("IconvCheck", ["iconv", "-f", "UTF-8", "-t", "UTF-8", text], to(os.devnull), None)],
            "CopyTree": [("Library", [tool, "fs", "copy", tree, copy], to(log), no_copy),
                         ("CpR", ["cp", "-r", tree, copy], to(log), no_copy)],
            "RemoveTree": [("Library", [tool, "fs", "rm", copy], to(os.devnull), fresh_copy),
                           ("RmRf", ["rm", "-rf", copy], to(os.devnull), fresh_copy)],
            "TsCheck": [("Library", [tool, "ts", "check", stream], to(os.devnull), None),
                        ("Cat", ["cat", stream], to(os.devnull), None)],
        }
        # The two conversions must agree byte for byte.
        outputs = []
        for side in jobs["TextConvert"]:
            with side[2]() as output:
                run(side[1], output)
            with open(out_path, "rb") as converted:
                outputs.append(converted.read())
        if outputs[0] != outputs[1]:
            sys.exit("whole_process: vonautil text convert and iconv disagree")

        results = []
        for repetition in range(args.runs):
            for job, sides in jobs.items():
                for side, command, output, prepare in random.sample(sides, len(sides)):
                    if prepare:
                        prepare()
                    with output() as stdout:
                        # The tool logs the copy on standard error: into the same log file.
                        seconds, kib = run(command, stdout, stdout if job == "CopyTree" else subprocess.DEVNULL)
                    results.append({"name": "BM_%s_%s/process/real_time" % (job, side), "run_type": "iteration",
                                    "repetition_index": repetition, "iterations": 1,
                                    "real_time": seconds * 1e3, "cpu_time": seconds * 1e3, "time_unit": "ms",
                                    "peak_kib": kib})
            print("whole_process: run %d of %d done" % (repetition + 1, args.runs), file=sys.stderr)
        os.makedirs(os.path.dirname(os.path.abspath(args.out)), exist_ok=True)
        with open(args.out, "w") as out:
            json.dump({"context": {"executable": "bench/whole_process.py", "date": time.strftime("%Y-%m-%dT%H:%M:%S"),
                                   "num_cpus": os.cpu_count(), "load_avg": list(os.getloadavg())},
                       "benchmarks": results}, out, indent=1)
    finally:
        shutil.rmtree(work, ignore_errors=True)


if __name__ == "__main__":
    main()
