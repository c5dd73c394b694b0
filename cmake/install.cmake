# cmake --install: header, shared and static libraries, the driver with its
# velto-cbc link and example, a CMake package (find_package(velto) gives
# velto::velto and velto::velto_static), velto.pc and the Python module.
# Every installed file finds the others by relative paths, so an install
# moved or made with --prefix still works.
include(CMakePackageConfigHelpers)

set(VELTO_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/velto)
set(VELTO_PYTHON_DIR lib/python3/dist-packages CACHE STRING
    "Folder under the install prefix for the Python module")

install(TARGETS velto velto_static EXPORT veltoTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES ${PROJECT_SOURCE_DIR}/include/velto.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(TARGETS velto_cli RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(CODE "execute_process(COMMAND \${CMAKE_COMMAND} -E create_symlink velto
  \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}/velto-cbc\")")
install(FILES ${PROJECT_SOURCE_DIR}/examples/production.mps ${PROJECT_SOURCE_DIR}/examples/production.lp
  DESTINATION ${CMAKE_INSTALL_DATADIR}/velto/examples)

install(EXPORT veltoTargets NAMESPACE velto:: DESTINATION ${VELTO_CMAKE_DIR})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/veltoConfig.cmake.in
  ${PROJECT_BINARY_DIR}/veltoConfig.cmake INSTALL_DESTINATION ${VELTO_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/veltoConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/veltoConfig.cmake ${PROJECT_BINARY_DIR}/veltoConfigVersion.cmake
  DESTINATION ${VELTO_CMAKE_DIR})

# pkg-config: the prefix is found from the .pc file's own folder.
set(root /velto-install-root)
file(RELATIVE_PATH VELTO_PC_TO_PREFIX ${root}/${CMAKE_INSTALL_LIBDIR}/pkgconfig ${root})
string(REGEX REPLACE "/$" "" VELTO_PC_TO_PREFIX "${VELTO_PC_TO_PREFIX}")
configure_file(${PROJECT_SOURCE_DIR}/cmake/velto.pc.in ${PROJECT_BINARY_DIR}/velto.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/velto.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# The Python module, with the way from its folder to the installed library.
file(RELATIVE_PATH VELTO_PY_TO_LIB ${root}/${VELTO_PYTHON_DIR}/velto ${root}/${CMAKE_INSTALL_LIBDIR})
configure_file(${PROJECT_SOURCE_DIR}/cmake/velto_install.py.in ${PROJECT_BINARY_DIR}/python/_install.py @ONLY)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/python/velto DESTINATION ${VELTO_PYTHON_DIR}
  PATTERN __pycache__ EXCLUDE)
install(FILES ${PROJECT_BINARY_DIR}/python/_install.py DESTINATION ${VELTO_PYTHON_DIR}/velto)
