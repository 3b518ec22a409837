# The parts of the build beside the library (tool, tests, benchmarks) each
# need packages that a library user may not have. Each part is a cache
# variable AUTO, ON or OFF:
#   AUTO  build it when its packages are found, else skip it with one line
#         that says what to install;
#   ON    build it; a missing package stops the configure with that line;
#   OFF   do not build it.

# Declares the part `variable` with `default` (AUTO, ON or OFF).
function(vesk_optional_part variable description default)
    set(${variable} ${default} CACHE STRING "${description} (AUTO, ON or OFF)")
    set_property(CACHE ${variable} PROPERTY STRINGS AUTO ON OFF)
endfunction()

# Sets `result` in the caller to whether the part may be built (AUTO or ON),
# that is, whether its packages are worth looking for.
function(vesk_part_wanted variable result)
    string(TOUPPER "${${variable}}" value)
    if(value STREQUAL "AUTO" OR value)
        set(${result} ON PARENT_SCOPE)
    else()
        set(${result} OFF PARENT_SCOPE)
    endif()
endfunction()

# Sets `${variable}_ENABLED` in the caller to whether the part is built.
# `found` is true when its packages were found; `what` names the part and
# `install` what provides the missing packages.
function(vesk_resolve_part variable found what install)
    set(value "${${variable}}")
    string(TOUPPER "${value}" value)
    if(value STREQUAL "AUTO")
        if(found)
            set(${variable}_ENABLED ON PARENT_SCOPE)
        else()
            message(STATUS "Skipping ${what}: ${install}")
            set(${variable}_ENABLED OFF PARENT_SCOPE)
        endif()
    elseif(value)
        if(NOT found)
            message(FATAL_ERROR "${variable} is ${${variable}}, but ${what} cannot be built: ${install}")
        endif()
        set(${variable}_ENABLED ON PARENT_SCOPE)
    else()
        set(${variable}_ENABLED OFF PARENT_SCOPE)
    endif()
endfunction()
