"""Times two commands in turn: pair.py --ours COMMAND --peer COMMAND [--runs N] [--in FOLDER]
       (--row CASE OTHER --target RATIO --mebibytes BOUND | --growth CASE)

Both run once without being counted and then N times each, A B A B ..., every time in a fresh, empty folder that is
made inside FOLDER. Prints a row of the table: medians of wall seconds and peak memory, and the median of the ratios
peer / ours, taken pair by pair. A command is split as a shell splits words; one that needs a shell says sh -c.
"""

import argparse
import os
import shlex
import shutil
import statistics
import sys
import tempfile
import time


def run(command, folder):
    """Wall seconds and peak memory (MiB) of one run."""
    work = tempfile.mkdtemp(dir=folder)
    null = os.open(os.devnull, os.O_RDWR)
    start = time.monotonic()
    child = os.fork()
    if child == 0:
        os.chdir(work)
        for stream in (0, 1, 2):
            os.dup2(null, stream)
        try:
            os.execvp(command[0], command)
        finally:
            os._exit(127)
    _, status, usage = os.wait4(child, 0)
    seconds = time.monotonic() - start
    os.close(null)
    shutil.rmtree(work)
    if os.waitstatus_to_exitcode(status) != 0:
        sys.exit(f"failed: {shlex.join(command)}")
    return seconds, usage.ru_maxrss / 1024


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--runs", type=int, default=7)
    parser.add_argument("--in", dest="folder", default=tempfile.gettempdir())
    parser.add_argument("--ours", required=True)
    parser.add_argument("--peer", required=True)
    parser.add_argument("--row", nargs=2)
    parser.add_argument("--target", type=float, default=0)
    parser.add_argument("--mebibytes", type=float, default=0)
    parser.add_argument("--growth")
    options = parser.parse_args()
    commands = [shlex.split(options.ours), shlex.split(options.peer)]
    for command in commands:
        run(command, options.folder)
    pairs = [[run(command, options.folder) for command in commands] for _ in range(options.runs)]

    def median(value):
        return statistics.median(value(pair) for pair in pairs)

    ours, peer = median(lambda pair: pair[0][0]), median(lambda pair: pair[1][0])
    our_peak, peer_peak = median(lambda pair: pair[0][1]), median(lambda pair: pair[1][1])
    ratio = median(lambda pair: pair[1][0] / pair[0][0])
    if options.growth:
        print(f"| {options.growth} | {ours:.3f} | {peer:.3f} | {ratio:.1f} | {our_peak:.0f} | {peer_peak:.0f} |")
        return
    met = ratio >= options.target and (our_peak <= options.mebibytes or not options.mebibytes)
    verdict = "" if not (options.target or options.mebibytes) else "met" if met else "MISSED"
    target = f">= {options.target:g}" if options.target else ""
    bound = f" (<= {options.mebibytes:.0f})" if options.mebibytes else ""
    print(f"| {options.row[0]} | {options.row[1]} | {peer:.3f} | {ours:.3f} | {ratio:.2f} | {target} | {verdict} | "
          f"{peer_peak:.0f} | {our_peak:.0f}{bound} |")


main()
