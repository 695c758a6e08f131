# Configures the add_subdirectory consumer with a static library, builds it
# and runs it; the consumer fails when the archive was not linked whole.
# Run with -DZOACTOR_SOURCE_DIR, -DWORK_DIR and -DCXX.
file(REMOVE_RECURSE ${WORK_DIR})

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE _rc OUTPUT_VARIABLE _out ERROR_VARIABLE _err)
  if(NOT _rc EQUAL 0)
    message(FATAL_ERROR "Command failed (${_rc}): ${ARGN}\n${_out}\n${_err}")
  endif()
  message(STATUS "${_out}")
endfunction()

# No optimisation: the library is compiled once more, as fast as it goes.
run(${CMAKE_COMMAND} -S ${ZOACTOR_SOURCE_DIR}/tests/subproject -B ${WORK_DIR} -G Ninja
    -DCMAKE_CXX_COMPILER=${CXX} -DCMAKE_BUILD_TYPE= -DZOACTOR_SOURCE_DIR=${ZOACTOR_SOURCE_DIR}
    -DBUILD_SHARED_LIBS=OFF -DZOACTOR_WERROR=ON)
run(${CMAKE_COMMAND} --build ${WORK_DIR})
if(NOT EXISTS ${WORK_DIR}/zoactor/libzoactor.a OR EXISTS ${WORK_DIR}/zoactor/libzoactor.so)
  message(FATAL_ERROR "BUILD_SHARED_LIBS=OFF did not give a static libzoactor.a alone")
endif()
run(${WORK_DIR}/consumer)
