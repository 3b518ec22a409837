# The export macros of both libraries as a Windows compiler would define them:
# dllexport while the library is built, dllimport for its users, nothing in a
# static build. Preprocesses each header with _WIN32 defined: -DCXX= -DINCLUDE_DIR=
cmake_minimum_required(VERSION 3.25)
set(cases
    "MOPAC|vesk/input/mopac/export.hpp||__declspec(dllimport)"
    "MOPAC|vesk/input/mopac/export.hpp|-DVESK_MOPAC_BUILDING|__declspec(dllexport)"
    "MOPAC|vesk/input/mopac/export.hpp|-DVESK_MOPAC_STATIC|"
    "CORE_FS|vesk/core/fs.hpp||__declspec(dllimport)"
    "CORE_FS|vesk/core/fs.hpp|-DVESK_CORE_FS_BUILDING|__declspec(dllexport)"
    "CORE_FS|vesk/core/fs.hpp|-DVESK_CORE_FS_STATIC|")
file(WRITE "${CMAKE_CURRENT_BINARY_DIR}/export_macros.cpp" "")
foreach(case IN LISTS cases)
    string(REPLACE "|" ";" fields "${case}")
    list(GET fields 0 library)
    list(GET fields 1 header)
    list(GET fields 2 define)
    list(GET fields 3 expected)
    execute_process(COMMAND ${CXX} -std=c++17 -E -dM -D_WIN32 ${define} -I "${INCLUDE_DIR}"
                            -include "${header}" "${CMAKE_CURRENT_BINARY_DIR}/export_macros.cpp"
        OUTPUT_VARIABLE macros RESULT_VARIABLE status)
    if(NOT status EQUAL 0 OR NOT macros MATCHES "#define VESK_${library}_API ?([^\n]*)\n")
        message(SEND_ERROR "${header} with _WIN32 ${define}: VESK_${library}_API is not defined")
    elseif(NOT CMAKE_MATCH_1 STREQUAL expected)
        message(SEND_ERROR "${header} with _WIN32 ${define}: VESK_${library}_API is '${CMAKE_MATCH_1}', not '${expected}'")
    endif()
endforeach()
