#!/usr/bin/env python3
"""Peak memory of mopac-input's commands per byte of input, on inputs of many short lines.

    scripts/memory_per_byte.py [TOOL] [--lines N] [--limit B_PER_B] [--timeout SECONDS]
    defaults: build/release/tools/mopac-input --lines 10000000 --limit 16 --timeout 600

Writes in a temporary folder the inputs below (N lines each, a to d) and
runs show, check, xyz -o /dev/null and edit --charge 1 --force -o OUT on each
under /usr/bin/time, once, and prints the wall time, the peak RSS and the
peak RSS per input byte, marked when over the limit:

  a  "PM7 CHARGE=0", title, comment, then N lines "C" (one-byte atom lines)
  b  the same head, "C 0 0 0", then N lines "*"
  c  the same head, "C 0 0 0", then N empty lines
  d  N lines "PM7 ++" (keyword lines continued), then title, comment, "C 0 0 0"
  e  the 100,000-atom input of compare_obabel.py (it does not depend on N)

The process's own pages (a few MiB) weigh on small inputs: at --lines 10^5
the ratio says little; 10^6 and up it is the memory the reading keeps.
"""
import argparse
import os
import signal
import subprocess
import tempfile
import time
from pathlib import Path

from compare_obabel import write_inputs

HEAD = "PM7 CHARGE=0\ntitle\ndesc\n"


def write(path, parts):
    """Writes (text, repeat) pairs, a repeated line in blocks of 1 MiB or so."""
    with open(path, "w") as out:
        for text, count in parts:
            block = max(1, (1 << 20) // len(text)) if text else count
            whole, rest = divmod(count, block)
            chunk = text * block
            for _ in range(whole):
                out.write(chunk)
            out.write(text * rest)
    return path


def measure(command, timeout):
    """Wall seconds, peak RSS in KiB and exit status of one run; None for the
    memory when the run is stopped at the timeout."""
    start = time.perf_counter()
    process = subprocess.Popen(["/usr/bin/time", "-f", "%M", *command], stdout=subprocess.DEVNULL,
                               stderr=subprocess.PIPE, text=True, start_new_session=True)
    try:
        _, err = process.communicate(timeout=timeout)
    except subprocess.TimeoutExpired:
        os.killpg(process.pid, signal.SIGKILL)  # the group this script started: time and the tool
        process.communicate()
        return time.perf_counter() - start, None, "timeout"
    seconds = time.perf_counter() - start
    lines = err.strip().splitlines()
    # With a fault, time prints "Command terminated by signal" before %M.
    return seconds, int(lines[-1]) if lines and lines[-1].isdigit() else None, process.returncode


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("tool", nargs="?", default="build/release/tools/mopac-input")
    parser.add_argument("--lines", type=int, default=10_000_000)
    parser.add_argument("--limit", type=float, default=16.0, help="bytes of peak RSS per input byte")
    parser.add_argument("--timeout", type=float, default=600.0, help="seconds before a run is stopped")
    args = parser.parse_args()
    n = args.lines

    with tempfile.TemporaryDirectory() as folder:
        folder = Path(folder)
        inputs = {
            "a": write(folder / "a.mop", [(HEAD, 1), ("C\n", n)]),
            "b": write(folder / "b.mop", [(HEAD + "C 0 0 0\n", 1), ("*\n", n)]),
            "c": write(folder / "c.mop", [(HEAD + "C 0 0 0\n", 1), ("\n", n)]),
            "d": write(folder / "d.mop", [("PM7 ++\n", n), ("t\nd\nC 0 0 0\n", 1)]),
        }
        e_folder = folder / "e"
        e_folder.mkdir()
        inputs["e"] = write_inputs(e_folder, 100_000)[0]
        out = folder / "out.mop"

        print(f"{n} lines; peak RSS per input byte marked over {args.limit:g} B/B")
        print(f"{'input':5} {'bytes':>10}  {'command':6} {'time':>9} {'peak RSS':>12} {'B/B':>6}")
        over = 0
        for key, path in inputs.items():
            size = path.stat().st_size
            limit = ["--max-size", str(size)]
            commands = {
                "show": [args.tool, "show", *limit, str(path)],
                "check": [args.tool, "check", *limit, str(path)],
                "xyz": [args.tool, "xyz", *limit, str(path), "-o", "/dev/null"],
                "edit": [args.tool, "edit", *limit, str(path), "--charge", "1", "--force", "-o", str(out)],
            }
            for name, command in commands.items():
                seconds, kib, status = measure(command, args.timeout)
                if kib is None:
                    print(f"{key:5} {size:10}  {name:6} {seconds:7.3f} s {'-':>12} {'-':>6}  ({status})", flush=True)
                    continue
                per_byte = kib * 1024 / size
                mark = "  OVER" if per_byte > args.limit else ""
                if per_byte > args.limit:
                    over += 1
                note = f"  (exit status {status})" if status else ""
                print(f"{key:5} {size:10}  {name:6} {seconds:7.3f} s {kib / 1024:8.1f} MiB {per_byte:6.1f}{mark}{note}",
                      flush=True)
            out.unlink(missing_ok=True)
        print(f"{over} runs over {args.limit:g} B/B")


if __name__ == "__main__":
    main()
