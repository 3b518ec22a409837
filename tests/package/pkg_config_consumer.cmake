# Builds and runs the consumer program as a Makefile user would: the compiler
# and nothing but what pkg-config says about the installed vesk_mopac_mop.
#   -DPREFIX=<install prefix> -DLIBDIR=<libdir below it> -DCXX=... -DCXX_FLAGS=...
#   -DSOURCE=<main.cpp> -DBINARY=<program to write>
find_program(PKG_CONFIG NAMES pkg-config pkgconf REQUIRED)
if(IS_ABSOLUTE "${LIBDIR}")
    set(ENV{PKG_CONFIG_PATH} "${LIBDIR}/pkgconfig")
else()
    set(ENV{PKG_CONFIG_PATH} "${PREFIX}/${LIBDIR}/pkgconfig")
endif()

function(pkg_config out)
    execute_process(COMMAND ${PKG_CONFIG} ${ARGN} vesk_mopac_mop
        OUTPUT_VARIABLE value RESULT_VARIABLE status OUTPUT_STRIP_TRAILING_WHITESPACE)
    if(NOT status EQUAL 0)
        message(FATAL_ERROR "pkg-config ${ARGN} vesk_mopac_mop failed")
    endif()
    set(${out} "${value}" PARENT_SCOPE)
endfunction()

pkg_config(prefix --variable=prefix)
if(NOT prefix STREQUAL PREFIX)
    message(FATAL_ERROR "vesk_mopac_mop.pc names the prefix ${prefix}, installed into ${PREFIX}")
endif()
pkg_config(flags --cflags --libs)
pkg_config(libdir --variable=libdir)
message(STATUS "pkg-config --cflags --libs vesk_mopac_mop: ${flags}")

separate_arguments(flags UNIX_COMMAND "${flags}")
separate_arguments(cxx_flags UNIX_COMMAND "${CXX_FLAGS}")
execute_process(COMMAND ${CXX} ${cxx_flags} -std=c++17 "${SOURCE}" -o "${BINARY}" ${flags} "-Wl,-rpath,${libdir}"
    RESULT_VARIABLE status)
if(NOT status EQUAL 0)
    message(FATAL_ERROR "the consumer does not compile with the flags of pkg-config")
endif()
execute_process(COMMAND "${BINARY}" OUTPUT_VARIABLE output RESULT_VARIABLE status)
message(STATUS "${output}")
if(NOT status EQUAL 0 OR NOT output MATCHES "PM7 CHARGE=-1 UHF MS=1")
    message(FATAL_ERROR "the consumer failed (${status})")
endif()
