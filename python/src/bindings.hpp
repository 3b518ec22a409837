// The parts of the module, each binding one side of the library.
#pragma once

#include <pybind11/pybind11.h>

#include <cmath>
#include <cstddef>
#include <string>

#include "text.hpp"

namespace vesk::python {

/// MopacInput, CoordinateRecord, Atom, parse, InputEditor, InputBuilder.
void bind_document(py::module_& module);
/// The job as MOPAC reads it, JobEditor, check and MOPAC's keyword list.
void bind_job(py::module_& module);

/// Numbers compare as values, except that two NaNs are the same number: a
/// record equals its copy and its unpickled self.
inline bool same_number(double a, double b) { return a == b || (std::isnan(a) && std::isnan(b)); }

/// The repr of a byte string as Python shows the str of it.
inline std::string repr_text(const std::string& bytes) { return py::repr(to_str(bytes)); }

/// The bytes of a pickled text field.
inline std::string state_bytes(const py::handle& item) { return item.cast<py::bytes>(); }

/// Refuses a state that is not a tuple of `size` items.
inline py::tuple checked_state(const py::tuple& state, std::size_t size, const char* type) {
    if (state.size() != size) throw py::value_error(std::string("invalid pickled state of ") + type);
    return state;
}

}  // namespace vesk::python
