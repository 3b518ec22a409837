// Bytes in and out of Python, paths, and the exceptions the module raises.
//
// MOPAC inputs are bytes in no particular encoding. The module takes a text
// as str (encoded as UTF-8, lone surrogates from "surrogateescape" turned back
// into their bytes) or as a bytes-like object, and gives text back as str
// decoded as UTF-8 with "surrogateescape": every byte survives the round
// trip, and nothing raises on text that is not UTF-8.
#pragma once

#include <pybind11/pybind11.h>

#include <string>
#include <string_view>
#include <vector>

namespace vesk::python {

namespace py = pybind11;

/// A text argument: the bytes of a str or of a bytes-like object.
struct Text {
    std::string bytes;
};

/// An int argument: an int or anything with __index__ (NumPy integers), never a float.
struct Int {
    py::object number;  ///< operator.index(argument)
};

/// A path argument: str, bytes or os.PathLike, as os.fspath gives it.
struct Path {
    std::string bytes;  ///< what the system calls see (os.fsencode)
    py::object name;    ///< os.fspath(argument), for OSError.filename
};

/// The bytes of a str or bytes-like object; false for anything else.
bool load_text(py::handle source, std::string& bytes);

/// A str of `bytes`, decoded as UTF-8 with surrogateescape.
py::str to_str(std::string_view bytes);
/// A list of str, each as to_str makes it.
py::list to_str_list(const std::vector<std::string>& lines);
/// The bytes of each item of an iterable of str or bytes.
std::vector<std::string> from_text_list(const py::iterable& items, const char* what);

/// Raises OSError (its subclass for the errno: FileNotFoundError, ...) with
/// the system's reason and the path as filename.
[[noreturn]] void raise_os_error(int error, const std::string& reason, const py::object& filename);

/// Writes `content` atomically to `path`; OSError on failure. The GIL must
/// be held; it is released while the file is written.
void write_file(const Path& path, std::string_view content);
/// Reads the whole file; OSError on failure. The GIL must be held; it is
/// released while the file is read.
std::string read_file(const Path& path);

/// An int argument as a C++ integer of the range [low, high]; ValueError outside.
long long checked_int(const Int& value, long long low, long long high, const char* what);

}  // namespace vesk::python

namespace pybind11::detail {

template <>
struct type_caster<vesk::python::Text> {
    PYBIND11_TYPE_CASTER(vesk::python::Text, const_name("str | bytes"));
    bool load(handle source, bool) { return vesk::python::load_text(source, value.bytes); }
    static handle cast(const vesk::python::Text& text, return_value_policy, handle) {
        return vesk::python::to_str(text.bytes).release();
    }
};

template <>
struct type_caster<vesk::python::Int> {
    PYBIND11_TYPE_CASTER(vesk::python::Int, const_name("int"));
    bool load(handle source, bool) {
        if (PyFloat_Check(source.ptr()) || !PyIndex_Check(source.ptr())) return false;
        value.number = reinterpret_steal<object>(PyNumber_Index(source.ptr()));
        if (!value.number) throw error_already_set();
        return true;
    }
    static handle cast(const vesk::python::Int& number, return_value_policy, handle) {
        return number.number.inc_ref();
    }
};

template <>
struct type_caster<vesk::python::Path> {
    PYBIND11_TYPE_CASTER(vesk::python::Path, const_name("str | bytes | os.PathLike[str]"));
    bool load(handle source, bool);
    static handle cast(const vesk::python::Path& path, return_value_policy, handle) {
        return path.name.inc_ref();
    }
};

}  // namespace pybind11::detail
