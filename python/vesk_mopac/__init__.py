"""Read, edit and write MOPAC input files.

Two readings of an input file:

- ``parse`` / ``parse_file`` give a ``MopacInput`` document: keyword lines,
  title, comment, coordinate records and trailing lines, which
  ``InputEditor`` and ``InputBuilder`` change and write back.
- ``read_job`` / ``read_job_file`` give a ``MopacJob``: the file as MOPAC
  itself reads it, with line roles, jobs, keywords, atoms, Cartesian
  positions as NumPy arrays and line-numbered diagnostics. ``JobEditor``
  edits the text where MOPAC reads it and nowhere else; ``check`` lists
  everything MOPAC would stop on or misread.

Texts are taken as ``str`` or ``bytes`` and given back as ``str`` decoded as
UTF-8 with ``"surrogateescape"``: any byte survives a round trip
(``text.encode("utf-8", "surrogateescape")`` gives the bytes back), and no
text raises for not being UTF-8. Defects of a text come back as fields of
the result; refused arguments raise ``ValueError`` (``IndexError`` for a job
the file does not have), failed reads and writes ``OSError`` with the path.

The ASE bridge is ``vesk_mopac.ase`` (``to_ase_atoms``, ``from_ase_atoms``);
it imports ASE only when used.

    >>> import vesk_mopac
    >>> job = vesk_mopac.read_job("PM7\\nwater\\n\\nO 0 0 0\\nH 0.96 0 0\\nH -0.24 0.93 0\\n")
    >>> job.positions().shape
    (3, 3)
"""

from ._native import (
    Atom,
    CoordinateForm,
    CoordinateKind,
    CoordinateRecord,
    Diagnostic,
    EditRefused,
    GeometryCounts,
    GeometrySource,
    HeadForm,
    InputBuilder,
    InputEditor,
    Job,
    JobAtom,
    JobEditor,
    JobKeyword,
    JobLine,
    JobText,
    KeywordInfo,
    LineEnd,
    LineRole,
    MopacInput,
    MopacJob,
    ParseResult,
    Severity,
    __version__,
    check,
    find_keyword,
    format_coordinate,
    is_method_keyword,
    is_mopac_method,
    keyword_catalogue,
    keyword_line_continues,
    mopac_accepts_keyword,
    normalize_keyword_name,
    parse,
    parse_file,
    read_job,
    read_job_file,
    spin_state_multiplicity,
)

__all__ = [
    "Atom",
    "CoordinateForm",
    "CoordinateKind",
    "CoordinateRecord",
    "Diagnostic",
    "EditRefused",
    "GeometryCounts",
    "GeometrySource",
    "HeadForm",
    "InputBuilder",
    "InputEditor",
    "Job",
    "JobAtom",
    "JobEditor",
    "JobKeyword",
    "JobLine",
    "JobText",
    "KeywordInfo",
    "LineEnd",
    "LineRole",
    "MopacInput",
    "MopacJob",
    "ParseResult",
    "Severity",
    "__version__",
    "check",
    "find_keyword",
    "format_coordinate",
    "is_method_keyword",
    "is_mopac_method",
    "keyword_catalogue",
    "keyword_line_continues",
    "mopac_accepts_keyword",
    "normalize_keyword_name",
    "parse",
    "parse_file",
    "read_job",
    "read_job_file",
    "spin_state_multiplicity",
]
