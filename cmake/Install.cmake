# What an installation holds, in components: programs, data, development, python.
include(${PROJECT_SOURCE_DIR}/cmake/InstallHeaders.cmake)
include(CMakePackageConfigHelpers)

set(ORVIX_DATA_DIR ${CMAKE_INSTALL_DATADIR}/orvixn)
set(package ${CMAKE_INSTALL_LIBDIR}/cmake/orvix)

if(ORVIX_BUILD_PROGRAMS)
    install(TARGETS ${ORVIX_PROGRAMS} RUNTIME COMPONENT programs)
endif()
install(DIRECTORY ${CMAKE_BINARY_DIR}/share/orvixn/tab DESTINATION ${ORVIX_DATA_DIR}
        COMPONENT data OPTIONAL PATTERN orvix.image EXCLUDE)
install(FILES data/proteins.tsv DESTINATION ${ORVIX_DATA_DIR} COMPONENT data)
install(DIRECTORY examples DESTINATION ${ORVIX_DATA_DIR} COMPONENT data)
if(ORVIX_PREPARE_IMAGE)
    # The image knows its tables by their times, so it is made of the installed ones. Without it
    # runs read the text.
    install(CODE "
        set(data \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${ORVIX_DATA_DIR}\")
        execute_process(COMMAND \"$<TARGET_FILE:orvix_program>\" data prepare \"\${data}\"
                        RESULT_VARIABLE problem)
        if(problem)
            message(WARNING \"no image of \${data} could be made; runs will read the text\")
        endif()" COMPONENT data)
endif()

# The library is static: no interface between versions is promised, and a program linked to it keeps
# giving the same bytes.
install(TARGETS orvix EXPORT orvixTargets ARCHIVE COMPONENT development)
orvix_public_headers(headers
    run/predict.h model/model.h
    run/orvix.h
    tables/gdb.h tables/gdb2.h tables/line_node.h
    networks/ann.h networks/surfann.h networks/ssann.h networks/chi1ann.h
    order/rci.h
    search/db.h search/clusterdata.h
    structure/pdb.h
    base/run_end.h base/streams.h base/version.h)
orvix_install_headers(${headers})
# For programs that are not built by CMake. Found from where the file lies, like the CMake package.
file(RELATIVE_PATH ORVIX_PC_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(cmake/orvix.pc.in ${CMAKE_BINARY_DIR}/orvix.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/orvix.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
        COMPONENT development)
install(EXPORT orvixTargets NAMESPACE orvix:: DESTINATION ${package} COMPONENT development)
configure_package_config_file(cmake/orvixConfig.cmake.in ${CMAKE_BINARY_DIR}/orvixConfig.cmake
                              INSTALL_DESTINATION ${package} PATH_VARS ORVIX_DATA_DIR)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/orvixConfigVersion.cmake
                                 COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_BINARY_DIR}/orvixConfig.cmake ${CMAKE_BINARY_DIR}/orvixConfigVersion.cmake
        DESTINATION ${package} COMPONENT development)
