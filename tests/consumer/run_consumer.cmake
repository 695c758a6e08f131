# Installs the built library into a temporary prefix, builds the consumer
# against it with find_package and with pkg-config, and runs both.
# Run with -DBUILD_DIR, -DSOURCE_DIR, -DWORK_DIR and -DCXX.
file(REMOVE_RECURSE ${WORK_DIR})
set(_prefix ${WORK_DIR}/prefix)

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE _rc OUTPUT_VARIABLE _out ERROR_VARIABLE _err)
  if(NOT _rc EQUAL 0)
    message(FATAL_ERROR "Command failed (${_rc}): ${ARGN}\n${_out}\n${_err}")
  endif()
  message(STATUS "${_out}")
endfunction()

run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${_prefix})
run(${CMAKE_COMMAND} -S ${SOURCE_DIR} -B ${WORK_DIR}/build -G Ninja
    -DCMAKE_CXX_COMPILER=${CXX} -DCMAKE_PREFIX_PATH=${_prefix} -DCMAKE_BUILD_TYPE=Release)
run(${CMAKE_COMMAND} --build ${WORK_DIR}/build)
run(${CMAKE_COMMAND} -E env LD_LIBRARY_PATH=${_prefix}/lib:${_prefix}/lib/x86_64-linux-gnu ${WORK_DIR}/build/consumer)

# The same program through pkg-config.
find_program(PKG_CONFIG pkg-config)
if(PKG_CONFIG)
  file(GLOB_RECURSE _pc ${_prefix}/*/zoactor.pc)
  list(GET _pc 0 _pcfile)
  get_filename_component(_pcdir ${_pcfile} DIRECTORY)
  execute_process(COMMAND ${CMAKE_COMMAND} -E env PKG_CONFIG_PATH=${_pcdir} ${PKG_CONFIG} --cflags --libs zoactor
    OUTPUT_VARIABLE _flags OUTPUT_STRIP_TRAILING_WHITESPACE RESULT_VARIABLE _rc)
  if(NOT _rc EQUAL 0)
    message(FATAL_ERROR "pkg-config does not know zoactor")
  endif()
  separate_arguments(_flags UNIX_COMMAND "${_flags}")
  run(${CXX} ${SOURCE_DIR}/consumer.cpp ${_flags} -o ${WORK_DIR}/consumer_pc)
  run(${CMAKE_COMMAND} -E env LD_LIBRARY_PATH=${_prefix}/lib:${_prefix}/lib/x86_64-linux-gnu ${WORK_DIR}/consumer_pc)
endif()
