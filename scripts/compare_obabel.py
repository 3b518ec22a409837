#!/usr/bin/env python3
"""Times mopac-input's commands against Open Babel reading the same geometry.

    scripts/compare_obabel.py [TOOL [ATOMS...]] [--runs N] [--obabel-limit SECONDS]
    defaults: build/release/tools/mopac-input 100000 --runs 5 --obabel-limit 180

For each ATOMS (e.g. 100000 1000000 10000000) writes a Cartesian MOPAC input
of that many atoms in a temporary folder (the shape of the benchmarks'
generated input: 7 fields a line, 8 to 12 significant digits), runs each
command N times, alternating, under /usr/bin/time, and prints the median wall
time, the time per atom and the peak memory of each, and each ratio to
`obabel -imop -ab -onul` (Debian's openbabel; it reads the file and writes
nothing). The folder goes before the next size is written. Last, the time
per atom of each command at each size, and the largest size's against the
smallest's, so that linear scaling of whole processes can be read off.

Open Babel runs at a size only when it is at most 10^6 atoms or when a
smaller size's time and memory, scaled linearly, say that one round takes at
most --obabel-limit seconds and a quarter of the available memory.
"""
import argparse
import random
import statistics
import subprocess
import sys
import tempfile
import time
from pathlib import Path

HEAD = ["PM7 CHARGE=0 PRECISE GNORM=0.01 +", "AUX(PRECISION=9,XP,XS,XW) LET DUMP=3600 +", "SINGLET THREADS=2",
        "generated benchmark system", "flags and 8-12 significant digits"]
# Open Babel's MOPAC reader takes one keyword line only: the same geometry
# behind a one-line head.
PLAIN_HEAD = ["PM7 CHARGE=0 PRECISE GNORM=0.01 SINGLET", *HEAD[3:]]


def write_inputs(folder, atoms):
    """Writes big.mop (the tool's input) and plain.mop (Open Babel's) line
    by line, so that 10^7 atoms never sit in this process's memory."""
    path, plain = Path(folder) / "big.mop", Path(folder) / "plain.mop"
    rng = random.Random(atoms)
    with open(path, "w") as big, open(plain, "w") as flat:
        big.write("\n".join(HEAD) + "\n")
        flat.write("\n".join(PLAIN_HEAD) + "\n")
        chunk = []
        for i in range(atoms):
            digits = rng.randint(8, 12)
            values = [f"{rng.uniform(-60, 60):.{digits}g} {rng.randint(0, 1)}" for _ in range(3)]
            chunk.append(f"{rng.choice(['C', 'H', 'O', 'N', 'S', 'Cl']):<2} " + " ".join(values) + "\n")
            if len(chunk) == 65536 or i == atoms - 1:
                text = "".join(chunk)
                big.write(text)
                flat.write(text)
                chunk.clear()
    return path, plain


def measure(command):
    """Wall seconds, peak RSS in KiB (of the command itself: a child of this
    process would count this process's pages too) and exit status."""
    start = time.perf_counter()
    done = subprocess.run(["/usr/bin/time", "-f", "%M", *command], stdout=subprocess.DEVNULL,
                          stderr=subprocess.PIPE, text=True)
    seconds = time.perf_counter() - start
    return seconds, int(done.stderr.strip().splitlines()[-1]), done.returncode


def available_kib():
    for line in Path("/proc/meminfo").read_text().splitlines():
        if line.startswith("MemAvailable:"):
            return int(line.split()[1])
    return 0


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("tool", nargs="?", default="build/release/tools/mopac-input")
    parser.add_argument("atoms", nargs="*", type=int, default=[100_000])
    parser.add_argument("--runs", type=int, default=5)
    parser.add_argument("--obabel-limit", type=float, default=180.0,
                        help="longest expected obabel run, in seconds, above 10^6 atoms")
    args = parser.parse_args()
    if any(n < 100 for n in args.atoms):
        parser.error("atom counts below 100 (the number of runs is --runs now)")

    per_atom = {}     # (command, atoms) -> seconds per atom
    obabel_seen = []  # (atoms, seconds, KiB) of each size obabel ran at
    for atoms in sorted(set(args.atoms)):
        with tempfile.TemporaryDirectory() as folder:
            path, plain = write_inputs(folder, atoms)
            size = path.stat().st_size
            limit = ["--max-size", str(size)]  # inputs over the tool's default 256 MiB
            out = Path(folder) / "out.mop"
            commands = {
                "show": [args.tool, "show", *limit, str(path)],
                "xyz": [args.tool, "xyz", *limit, str(path), "-o", "/dev/null"],
                "check": [args.tool, "check", *limit, str(path)],
                "edit": [args.tool, "edit", *limit, str(path), "--method", "PM6", "--charge", "1",
                         "--multiplicity", "2", "--force", "-o", str(out)],
                "obabel": ["obabel", "-imop", str(plain), "-ab", "-onul"],
            }
            skipped = None
            if atoms > 1_000_000:
                if not obabel_seen:
                    skipped = "no smaller size to predict its time from"
                else:
                    n, t, m = obabel_seen[-1]
                    t, m = t * atoms / n, m * atoms / n
                    if t > args.obabel_limit or m > available_kib() / 4:
                        skipped = f"about {t:.0f} s and {m / 1024:.0f} MiB a run, scaled from {n} atoms"
            if skipped:
                del commands["obabel"]
            else:
                converted = subprocess.run(commands["obabel"], capture_output=True, text=True)
                assert "1 molecule converted" in converted.stderr, converted.stderr
            # One warming round, not counted, while a round takes little time.
            rounds = args.runs + (1 if atoms <= 1_000_000 else 0)
            results = {name: [] for name in commands}
            for _ in range(rounds):
                for name, command in commands.items():
                    results[name].append(measure(command))
            counted = {name: runs[rounds - args.runs:] for name, runs in results.items()}
            print(f"{atoms} atoms, {size} bytes, median of {args.runs} runs")
            medians = {name: (statistics.median(r[0] for r in runs), statistics.median(r[1] for r in runs),
                              max(r[2] for r in runs)) for name, runs in counted.items()}
            base = medians.get("obabel")
            for name, (t, m, status) in medians.items():
                per_atom[name, atoms] = t / atoms
                line = f"{name:7} {t:8.3f} s {t / atoms * 1e9:7.0f} ns/atom {m / 1024:8.1f} MiB {m * 1024 / size:5.1f} B/B"
                if base:
                    line += f"   obabel/{name}: time {base[0] / t:5.2f}x, memory {base[1] / m:5.2f}x"
                if status:
                    line += f"   (exit status {status})"
                print(line, flush=True)
            if base:
                obabel_seen.append((atoms, base[0], base[1]))
            else:
                print(f"obabel  not run: {skipped}")
            print(flush=True)

    sizes = sorted(set(args.atoms))
    if len(sizes) > 1:
        print("time per atom (ns); last column: the largest measured size against the smallest, per atom")
        print("        " + "".join(f"{n:>12}" for n in sizes))
        for name in ["show", "xyz", "check", "edit", "obabel"]:
            cells = [per_atom.get((name, n)) for n in sizes]
            row = "".join(f"{c * 1e9:12.0f}" if c else f"{'-':>12}" for c in cells)
            known = [c for c in cells if c]
            if len(known) > 1:
                row += f"   {known[-1] / known[0]:5.2f}x"
            print(f"{name:7} {row}")


if __name__ == "__main__":
    sys.exit(main())
