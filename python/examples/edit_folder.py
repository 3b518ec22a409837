import sys
from pathlib import Path

import vesk_mopac as vm

folder, method, charge, multiplicity = Path(sys.argv[1]), sys.argv[2], int(sys.argv[3]), int(sys.argv[4])
status = 0
for path in sorted(folder.glob("*.mop")):
    editor = vm.JobEditor(vm.read_job_file(path))
    editor.set_method(method)
    editor.set_charge(charge)
    editor.set_multiplicity(multiplicity)
    try:
        # Proven before it is written: read back as asked, the same atoms, no
        # new error; then atomic: the old file or the new one, never half of either.
        editor.write_file(path)
    except vm.EditRefused as refusal:  # the file stays as it was
        print(f"{path}: not edited: {refusal}")
        status = 1
        continue
    for finding in vm.check(editor.job):
        print(f"{path}:{finding}")
        status |= finding.severity == vm.Severity.ERROR
sys.exit(status)
