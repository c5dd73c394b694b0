# Run by ctest (see CMakeLists.txt): BUILD, WORK, SRC, CC, PYTHON, EXPORTS,
# LIBDIR, PYDIR.
function(run what)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err
                  WORKING_DIRECTORY ${WORK})
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "${what} failed (${rc}):\n${out}\n${err}")
  endif()
  set(out "${out}" PARENT_SCOPE)
endfunction()

file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK})
set(P ${WORK}/prefix)
run("cmake --install" ${CMAKE_COMMAND} --install ${BUILD} --prefix ${P})

foreach(f include/velto.h ${LIBDIR}/libvelto.so ${LIBDIR}/libvelto.a bin/velto bin/velto-cbc
          ${LIBDIR}/cmake/velto/veltoConfig.cmake ${LIBDIR}/pkgconfig/velto.pc
          share/velto/examples/production.mps ${PYDIR}/velto/__init__.py
          ${PYDIR}/velto/_decls.py ${PYDIR}/velto/_install.py)
  if(NOT EXISTS ${P}/${f})
    message(FATAL_ERROR "not installed: ${f}")
  endif()
endforeach()
if(NOT IS_SYMLINK ${P}/bin/velto-cbc)
  message(FATAL_ERROR "bin/velto-cbc is not a link to velto")
endif()

# Only VLT* symbols leave the installed library.
run("export check" ${CMAKE_COMMAND} -DLIB=${P}/${LIBDIR}/libvelto.so -P ${EXPORTS})

# find_package(velto): shared and static.
run("consumer configure" ${CMAKE_COMMAND} -S ${SRC}/consumer -B ${WORK}/consumer
    -DCMAKE_PREFIX_PATH=${P} -DCMAKE_C_COMPILER=${CC} -DCMAKE_BUILD_TYPE=Release)
run("consumer build" ${CMAKE_COMMAND} --build ${WORK}/consumer)
run("consumer_shared" ${WORK}/consumer/consumer_shared)
run("consumer_static" ${WORK}/consumer/consumer_static)

# pkg-config.
find_program(PKGCONFIG pkg-config)
if(PKGCONFIG)
  set(ENV{PKG_CONFIG_PATH} ${P}/${LIBDIR}/pkgconfig)
  run("pkg-config" ${PKGCONFIG} --cflags --libs velto)
  separate_arguments(flags UNIX_COMMAND "${out}")
  run("pkg-config libdir" ${PKGCONFIG} --variable=libdir velto)
  string(STRIP "${out}" libdir)
  run("pkg-config build" ${CC} ${SRC}/consumer/consumer.c -o ${WORK}/consumer_pc ${flags}
      -Wl,-rpath,${libdir} -lm)
  run("consumer_pc" ${WORK}/consumer_pc)
else()
  message(WARNING "pkg-config not installed: its part of the install test skipped")
endif()

# The installed driver finds its example under the install, from any folder:
# the example replaced there by another model, the driver solves that one.
run("installed velto" ${P}/bin/velto --quiet)
if(NOT out MATCHES "Status: optimal")
  message(FATAL_ERROR "installed velto did not solve its example:\n${out}")
endif()
file(COPY_FILE ${P}/share/velto/examples/production.mps ${WORK}/production.mps)
file(COPY_FILE ${SRC}/small.mps ${P}/share/velto/examples/production.mps)
run("installed velto" ${P}/bin/velto --quiet)
if(NOT out MATCHES "Objective: 2.8\n")
  message(FATAL_ERROR "installed velto did not read the example under its install:\n${out}")
endif()
file(COPY_FILE ${WORK}/production.mps ${P}/share/velto/examples/production.mps)
run("installed velto-cbc" ${P}/bin/velto-cbc ${P}/share/velto/examples/production.mps
    solve solution ${WORK}/production.sol)
file(READ ${WORK}/production.sol sol)
if(NOT sol MATCHES "^Optimal - objective value")
  message(FATAL_ERROR "velto-cbc solution file:\n${sol}")
endif()

# The installed Python module loads the installed library by itself.
if(PYTHON)
  set(ENV{VELTO_LIBRARY} "")
  set(ENV{PYTHONPATH} ${P}/${PYDIR})
  run("installed Python module" ${PYTHON} ${SRC}/installed_module.py ${P})
  file(REAL_PATH ${P}/${LIBDIR} reallib)
  if(NOT out MATCHES "^${reallib}/libvelto")
    message(FATAL_ERROR "the installed module loaded ${out}, not the library under ${reallib}")
  endif()
endif()
message(STATUS "install into ${P} works")
