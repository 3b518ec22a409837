// The native module vesk_mopac._native: the library's whole public API.
#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include "bindings.hpp"

PYBIND11_MODULE(_native, module) {
    module.doc() =
        "Read, edit and write MOPAC input files: the native part of vesk_mopac.\n\n"
        "Texts are taken as str or bytes and given back as str decoded as UTF-8\n"
        "with \"surrogateescape\", so that any byte survives a round trip.";
    module.attr("__version__") = VESK_MOPAC_VERSION;
    // NumPy is imported and pybind11's table of its C API filled here, under
    // the import lock, rather than by the first call that makes an array:
    // that call would fill the table inside a C++ static initialisation that
    // other threads wait for while holding the GIL the import needs.
    (void)pybind11::array_t<double>(pybind11::ssize_t{0});
    vesk::python::bind_document(module);
    vesk::python::bind_job(module);
}
