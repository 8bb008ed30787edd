#!/usr/bin/env python3
"""Turns benchmark results into the tables of docs/PERFORMANCE.md.

Reads every JSON result in the results directory (Google Benchmark's --benchmark_out format,
as `make bench` writes them, and bench/whole_process.py's output in the same format). Files
named PROGRAM.json and PROGRAM.runN.json are pooled as runs of one program.

Benchmarks are paired by name: BM_<Job>_Library (or BM_<Job>_Library<Variant>) beside every
BM_<Job>_<Peer> with the same arguments (/10, /1000, ...). For every repetition the ratio is
peer time / library time (a speed-up: above 1 the library is faster); a row shows the median
times of both sides and the median and the range (lowest-highest) of the ratio. CPU time is
used, except for benchmarks measured in wall time (UseRealTime, UseManualTime, whole processes).

Without --write the tables are printed. With --write PAGE, the table of each program replaces
what stands between the lines "<!-- generated: PROGRAM -->" and "<!-- end -->" of the page;
everything else in the page is kept as it is. A program that has no such lines yet gets a new
section with them at the end of the page.

Usage: python3 bench/report.py [--results build/bench-results] [--write docs/PERFORMANCE.md]
"""
import argparse
import glob
import json
import os
import re
import statistics
import sys

UNIT_NS = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}
WALL_MARKS = ("/real_time", "/manual_time", "/process")
# Parts of a benchmark name that say how it was run, not what it measured.
RUN_PARTS = re.compile(r"^(iterations|repeats|min_time|min_warmup_time|threads):|^(real_time|manual_time|process)$")
BEGIN = "<!-- generated: %s -->"
END = "<!-- end -->"


def program_of(path):
    name = os.path.basename(path)[:-len(".json")]
    return re.sub(r"\.run\d+$", "", name)


def split_name(name):
    """('StringMapGet', 'Library', '10') for 'BM_StringMapGet_Library/10/real_time'; None when
    the name does not follow the BM_<Job>_<Side> scheme."""
    parts = name.split("/")
    match = re.match(r"^BM_(\w+)_([A-Za-z0-9]+)$", parts[0])
    if not match:
        return None
    args = [p for p in parts[1:] if not RUN_PARTS.match(p)]
    return match.group(1), match.group(2), "/".join(args)


def load(results_dir):
    """program -> {"samples": {(job, side, args): [(repetition key, ns, wall, peak KiB)]}, "context": [...]}"""
    programs = {}
    for path in sorted(glob.glob(os.path.join(results_dir, "*.json"))):
        try:
            with open(path) as f:
                data = json.load(f)
        except (OSError, ValueError) as error:
            print("report: skipping %s: %s" % (path, error), file=sys.stderr)
            continue
        program = programs.setdefault(program_of(path), {"samples": {}, "context": []})
        program["context"].append(data.get("context", {}))
        for bench in data.get("benchmarks", []):
            if bench.get("run_type", "iteration") != "iteration" or bench.get("error_occurred"):
                continue
            key = split_name(bench["name"])
            if key is None:
                print("report: %s: '%s' is not named BM_<Job>_<Side>" % (path, bench["name"]), file=sys.stderr)
                continue
            wall = any(mark in bench["name"] for mark in WALL_MARKS)
            seconds = bench["real_time" if wall else "cpu_time"] * UNIT_NS[bench.get("time_unit", "ns")]
            repetition = (path, bench.get("repetition_index", 0))
            program["samples"].setdefault(key, []).append((repetition, seconds, wall, bench.get("peak_kib")))
    return programs


def format_time(ns):
    for unit, scale in (("s", 1e9), ("ms", 1e6), ("µs", 1e3)):
        if ns >= scale:
            return "%.3g %s" % (ns / scale, unit)
    return "%.3g ns" % ns


def format_ratio(value):
    return "%.2f" % value if value < 10 else "%.1f" % value


def arg_key(args):
    return [int(a) if a.lstrip("-").isdigit() else a for a in args.split("/")] if args else []


