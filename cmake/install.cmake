# What is installed, and how others find it: by pkg-config (tnk.pc) or find_package(tnk). Both find the prefix from
# their own place, so an installation may be moved.

include(CMakePackageConfigHelpers)

set(TNK_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/tnk)
set(TNK_DATA_DIR ${CMAKE_INSTALL_DATADIR}/tnk)

# The kernel library is no target for users: the host loads it from beside itself.
install(TARGETS tnk_front tnk_host EXPORT tnk LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(TARGETS tnk_avx LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
add_custom_target(tnk_installed DEPENDS tnk_front tnk_host tnk_avx tnk_blas tnk_blas64) # all that has to be built for it
if(TARGET tnk)
  install(TARGETS tnk RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  add_dependencies(tnk_installed tnk)
endif()
# The drop-in has a folder of its own, where no program finds it unasked; with what it takes to ask for it.
set(TNK_BLAS_DIR ${CMAKE_INSTALL_LIBDIR}/tnk-blas)
install(TARGETS tnk_blas tnk_blas64 LIBRARY DESTINATION ${TNK_BLAS_DIR})
install(PROGRAMS scripts/use-blas.sh DESTINATION ${TNK_BLAS_DIR})
foreach(TNK_BLAS_BITS 32 64)
  string(REPLACE 32 "" width ${TNK_BLAS_BITS})
  set(TNK_BLAS_LINK blas${width})
  set(TNK_BLAS_NAME libblas${width})
  configure_file(${PROJECT_SOURCE_DIR}/cmake/libblas.pc.in ${PROJECT_BINARY_DIR}/libblas${width}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/libblas${width}.pc DESTINATION ${TNK_BLAS_DIR})
endforeach()
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/tnk DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples/data DESTINATION ${TNK_DATA_DIR})
install(
  DIRECTORY ${PROJECT_SOURCE_DIR}/examples/
  DESTINATION ${TNK_DATA_DIR}/examples
  PATTERN data EXCLUDE)
# Where Python looks under a prefix: Debian's does in dist-packages, others in site-packages.
find_package(Python3 QUIET COMPONENTS Interpreter)
if(Python3_FOUND)
  execute_process(
    COMMAND ${Python3_EXECUTABLE} -c "import sys, sysconfig; packages = sysconfig.get_path('purelib'); \
print('lib/python%d.%d/' % sys.version_info[:2] + packages.rsplit('/', 1)[1])"
    OUTPUT_VARIABLE TNK_PYTHON_DIR
    OUTPUT_STRIP_TRAILING_WHITESPACE)
  install(
    DIRECTORY ${PROJECT_SOURCE_DIR}/python/tnk
    DESTINATION ${TNK_PYTHON_DIR}
    PATTERN __pycache__ EXCLUDE)
endif()
install(FILES LICENSE README.md CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY docs DESTINATION ${CMAKE_INSTALL_DOCDIR})

# ---- CMake package
install(EXPORT tnk FILE tnkTargets.cmake NAMESPACE tnk:: DESTINATION ${TNK_CMAKE_DIR})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/tnkConfig.cmake.in ${PROJECT_BINARY_DIR}/tnkConfig.cmake
                              INSTALL_DESTINATION ${TNK_CMAKE_DIR} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/tnkConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/tnkConfig.cmake ${PROJECT_BINARY_DIR}/tnkConfigVersion.cmake
        DESTINATION ${TNK_CMAKE_DIR})

# ---- pkg-config
file(RELATIVE_PATH TNK_PREFIX_FROM_PC /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" TNK_PREFIX_FROM_PC ${TNK_PREFIX_FROM_PC})
configure_file(${PROJECT_SOURCE_DIR}/cmake/tnk.pc.in ${PROJECT_BINARY_DIR}/tnk.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/tnk.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# ---- The way back; last, since it notes what was installed before
install(CODE "set(TNK_DATA_DIR ${TNK_DATA_DIR})")
install(SCRIPT ${PROJECT_SOURCE_DIR}/cmake/note_installed.cmake)
