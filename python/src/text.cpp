// Bytes in and out of Python, paths, and OSError with the system's reason.
#include "text.hpp"

#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "vesk/core/fs.hpp"

namespace vesk::python {

bool load_text(py::handle source, std::string& bytes) {
    PyObject* object = source.ptr();
    if (PyUnicode_Check(object)) {
        // Most text is valid UTF-8, and CPython keeps the UTF-8 of an ASCII
        // str at hand: no encoding pass for it.
        Py_ssize_t size = 0;
        if (const char* data = PyUnicode_AsUTF8AndSize(object, &size)) {
            bytes.assign(data, static_cast<std::size_t>(size));
            return true;
        }
        PyErr_Clear();  // lone surrogates: the bytes that surrogateescape kept
        py::object encoded =
            py::reinterpret_steal<py::object>(PyUnicode_AsEncodedString(object, "utf-8", "surrogateescape"));
        if (!encoded) throw py::error_already_set();
        bytes.assign(PyBytes_AS_STRING(encoded.ptr()), static_cast<std::size_t>(PyBytes_GET_SIZE(encoded.ptr())));
        return true;
    }
    if (PyBytes_Check(object)) {
        bytes.assign(PyBytes_AS_STRING(object), static_cast<std::size_t>(PyBytes_GET_SIZE(object)));
        return true;
    }
    if (PyByteArray_Check(object)) {
        bytes.assign(PyByteArray_AS_STRING(object), static_cast<std::size_t>(PyByteArray_GET_SIZE(object)));
        return true;
    }
    if (PyMemoryView_Check(object)) {
        // A buffer of our own keeps the memory alive and unmoved while it is
        // copied: a released view refuses it (ValueError), and the exporter
        // (a bytearray, an mmap) cannot resize or close under it.
        Py_buffer view;
        if (PyObject_GetBuffer(object, &view, PyBUF_FULL_RO) != 0) throw py::error_already_set();
        const bool bytes_like = view.itemsize == 1 && PyBuffer_IsContiguous(&view, 'C');
        if (bytes_like) bytes.assign(static_cast<const char*>(view.buf), static_cast<std::size_t>(view.len));
        PyBuffer_Release(&view);
        return bytes_like;
    }
    return false;
}

py::str to_str(std::string_view bytes) {
    PyObject* text = PyUnicode_DecodeUTF8(bytes.data(), static_cast<Py_ssize_t>(bytes.size()), "surrogateescape");
    if (text == nullptr) throw py::error_already_set();
    return py::reinterpret_steal<py::str>(text);
}

py::list to_str_list(const std::vector<std::string>& lines) {
    py::list list(lines.size());
    for (std::size_t i = 0; i < lines.size(); ++i) list[i] = to_str(lines[i]);
    return list;
}

std::vector<std::string> from_text_list(const py::iterable& items, const char* what) {
    if (PyUnicode_Check(items.ptr()) || PyBytes_Check(items.ptr())) {
        // A lone string is an iterable of characters: almost surely a mistake.
        throw py::type_error(std::string(what) + " must be a sequence of str or bytes, not a single string");
    }
    std::vector<std::string> lines;
    for (py::handle item : items) {
        std::string bytes;
        if (!load_text(item, bytes)) {
            throw py::type_error(std::string(what) + " must hold str or bytes, not " +
                                 std::string(py::str(py::type::handle_of(item).attr("__name__"))));
        }
        lines.push_back(std::move(bytes));
    }
    return lines;
}

void raise_os_error(int error, const std::string& reason, const py::object& filename) {
    // OSError(errno, strerror, filename) gives the subclass of the errno.
    py::object exception = py::reinterpret_borrow<py::object>(PyExc_OSError)(error, reason, filename);
    PyErr_SetObject(reinterpret_cast<PyObject*>(Py_TYPE(exception.ptr())), exception.ptr());
    throw py::error_already_set();
}

void write_file(const Path& path, std::string_view content) {
    std::error_code error;
    bool written = false;
    {
        py::gil_scoped_release released;
        written = vesk::core::fs::write_text_file_atomic(path.bytes, content, error);
    }
    if (!written) raise_os_error(error.value(), error.message(), path.name);
}

std::string read_file(const Path& path) {
    std::string content;
    std::error_code error;
    {
        py::gil_scoped_release released;
        try {
            content = vesk::core::fs::read_text_file(path.bytes);
        } catch (const std::system_error& failure) {
            error = failure.code();
        }
    }
    if (error) raise_os_error(error.value(), error.message(), path.name);
    return content;
}

long long checked_int(const Int& value, long long low, long long high, const char* what) {
    int overflow = 0;
    const long long number = PyLong_AsLongLongAndOverflow(value.number.ptr(), &overflow);
    if (number == -1 && PyErr_Occurred()) throw py::error_already_set();
    if (overflow != 0 || number < low || number > high) {
        throw py::value_error(std::string(what) + " must be from " + std::to_string(low) + " to " +
                              std::to_string(high) + ", not " + std::string(py::repr(value.number)));
    }
    return number;
}

}  // namespace vesk::python

namespace pybind11::detail {

bool type_caster<vesk::python::Path>::load(handle source, bool) {
    if (!PyUnicode_Check(source.ptr()) && !PyBytes_Check(source.ptr()) &&
        !PyObject_HasAttrString(reinterpret_cast<PyObject*>(Py_TYPE(source.ptr())), "__fspath__")) {
        return false;
    }
    object fspath = reinterpret_steal<object>(PyOS_FSPath(source.ptr()));
    if (!fspath) throw error_already_set();
    object encoded = fspath;
    if (PyUnicode_Check(fspath.ptr())) {
        encoded = reinterpret_steal<object>(PyUnicode_EncodeFSDefault(fspath.ptr()));
        if (!encoded) throw error_already_set();
    }
    value.bytes.assign(PyBytes_AS_STRING(encoded.ptr()), static_cast<std::size_t>(PyBytes_GET_SIZE(encoded.ptr())));
    if (value.bytes.find('\0') != std::string::npos) throw value_error("embedded null byte in path");
    value.name = std::move(fspath);
    return true;
}

}  // namespace pybind11::detail
