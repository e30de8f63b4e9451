# What `cmake --install` puts where: for each of the two libraries its headers, a pkg-config file and CMake package files.
# Components: runtime, development and, only when asked for by name, examples. The installed tree may be moved.
include(CMakePackageConfigHelpers)

set(PCM_DESCRIPTION "Holds, converts and processes pulse-code-modulated audio")
set(PCM_REQUIRES "pb")
set(PB_DESCRIPTION "The base runtime of pcm: objects, memory and containers")
set(PB_REQUIRES "")

# The prefix, relative to the files that name it.
file(RELATIVE_PATH pc_to_prefix ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" pc_to_prefix "${pc_to_prefix}")
cmake_path(APPEND pc_libdir "\${prefix}" ${CMAKE_INSTALL_LIBDIR})
cmake_path(APPEND pc_includedir "\${prefix}" ${CMAKE_INSTALL_INCLUDEDIR})

# Links the build tree with the RUNPATH that is installed. Otherwise CMake reserves space for it with empty entries, and
# an empty entry stands for the current directory.
function(set_runpath target)
    set_target_properties(${target} PROPERTIES INSTALL_RPATH "${ARGN}")
    if(NOT CMAKE_SKIP_INSTALL_RPATH)
        set_target_properties(${target} PROPERTIES BUILD_WITH_INSTALL_RPATH ON)
    endif()
endfunction()

function(install_library name)
    string(TOUPPER ${name} upper)
    set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/${name})
    set(generated ${CMAKE_CURRENT_BINARY_DIR}/install)

    set_runpath(${name} $ORIGIN) # libpcm finds its libpb wherever both are
    install(TARGETS ${name} EXPORT ${name}
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development)
    install(DIRECTORY include/${name} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)

    set(PC_NAME ${name})
    set(PC_DESCRIPTION "${${upper}_DESCRIPTION}")
    set(PC_REQUIRES "${${upper}_REQUIRES}")
    configure_file(cmake/library.pc.in ${generated}/${name}.pc @ONLY)
    install(FILES ${generated}/${name}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

    configure_package_config_file(cmake/${name}-config.cmake.in ${generated}/${name}-config.cmake
        INSTALL_DESTINATION ${package_dir} NO_SET_AND_CHECK_MACRO)
    write_basic_package_version_file(${generated}/${name}-config-version.cmake COMPATIBILITY SameMajorVersion)
    install(FILES ${generated}/${name}-config.cmake ${generated}/${name}-config-version.cmake
        DESTINATION ${package_dir} COMPONENT development)
    install(EXPORT ${name} FILE ${name}-targets.cmake NAMESPACE ${name}:: DESTINATION ${package_dir}
        COMPONENT development)
endfunction()

install_library(pb)
install_library(pcm)

if(PCM_BUILD_EXAMPLES)
    file(RELATIVE_PATH programs_to_libdir ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
    get_property(programs GLOBAL PROPERTY PCM_PROGRAMS)
    foreach(program ${programs})
        set_runpath(${program} $ORIGIN/../lib $ORIGIN/${programs_to_libdir}) # in the build tree, and installed
    endforeach()
    install(TARGETS ${programs} RUNTIME COMPONENT examples EXCLUDE_FROM_ALL)
    install(DIRECTORY examples/ DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples COMPONENT examples EXCLUDE_FROM_ALL
        FILES_MATCHING PATTERN "*.c" PATTERN "*.h" PATTERN "*.cpp")
endif()

install(FILES docs/man/pcm.7 DESTINATION ${CMAKE_INSTALL_MANDIR}/man7 COMPONENT development)
if(PCM_BUILD_EXAMPLES)
    file(GLOB program_pages CONFIGURE_DEPENDS docs/man/*.1)
    list(REMOVE_ITEM program_pages ${CMAKE_SOURCE_DIR}/docs/man/pcm-archive.1)
    install(FILES ${program_pages} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT examples EXCLUDE_FROM_ALL)
endif()

if(PCM_BUILD_PYTHON)
    set(python_dir lib/python3/dist-packages)
    install(TARGETS pcm_python LIBRARY DESTINATION ${python_dir}/pcm COMPONENT python EXCLUDE_FROM_ALL)
    install(FILES python/pcm.pyi DESTINATION ${python_dir}/pcm RENAME __init__.pyi COMPONENT python EXCLUDE_FROM_ALL)
    install(FILES python/py.typed DESTINATION ${python_dir}/pcm COMPONENT python EXCLUDE_FROM_ALL)
    install(DIRECTORY python/pcm_archive DESTINATION ${python_dir} COMPONENT archive EXCLUDE_FROM_ALL
        PATTERN __pycache__ EXCLUDE)
    install(PROGRAMS python/pcm-archive TYPE BIN COMPONENT archive EXCLUDE_FROM_ALL)
    install(FILES docs/man/pcm-archive.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT archive EXCLUDE_FROM_ALL)
endif()
