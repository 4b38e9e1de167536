#!/usr/bin/python3
"""Runs our benchmarks and the peers' in one go and prints times with ratios.

Our times come from zt_bench (Google Benchmark, JSON). Each peer is a script bench/peers/*_peers.py
that prints lines "Group/what milliseconds" for the same work on the same pixels. Within a
group (the part of a name before the first '/'), every one of our results is printed as a
ratio to every peer result (or to those whose line names a text our result's name contains):
below 1 means we are faster.
"""
import fnmatch
import json
import os
import subprocess
import sys
import tempfile

here = os.path.dirname(os.path.abspath(__file__))
build = sys.argv[1] if len(sys.argv) > 1 else os.path.join(here, "..", "build")
extra = sys.argv[2:]


def ours():
    with tempfile.NamedTemporaryFile(suffix=".json") as out:
        # The median of repeated runs, the statistic the peers report too: on a shared machine
        # a mean takes in every pause of the neighbours.
        subprocess.run([os.path.join(build, "bench", "zt_bench"), "--benchmark_out=" + out.name,
                        "--benchmark_out_format=json", "--benchmark_repetitions=5",
                        "--benchmark_report_aggregates_only=true"] + extra, check=True, stdout=sys.stderr)
        data = json.load(open(out.name))
    times = {}
    for b in data["benchmarks"]:
        if b.get("aggregate_name") != "median":
            continue
        scale = {"ns": 1e-6, "us": 1e-3, "ms": 1.0, "s": 1e3}[b.get("time_unit", "ns")]
        times[b["run_name"].replace("/real_time", "")] = b["real_time"] * scale
    return times


def peers():
    times = {}
    for script in sorted(os.listdir(os.path.join(here, "peers"))):
        # Only the *_peers.py scripts are benchmarks; the rest there are helpers they import.
        if not fnmatch.fnmatch(script, "*_peers.py"):
            continue
        run = subprocess.run(["/usr/bin/python3", os.path.join(here, "peers", script)], capture_output=True, text=True)
        if run.returncode != 0:
            print("peer %s skipped: %s" % (script, run.stderr.strip().splitlines()[-1:] or "failed"), file=sys.stderr)
            continue
        for line in run.stdout.splitlines():
            # "Group/what ms", optionally followed by a text that the names of the results
            # it is to be compared with must contain.
            name, ms, *only = line.split()
            times[name] = (float(ms), only[0] if only else "")
    return times


def main():
    mine, theirs = ours(), peers()
    print("\n%-48s %10s" % ("benchmark", "ms"))
    for name, ms in list(mine.items()) + [(n, t[0]) for n, t in theirs.items()]:
        print("%-48s %10.2f" % (name, ms))
    print("\nRatios, ours / peer (below 1: ours is faster):")
    for name, ms in mine.items():
        group = name.split("/")[0]
        for peer, (peer_ms, only) in theirs.items():
            if peer.split("/")[0] == group and peer_ms > 0 and only in name:
                print("  %-44s / %-36s %6.2f" % (name, peer, ms / peer_ms))


main()
