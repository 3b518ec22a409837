"""Check, and optionally edit, every MOPAC input below a folder on a Dask cluster.

    python3 dask_batch.py FOLDER [--glob "*.mop"] [--scheduler tcp://host:8786] [--workers 2]
                                 [--method PM7] [--charge 0] [--multiplicity 1] [--write]

Without --scheduler a LocalCluster of --workers processes runs on this
machine; with it, the files are read by the workers of a real cluster (they
must see FOLDER under the same path). Each file is read, checked and edited
by the library on a worker; an edited file is written only through the
library's own proven, atomic write (JobEditor.write_file), and only with
--write. The findings come back as one table, in the order of the files,
with a line of counts: the same findings as `mopac-input check`.
"""
import argparse
import sys
from pathlib import Path

from distributed import Client, LocalCluster


def process(path, method=None, charge=None, multiplicity=None, write=False):
    """Runs on a worker: the findings of one file and what the edit made of it."""
    import vesk_mopac as vm

    job = vm.read_job_file(path)
    findings = [(path, d.line, d.column, d.severity.name.lower(), d.code, d.message) for d in vm.check(job, path)]
    status, message = "unchanged", ""
    if method is not None or charge is not None or multiplicity is not None:
        editor = vm.JobEditor(job)
        if method is not None:
            editor.set_method(method)
        if charge is not None:
            editor.set_charge(charge)
        if multiplicity is not None:
            editor.set_multiplicity(multiplicity)
        try:
            editor.apply()  # proven here: read back as asked, the same atoms, no new error
            if editor.changed:
                status = "edited"
                if write:
                    editor.write_file(path)  # atomic: the old file or the new one
        except vm.EditRefused as refused:
            status, message = "refused", str(refused)
    return {"file": path, "status": status, "message": message, "findings": findings}


def run(folder, client, pattern="*", **edits):
    """The results of every file below `folder` that matches `pattern`, in path order."""
    paths = sorted(str(p) for p in Path(folder).rglob(pattern) if p.is_file())
    futures = client.map(process, paths, **edits, pure=False)
    return client.gather(futures)


def main(argv):
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("folder")
    parser.add_argument("--glob", default="*", help="which files below FOLDER (all by default)")
    parser.add_argument("--scheduler", help="address of a running Dask scheduler")
    parser.add_argument("--workers", type=int, default=2, help="processes of the local cluster")
    parser.add_argument("--method")
    parser.add_argument("--charge", type=int)
    parser.add_argument("--multiplicity", type=int)
    parser.add_argument("--write", action="store_true", help="write the edited files back")
    args = parser.parse_args(argv)
    edits = {"method": args.method, "charge": args.charge, "multiplicity": args.multiplicity, "write": args.write}
    if args.scheduler:
        client = Client(args.scheduler)
        cluster = None
    else:
        cluster = LocalCluster(n_workers=args.workers, threads_per_worker=1, processes=True, dashboard_address=None)
        client = Client(cluster)
    try:
        results = run(args.folder, client, args.glob, **edits)
    finally:
        client.close()
        if cluster is not None:
            cluster.close()
    counts = {"edited": 0, "unchanged": 0, "refused": 0, "errors": 0, "warnings": 0}
    for result in results:
        counts[result["status"]] += 1
        for path, line, column, severity, code, message in result["findings"]:
            counts["errors" if severity == "error" else "warnings"] += 1
            print(f"{path}:{line}:{column}: {severity}: {message} [{code}]")
        if result["message"]:
            print(f"{result['file']}: not written: {result['message']}")
    print(f"{len(results)} files: " + ", ".join(f"{n} {name}" for name, n in counts.items()), file=sys.stderr)
    return 1 if counts["errors"] or counts["refused"] else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
