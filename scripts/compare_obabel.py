#!/usr/bin/env python3
"""Times mopac-input's commands against Open Babel reading the same geometry.

    scripts/compare_obabel.py [TOOL [ATOMS [RUNS]]]    defaults: build/release/tools/mopac-input 100000 5

Writes a Cartesian MOPAC input of ATOMS atoms (the shape of the benchmarks'
generated input: 7 fields a line, 8 to 12 significant digits), then runs each
command RUNS times, alternating, under /usr/bin/time, and prints the median
wall time and peak memory of each, and each ratio to `obabel -imop -ab -onul`
(Debian's openbabel; it reads the file and writes nothing).
"""
import random
import statistics
import subprocess
import sys
import tempfile
import time
from pathlib import Path

tool = sys.argv[1] if len(sys.argv) > 1 else "build/release/tools/mopac-input"
atoms = int(sys.argv[2]) if len(sys.argv) > 2 else 100_000
runs = int(sys.argv[3]) if len(sys.argv) > 3 else 5

with tempfile.TemporaryDirectory() as folder:
    path = Path(folder) / "big.mop"
    rng = random.Random(atoms)
    lines = ["PM7 CHARGE=0 PRECISE GNORM=0.01 +", "AUX(PRECISION=9,XP,XS,XW) LET DUMP=3600 +", "SINGLET THREADS=2",
             "generated benchmark system", "flags and 8-12 significant digits"]
    for _ in range(atoms):
        digits = rng.randint(8, 12)
        values = [f"{rng.uniform(-60, 60):.{digits}g} {rng.randint(0, 1)}" for _ in range(3)]
        lines.append(f"{rng.choice(['C', 'H', 'O', 'N', 'S', 'Cl']):<2} " + " ".join(values))
    path.write_text("\n".join(lines) + "\n")
    size = path.stat().st_size
    # Open Babel's MOPAC reader takes one keyword line only: the same
    # geometry behind a one-line head.
    plain = Path(folder) / "plain.mop"
    plain.write_text("\n".join(["PM7 CHARGE=0 PRECISE GNORM=0.01 SINGLET", *lines[3:]]) + "\n")
    converted = subprocess.run(["obabel", "-imop", str(plain), "-ab", "-onul"], capture_output=True, text=True)
    assert "1 molecule converted" in converted.stderr, converted.stderr
    out = Path(folder) / "out.mop"
    commands = {
        "show": [tool, "show", str(path)],
        "xyz": [tool, "xyz", str(path), "-o", "/dev/null"],
        "check": [tool, "check", str(path)],
        "edit": [tool, "edit", str(path), "--method", "PM6", "--charge", "1", "--multiplicity", "2", "--force",
                 "-o", str(out)],
        "obabel": ["obabel", "-imop", str(plain), "-ab", "-onul"],
    }
    times = {name: [] for name in commands}
    memory = {name: [] for name in commands}
    for _ in range(runs + 1):  # the first round warms the caches and is not counted
        for name, command in commands.items():
            # /usr/bin/time for the peak memory of the command itself (a child
            # of this process would count this process's pages too).
            start = time.perf_counter()
            done = subprocess.run(["/usr/bin/time", "-f", "%M", *command], stdout=subprocess.DEVNULL,
                                  stderr=subprocess.PIPE, text=True)
            times[name].append(time.perf_counter() - start)
            memory[name].append(int(done.stderr.strip().splitlines()[-1]))  # KiB
    print(f"{atoms} atoms, {size} bytes, median of {runs} runs")
    base_time = statistics.median(times["obabel"][1:])
    base_memory = statistics.median(memory["obabel"][1:])
    for name in commands:
        t = statistics.median(times[name][1:])
        m = statistics.median(memory[name][1:])
        print(f"{name:7} {t:7.3f} s {m / 1024:8.1f} MiB  {m * 1024 / size:5.1f} B/B   "
              f"obabel/{name}: time {base_time / t:5.2f}x, memory {base_memory / m:5.2f}x")
