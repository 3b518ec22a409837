# Installs headers, both libraries and a CMake package:
#   find_package(vesk_mopac_mop CONFIG REQUIRED)
#   target_link_libraries(app PRIVATE vesk::mopac_mop)
include(CMakePackageConfigHelpers)

install(TARGETS vesk_mopac_mop vesk_core_fs
    EXPORT vesk_mopac_mop_targets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} NAMELINK_COMPONENT development
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
set_target_properties(vesk_mopac_mop PROPERTIES EXPORT_NAME mopac_mop)
set_target_properties(vesk_core_fs PROPERTIES EXPORT_NAME core_fs)
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/vesk
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
    FILES_MATCHING PATTERN "*.hpp")

set(vesk_mopac_cmake_dir ${CMAKE_INSTALL_LIBDIR}/cmake/vesk_mopac_mop)
install(EXPORT vesk_mopac_mop_targets
    NAMESPACE vesk::
    FILE vesk_mopac_mop-targets.cmake
    DESTINATION ${vesk_mopac_cmake_dir})
configure_package_config_file(
    ${PROJECT_SOURCE_DIR}/cmake/vesk_mopac_mop-config.cmake.in
    ${PROJECT_BINARY_DIR}/vesk_mopac_mop-config.cmake
    INSTALL_DESTINATION ${vesk_mopac_cmake_dir})
write_basic_package_version_file(
    ${PROJECT_BINARY_DIR}/vesk_mopac_mop-config-version.cmake
    VERSION ${PROJECT_VERSION}
    COMPATIBILITY ${VESK_PACKAGE_COMPATIBILITY})
install(FILES
    ${PROJECT_BINARY_DIR}/vesk_mopac_mop-config.cmake
    ${PROJECT_BINARY_DIR}/vesk_mopac_mop-config-version.cmake
    DESTINATION ${vesk_mopac_cmake_dir})

# pkg-config files, one a library:
#   c++ app.cpp $(pkg-config --cflags --libs vesk_mopac_mop)
# They are written when installing, so that they name the prefix the files
# really go to, `cmake --install --prefix` included.
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
    set(vesk_pc_libdir "${CMAKE_INSTALL_LIBDIR}")
    set(vesk_pc_destination "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
else()
    set(vesk_pc_libdir "\${prefix}/${CMAKE_INSTALL_LIBDIR}")
    set(vesk_pc_destination "\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}/pkgconfig")
endif()
if(IS_ABSOLUTE "${CMAKE_INSTALL_INCLUDEDIR}")
    set(vesk_pc_includedir "${CMAKE_INSTALL_INCLUDEDIR}")
else()
    set(vesk_pc_includedir "\${prefix}/${CMAKE_INSTALL_INCLUDEDIR}")
endif()
foreach(library IN ITEMS vesk_mopac_mop vesk_core_fs)
    # One scratch file per prefix: two installs may run at once.
    set(pc_file "${PROJECT_BINARY_DIR}/pkgconfig/\${prefix_hash}/${library}.pc")
    install(CODE "
        set(VESK_PC_PREFIX \"\${CMAKE_INSTALL_PREFIX}\")
        string(MD5 prefix_hash \"\${CMAKE_INSTALL_PREFIX}\")
        set(VESK_PC_LIBDIR [[${vesk_pc_libdir}]])
        set(VESK_PC_INCLUDEDIR [[${vesk_pc_includedir}]])
        set(VESK_PC_VERSION \"${PROJECT_VERSION}\")
        configure_file(\"${PROJECT_SOURCE_DIR}/cmake/${library}.pc.in\" \"${pc_file}\" @ONLY)
        file(INSTALL \"${pc_file}\" DESTINATION \"${vesk_pc_destination}\")")
endforeach()
