# Tests of the built and installed library as a product: the CMake package
# and the pkg-config files work from an install prefix, the shared library
# exports only our API (and would as a Windows DLL), and every public header
# compiles on its own.

# 1. Install into a scratch prefix, then build and run a consumer against it.
set(vesk_package_prefix "${CMAKE_CURRENT_BINARY_DIR}/package-prefix")
add_test(NAME package.install
    COMMAND ${CMAKE_COMMAND} --install "${PROJECT_BINARY_DIR}" --prefix "${vesk_package_prefix}")
set_tests_properties(package.install PROPERTIES FIXTURES_SETUP vesk_package)
add_test(NAME package.consumer
    COMMAND ${CMAKE_CTEST_COMMAND}
        --build-and-test "${CMAKE_CURRENT_SOURCE_DIR}/package/consumer"
                         "${CMAKE_CURRENT_BINARY_DIR}/package-consumer"
        --build-generator "${CMAKE_GENERATOR}"
        --build-options "-DCMAKE_PREFIX_PATH=${vesk_package_prefix}"
                        "-DCMAKE_CXX_COMPILER=${CMAKE_CXX_COMPILER}"
                        "-DCMAKE_CXX_FLAGS=${CMAKE_CXX_FLAGS}"
                        "-DCMAKE_BUILD_TYPE=${CMAKE_BUILD_TYPE}"
        --test-command consumer)
set_tests_properties(package.consumer PROPERTIES
    FIXTURES_REQUIRED vesk_package
    PASS_REGULAR_EXPRESSION "PM7 CHARGE=-1 UHF MS=1")

# The same program built with a compiler command line from pkg-config.
add_test(NAME package.pkg_config_consumer
    COMMAND ${CMAKE_COMMAND} "-DPREFIX=${vesk_package_prefix}" "-DLIBDIR=${CMAKE_INSTALL_LIBDIR}"
            "-DCXX=${CMAKE_CXX_COMPILER}" "-DCXX_FLAGS=${CMAKE_CXX_FLAGS}"
            "-DSOURCE=${CMAKE_CURRENT_SOURCE_DIR}/package/consumer/main.cpp"
            "-DBINARY=${CMAKE_CURRENT_BINARY_DIR}/pkg-config-consumer"
            -P "${CMAKE_CURRENT_SOURCE_DIR}/package/pkg_config_consumer.cmake")
set_tests_properties(package.pkg_config_consumer PROPERTIES FIXTURES_REQUIRED vesk_package)

# 2. The dynamic symbol table holds nothing outside vesk::input::mopac.
add_test(NAME package.exported_symbols
    COMMAND ${CMAKE_COMMAND} -DLIBRARY=$<TARGET_FILE:vesk_mopac_mop> -DPREFIX=vesk::input::mopac::
            -P "${CMAKE_CURRENT_SOURCE_DIR}/package/check_exports.cmake")
add_test(NAME package.exported_symbols_core_fs
    COMMAND ${CMAKE_COMMAND} -DLIBRARY=$<TARGET_FILE:vesk_core_fs> -DPREFIX=vesk::core::fs::
            -P "${CMAKE_CURRENT_SOURCE_DIR}/package/check_exports.cmake")
# The export macros as a Windows build defines them.
add_test(NAME package.export_macros
    COMMAND ${CMAKE_COMMAND} "-DCXX=${CMAKE_CXX_COMPILER}" "-DINCLUDE_DIR=${PROJECT_SOURCE_DIR}/include"
            -P "${CMAKE_CURRENT_SOURCE_DIR}/package/check_export_macros.cmake")

# 3. Each public header compiles alone.
file(GLOB_RECURSE vesk_public_headers CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/include/*.hpp")
set(vesk_header_sources)
foreach(header IN LISTS vesk_public_headers)
    file(RELATIVE_PATH relative "${PROJECT_SOURCE_DIR}/include" "${header}")
    string(MAKE_C_IDENTIFIER "${relative}" stem)
    set(source "${CMAKE_CURRENT_BINARY_DIR}/header_check/${stem}.cpp")
    file(CONFIGURE OUTPUT "${source}" CONTENT "#include \"${relative}\"\n")
    list(APPEND vesk_header_sources "${source}")
endforeach()
add_library(vesk_header_check OBJECT ${vesk_header_sources})
target_include_directories(vesk_header_check PRIVATE "${PROJECT_SOURCE_DIR}/include")
vesk_set_warnings(vesk_header_check)
