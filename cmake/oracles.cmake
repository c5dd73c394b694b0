# Open-source sparse Cholesky and ordering libraries (Debian's
# libsuitesparse-dev and libmetis-dev) used as oracles by tests and
# benchmarks of the barrier factor, never by the library.  velto_link_oracles
# links them into a target and defines VELTO_HAVE_ORACLES when all are found.
find_path(ORACLE_CHOLMOD_INCLUDE cholmod.h PATH_SUFFIXES suitesparse)
find_path(ORACLE_METIS_INCLUDE metis.h)
find_library(ORACLE_CHOLMOD_LIB cholmod)
find_library(ORACLE_AMD_LIB amd)
find_library(ORACLE_SSCONFIG_LIB suitesparseconfig)
find_library(ORACLE_METIS_LIB metis)
function(velto_link_oracles target)
  if(ORACLE_CHOLMOD_INCLUDE AND ORACLE_METIS_INCLUDE AND ORACLE_CHOLMOD_LIB AND ORACLE_AMD_LIB
     AND ORACLE_SSCONFIG_LIB AND ORACLE_METIS_LIB)
    target_include_directories(${target} PRIVATE ${ORACLE_CHOLMOD_INCLUDE} ${ORACLE_METIS_INCLUDE})
    target_link_libraries(${target} PRIVATE ${ORACLE_CHOLMOD_LIB} ${ORACLE_AMD_LIB}
                          ${ORACLE_METIS_LIB} ${ORACLE_SSCONFIG_LIB})
    target_compile_definitions(${target} PRIVATE VELTO_HAVE_ORACLES)
  endif()
endfunction()
