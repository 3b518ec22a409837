# The committed table of MOPAC knowledge is what the generator makes of the
# lists beside the checkout: run it again and compare.
#   cmake -DPYTHON=... -DSOURCE_DIR=... -DSHARED_DIR=... -DOUT=... -P tables_generated.cmake
execute_process(
    COMMAND "${PYTHON}" "${SOURCE_DIR}/scripts/make_mopac_tables.py"
            "${SHARED_DIR}/mopac-keywords.tsv" "${SHARED_DIR}/mopac-method-elements.tsv"
    OUTPUT_FILE "${OUT}" RESULT_VARIABLE status)
if(NOT status EQUAL 0)
    message(FATAL_ERROR "the generator failed (${status})")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} -E compare_files "${OUT}" "${SOURCE_DIR}/src/mopac/tables.cpp"
                RESULT_VARIABLE differs)
if(differs)
    message(FATAL_ERROR "src/mopac/tables.cpp is not what scripts/make_mopac_tables.py makes of ${SHARED_DIR}: "
                        "run the script again")
endif()
