"""Reading a large input from Python against the same call in C++.

    PYTHONPATH=build/dev/python/package /usr/bin/python3 python/benchmarks/read_job_speed.py \
        build/dev/python/read_job_timing [--atoms N] [--rounds N] [--warm-malloc]

The C++ program writes the generated input of the benchmarks (7-token
Cartesian lines, 8 to 12 significant digits) and times read_job on it; a
fresh Python process then times vesk_mopac.read_job on the same text, as
str and as bytes. Each round runs both, one after the other, so that both
meet the same load of a shared machine; the best time of all rounds counts
for each. A timed call ends when the job is in hand; its destruction is
left out in both languages.

Both sides run in fresh processes because much of a large reading is the
kernel handing out fresh pages: glibc serves large blocks with mmap until
enough of them have been freed, and then from a heap it keeps, and a
process that has read many large texts reads the next one in a third of
the time. --warm-malloc sets glibc's tunables so that both sides start in
that state.
"""

import argparse
import gc
import os
import subprocess
import sys
import tempfile
import time
from pathlib import Path

REPEATS = 5
WARM_MALLOC = "glibc.malloc.mmap_threshold=33554432:glibc.malloc.trim_threshold=268435456"


def best_of(call):
    best = float("inf")
    for _ in range(REPEATS):
        start = time.perf_counter()
        result = call()
        best = min(best, time.perf_counter() - start)
        del result
    return best


def python_round(path):
    """The Python side of one round, in its own process: prints the best times."""
    import vesk_mopac

    raw = Path(path).read_bytes()
    text = raw.decode("ascii")
    gc.disable()  # no collection inside a timed call
    print(best_of(lambda: vesk_mopac.read_job(text)), best_of(lambda: vesk_mopac.read_job(raw)))


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("harness")
    parser.add_argument("--atoms", type=int, default=100_000)
    parser.add_argument("--rounds", type=int, default=6)
    parser.add_argument("--warm-malloc", action="store_true")
    parser.add_argument("--python-round", metavar="FILE", help=argparse.SUPPRESS)
    args = parser.parse_args()
    if args.python_round:
        python_round(args.python_round)
        return

    env = dict(os.environ)
    if args.warm_malloc:
        env["GLIBC_TUNABLES"] = WARM_MALLOC
    cpp = python_str = python_bytes = float("inf")
    with tempfile.TemporaryDirectory() as folder:
        path = Path(folder) / "generated.mop"
        for _ in range(args.rounds):
            report = subprocess.run([args.harness, str(args.atoms), str(path), str(REPEATS)],
                                    check=True, capture_output=True, text=True, env=env).stdout
            cpp = min(cpp, float(report.split()[1]))
            times = subprocess.run([sys.executable, __file__, args.harness, "--python-round", str(path)],
                                   check=True, capture_output=True, text=True, env=env).stdout.split()
            python_str = min(python_str, float(times[0]))
            python_bytes = min(python_bytes, float(times[1]))
        size = path.stat().st_size
        import vesk_mopac

        positions = vesk_mopac.read_job(path.read_bytes()).positions()

    state = "warm (GLIBC_TUNABLES)" if args.warm_malloc else "default"
    print(f"input: {args.atoms} atoms, {size} bytes; malloc {state}; "
          f"best of {args.rounds} rounds of {REPEATS} calls, fresh processes")
    print(f"C++    read_job(string_view)   {cpp * 1e3:8.2f} ms")
    print(f"Python read_job(str)           {python_str * 1e3:8.2f} ms   {python_str / cpp:.3f}x")
    print(f"Python read_job(bytes)         {python_bytes * 1e3:8.2f} ms   {python_bytes / cpp:.3f}x")
    print(f"positions: {type(positions).__name__} {positions.shape} {positions.dtype}, "
          f"C-contiguous {positions.flags.c_contiguous}")


if __name__ == "__main__":
    main()
