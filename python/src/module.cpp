// The native module vesk_mopac._native: the library's whole public API.
#include <pybind11/pybind11.h>

#include "bindings.hpp"

PYBIND11_MODULE(_native, module) {
    module.doc() =
        "Read, edit and write MOPAC input files: the native part of vesk_mopac.\n\n"
        "Texts are taken as str or bytes and given back as str decoded as UTF-8\n"
        "with \"surrogateescape\", so that any byte survives a round trip.";
    module.attr("__version__") = VESK_MOPAC_VERSION;
    vesk::python::bind_document(module);
    vesk::python::bind_job(module);
}
