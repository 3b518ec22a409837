"""The package as editors and help() see it: stubs that match the module, docstrings everywhere."""

import ast
import inspect
import pydoc
import re
from pathlib import Path

import pytest

import vesk_mopac
from vesk_mopac import _native

STUB = Path(_native.__file__).with_name("_native.pyi")
ENUM_MEMBERS = {"name", "value", "__init__", "__int__", "__index__"}


def public(names):
    return sorted(n for n in names if not n.startswith("_") or n in ("__init__", "__iter__", "__copy__", "__deepcopy__"))


def stub_tree():
    return ast.parse(STUB.read_text(encoding="utf-8"))


def stub_signatures(body):
    """name -> list of parameter-name tuples (several for an overload) of the stub's defs."""
    signatures = {}
    for node in body:
        if isinstance(node, ast.FunctionDef):
            names = tuple(a.arg for a in node.args.args if a.arg != "self")
            is_property = any(getattr(d, "id", None) == "property" for d in node.decorator_list)
            signatures.setdefault(node.name, []).append(None if is_property else names)
        elif isinstance(node, ast.AnnAssign):
            signatures.setdefault(node.target.id, []).append(None)
    return signatures


def native_signatures(function):
    """The parameter-name tuples that pybind11 writes at the head of a docstring."""
    found = []
    for match in re.finditer(r"^(?:\d+\. )?\w+\((.*)\) -> ", function.__doc__ or "", re.MULTILINE):
        names = tuple(
            p.split(":")[0].strip() for p in re.split(r",\s*(?![^\[]*\])", match.group(1)) if p.strip()
        )
        found.append(tuple(n for n in names if n != "self"))
    return found


def test_the_package_re_exports_the_whole_native_module():
    assert sorted(vesk_mopac.__all__) == sorted(public(dir(_native)) + ["__version__"])
    assert (Path(vesk_mopac.__file__).parent / "py.typed").is_file()


def test_the_stub_names_exactly_what_the_module_has():
    tree = stub_tree()
    top = stub_signatures(tree.body)
    classes = {node.name: node for node in tree.body if isinstance(node, ast.ClassDef)}
    assert sorted(list(top) + list(classes)) == sorted(public(dir(_native)) + ["__version__"])
    for name, node in classes.items():
        cls = getattr(_native, name)
        in_stub = set(stub_signatures(node.body))
        attributes = set(public(vars(cls)))
        if "__entries" in vars(cls):  # an enum: its members and the enum protocol
            assert in_stub - ENUM_MEMBERS == set(cls.__members__), name
            continue
        if "__init__" not in in_stub:
            attributes.discard("__init__")  # made by the library only
        assert in_stub == attributes, name


def test_stub_parameters_match_the_bindings():
    tree = stub_tree()
    pairs = [(getattr(_native, name), sigs) for name, sigs in stub_signatures(tree.body).items() if sigs != [None]]
    for node in (n for n in tree.body if isinstance(n, ast.ClassDef)):
        cls = getattr(_native, node.name)
        for name, sigs in stub_signatures(node.body).items():
            if None not in sigs and "__entries" not in vars(cls) and name not in ("__copy__", "__deepcopy__"):
                pairs.append((getattr(cls, name), sigs))
    assert len(pairs) > 80
    for function, sigs in pairs:
        assert sorted(sigs) == sorted(native_signatures(function)), function.__qualname__


def documented(obj):
    """The docstring's own words, without the signatures pybind11 puts first."""
    doc = inspect.getdoc(obj) or ""
    lines = [line for line in doc.splitlines() if not re.match(r"^(\d+\. )?\w+\(.*\) -> |Overloaded function\.", line)]
    return "\n".join(lines).strip()


@pytest.mark.parametrize("name", public(dir(_native)))
def test_every_public_name_and_member_is_documented(name):
    obj = getattr(_native, name)
    assert documented(obj), name
    if inspect.isclass(obj) and "__entries" not in vars(obj):  # enums: pybind11's own members
        for member_name, member in vars(obj).items():
            if member_name.startswith("_"):
                continue
            assert documented(member), f"{name}.{member_name}"


def test_help_explains_read_job():
    text = pydoc.render_doc(vesk_mopac.read_job, renderer=pydoc.plaintext)
    assert "read_job(text: str | bytes, arc: bool = False) -> vesk_mopac._native.MopacJob" in text
    assert "as MOPAC reads it" in text and "GIL" in text
    assert "positions()" in pydoc.render_doc(vesk_mopac.MopacJob, renderer=pydoc.plaintext)
    assert "to_ase_atoms" in pydoc.render_doc(vesk_mopac, renderer=pydoc.plaintext)
