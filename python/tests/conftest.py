"""Shared helpers: the corpus of real MOPAC inputs and the bundled example."""

import os
from pathlib import Path

import pytest

PROJECT_DIR = Path(__file__).resolve().parents[2]
ETHANOL = PROJECT_DIR / "examples" / "ethanol.mop"
CORPUS_DIR = Path(os.environ.get("VESK_CORPUS_DIR", PROJECT_DIR.parent / "shared" / "corpus"))


def _manifest():
    """(path, tags) of every corpus file, in MANIFEST.tsv order; [] without a corpus."""
    manifest = CORPUS_DIR / "MANIFEST.tsv"
    if not manifest.is_file():
        return []
    rows = manifest.read_text(encoding="utf-8").splitlines()[1:]
    files = []
    for row in rows:
        fields = row.split("\t")
        if fields and fields[0]:
            files.append((CORPUS_DIR / fields[0], fields[-1].split(",")))
    return files


MANIFEST = _manifest()


def corpus_paths(tag=None):
    """The corpus files with a tag (all without); [] without a corpus."""
    return [path for path, tags in MANIFEST if tag is None or tag in tags]


def corpus(tag=None):
    """Parameters for the corpus files with a tag (all without), or one skipped parameter."""
    files = corpus_paths(tag)
    if not files:
        return [pytest.param(None, marks=pytest.mark.skip(reason=f"no corpus files under {CORPUS_DIR}"))]
    return files


def corpus_file(name):
    """One corpus file by its path below the corpus folder; skips without it."""
    path = CORPUS_DIR / name
    if not path.is_file():
        pytest.skip(f"corpus file {name} not found under {CORPUS_DIR}")
    return path