def rows_of(program):
    """The table rows of one program, by job name and size."""
    samples = program["samples"]
    jobs = []
    for job, side, args in samples:
        if (job, args) not in jobs:
            jobs.append((job, args))
    names = sorted(dict.fromkeys(j for j, _ in jobs))
    jobs.sort(key=lambda ja: (names.index(ja[0]), arg_key(ja[1])))
    rows = []
    for job, args in jobs:
        sides = [side for j, side, a in samples if j == job and a == args]
        libraries = [s for s in sides if s.startswith("Library")]
        peers = [s for s in sides if not s.startswith("Library")]
        for library in libraries:
            lib = samples[(job, library, args)]
            for peer in peers:
                other = samples[(job, peer, args)]
                by_repetition = {r: t for r, t, _, _ in other}
                ratios = [by_repetition[r] / t for r, t, _, _ in lib if r in by_repetition and t > 0]
                if not ratios:
                    continue
                row = {"job": job, "args": args, "library": library, "peer": peer,
                       "library_ns": statistics.median(t for _, t, _, _ in lib),
                       "peer_ns": statistics.median(t for _, t, _, _ in other),
                       "ratio": statistics.median(ratios), "low": min(ratios), "high": max(ratios),
                       "count": len(ratios), "wall": lib[0][2]}
                peaks = ([p for _, _, _, p in lib if p], [p for _, _, _, p in other if p])
                if peaks[0] and peaks[1]:
                    row["peaks"] = (statistics.median(peaks[0]), statistics.median(peaks[1]))
                rows.append(row)
    return rows


def table(name, program):
    rows = rows_of(program)
    if not rows:
        return "(no paired results)"
    with_args = any(r["args"] for r in rows)
    with_peaks = any("peaks" in r for r in rows)
    head = ["job"] + (["size"] if with_args else []) + ["library", "peer", "library time", "peer time"]
    head += (["library memory", "peer memory"] if with_peaks else []) + ["speed-up (median)", "range"]
    lines = ["| " + " | ".join(head) + " |", "|" + "---|" * len(head)]
    for r in rows:
        cells = [r["job"]] + ([r["args"].replace("/", ", ")] if with_args else [])
        cells += [r["library"], r["peer"], format_time(r["library_ns"]), format_time(r["peer_ns"])]
        if with_peaks:
            peaks = r.get("peaks")
            cells += ["%.1f MB" % (peaks[0] / 1024), "%.1f MB" % (peaks[1] / 1024)] if peaks else ["", ""]
        cells += ["**%s**" % format_ratio(r["ratio"]), "%s-%s" % (format_ratio(r["low"]), format_ratio(r["high"]))]
        lines.append("| " + " | ".join(cells) + " |")
    contexts = program["context"]
    counts = sorted({r["count"] for r in rows})
    loads = [c["load_avg"][0] for c in contexts if c.get("load_avg")]
    note = "%s; %s per side and row%s; %s time%s." % (
        name, "/".join(str(c) for c in counts) + " repetitions",
        " from %d runs" % len(contexts) if len(contexts) > 1 else "",
        "wall" if all(r["wall"] for r in rows) else "CPU" if not any(r["wall"] for r in rows) else "CPU or wall",
        ", load average %.1f at the start" % max(loads) if loads else "")
    dates = sorted(c.get("date", "") for c in contexts if c.get("date"))
    if dates:
        note += " Measured %s." % dates[-1][:16].replace("T", " ")
    return "\n".join(lines) + "\n\n" + note


def write_page(path, programs):
    with open(path) as f:
        page = f.read()
    for name in programs:
        generated = table(name, programs[name])
        begin = BEGIN % name
        start = page.find(begin)
        if start < 0:
            page = page.rstrip("\n") + "\n\n## %s\n\n%s\n%s\n%s\n" % (name, begin, generated, END)
            continue
        stop = page.find(END, start)
        if stop < 0:
            sys.exit("report: %s: '%s' has no '%s' after it" % (path, begin, END))
        page = page[:start] + begin + "\n" + generated + "\n" + page[stop:]
    with open(path, "w") as f:
        f.write(page)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--results", default="build/bench-results")
    parser.add_argument("--write", metavar="PAGE")
    args = parser.parse_args()
    programs = load(args.results)
    if not programs:
        sys.exit("report: no results in %s (run make bench first)" % args.results)
    if args.write:
        write_page(args.write, programs)
    else:
        for name, program in programs.items():
            print("## %s\n\n%s\n" % (name, table(name, program)))


if __name__ == "__main__":
    main()
