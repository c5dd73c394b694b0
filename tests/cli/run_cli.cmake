# Runs the velto driver and checks its exit code and, optionally, that its
# output contains a given text.
#   -DVELTO=path -DARGS="a;b" -DEXPECT_RC=n [-DEXPECT_OUT=text] [-DEXPECT_ERR=text]
separate_arguments(args UNIX_COMMAND "${ARGS}")
execute_process(COMMAND ${VELTO} ${args}
  RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
if(NOT rc EQUAL EXPECT_RC)
  message(FATAL_ERROR "exit code ${rc}, expected ${EXPECT_RC}\nstdout:\n${out}\nstderr:\n${err}")
endif()
if(DEFINED EXPECT_OUT)
  string(FIND "${out}" "${EXPECT_OUT}" pos)
  if(pos EQUAL -1)
    message(FATAL_ERROR "stdout lacks '${EXPECT_OUT}':\n${out}")
  endif()
endif()
if(DEFINED EXPECT_ERR)
  string(FIND "${err}" "${EXPECT_ERR}" pos)
  if(pos EQUAL -1)
    message(FATAL_ERROR "stderr lacks '${EXPECT_ERR}':\n${err}")
  endif()
endif()
