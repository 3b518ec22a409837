"""The README's Python script, run on a copy of corpus files."""

import re
import shutil
import subprocess
import sys

import vesk_mopac as vm
from conftest import ETHANOL, PROJECT_DIR, corpus_paths

SCRIPT = PROJECT_DIR / "python" / "examples" / "edit_folder.py"
FINDING = re.compile(r"^.+\.mop:\d+:\d+: (error|warning): .+$")


def run(folder, *arguments):
    return subprocess.run([sys.executable, str(SCRIPT), str(folder), *arguments],
                          capture_output=True, text=True, timeout=120)


def readme_python_blocks():
    readme = (PROJECT_DIR / "README.md").read_text(encoding="utf-8")
    return re.findall(r"^```python\n(.*?)^```$", readme, re.MULTILINE | re.DOTALL)


def test_the_readme_shows_the_script_as_it_is():
    assert SCRIPT.read_text(encoding="utf-8") in readme_python_blocks()


def test_the_readme_tour_runs_and_says_true(monkeypatch):
    (tour,) = [block for block in readme_python_blocks() if "to_ase_atoms(job)" in block]
    monkeypatch.chdir(PROJECT_DIR)
    names = {}
    exec(compile(tour, "README.md", "exec"), names)
    job, atoms = names["job"], names["atoms"]
    assert job.positions().shape == (9, 3) and vm.check(job) == [] and atoms.info["charge"] == 0
    edited = vm.read_job(names["text"])
    assert edited.jobs[0].keyword_value("CHARGE") == "1"
    assert edited.positions().tolist() == job.positions().tolist()


def test_edit_folder_edits_method_charge_and_spin_and_reports_findings(tmp_path):
    sources = [path for path in corpus_paths("mopac data/normal") if path.suffix == ".mop"][:6] + [ETHANOL]
    for source in sources:
        shutil.copy(source, tmp_path)
    before = {path.name: vm.read_job_file(path) for path in tmp_path.glob("*.mop")}
    refused = tmp_path / "refused.mop"
    refused.write_text("PM7 " + "X" * 1990 + "\nno room for CHARGE\n\nC 0 0 0\n")
    (tmp_path / "notes.txt").write_text("PM7\n")

    done = run(tmp_path, "PM6", "-1", "2")
    lines = done.stdout.splitlines()
    assert done.returncode == 1, done.stderr  # the refused file
    assert f"{refused}: not edited: job 1: line 1 would be longer than the 2000 bytes MOPAC reads" in done.stdout
    assert refused.read_text().startswith("PM7 XXX") and (tmp_path / "notes.txt").read_text() == "PM7\n"
    assert all(FINDING.match(line) for line in lines if "refused.mop" not in line), lines
    for name, old in before.items():
        new = vm.read_job_file(tmp_path / name)
        (job,) = new.jobs
        assert job.has_keyword("PM6") and not job.has_keyword("PM7")
        assert job.keyword_value("CHARGE") == "-1"
        assert job.keyword_value("MS") == "0.5" or job.has_keyword("DOUBLET")
        assert len(new.lines) == len(old.lines) and new.positions().tolist() == old.positions().tolist()

    refused.unlink()
    again = run(tmp_path, "PM6", "-1", "2")
    assert again.returncode == (1 if ": error: " in again.stdout else 0), again.stderr
    assert again.stdout == done.stdout.replace(lines[[i for i, l in enumerate(lines) if "refused" in l][0]] + "\n", "")


def test_dask_batch_finds_what_the_tool_finds(tmp_path):
    """The Dask example on a LocalCluster of 2 workers over corpus files gives
    the tool's findings, and edits only through the proven write."""
    distributed = __import__("pytest").importorskip("distributed")
    del distributed
    tool = __import__("os").environ.get("MOPAC_INPUT")
    files = corpus_paths()[::5]
    if not files or not tool:
        __import__("pytest").skip("needs the corpus and the mopac-input tool (MOPAC_INPUT)")
    folder = tmp_path / "inputs"
    folder.mkdir()
    for i, path in enumerate(files):
        shutil.copyfile(path, folder / f"{i:04}{path.suffix}")
    script = PROJECT_DIR / "python" / "examples" / "dask_batch.py"
    done = subprocess.run([sys.executable, str(script), str(folder), "--workers", "2"],
                          capture_output=True, text=True, timeout=600)
    names = sorted(str(p) for p in folder.iterdir())
    checked = subprocess.run([tool, "check", "-j", "2", *names], capture_output=True, text=True, timeout=600)
    location = re.compile(r"^(.+?):(\d+):(\d+): (error|warning): .* \[([a-z0-9-]+)\]")

    def findings(lines):
        return sorted(m.groups() for m in map(location.match, lines) if m)

    assert findings(done.stdout.splitlines()) == findings(checked.stdout.splitlines())
    assert f"{len(names)} files: 0 edited, {len(names)} unchanged" in done.stderr
