# Installs the build into an empty prefix, builds the consumer against that prefix and runs it.
# Expects BUILD_DIR, CONSUMER_DIR, WORK_DIR, CONFIG, GENERATOR and C_FLAGS.

function(run_step)
  execute_process(COMMAND ${ARGN} COMMAND_ECHO STDOUT COMMAND_ERROR_IS_FATAL ANY)
endfunction()

file(REMOVE_RECURSE "${WORK_DIR}")
set(prefix "${WORK_DIR}/prefix")
set(build "${WORK_DIR}/build")
run_step("${CMAKE_COMMAND}" --install "${BUILD_DIR}" --prefix "${prefix}" --config "${CONFIG}")
run_step("${CMAKE_COMMAND}" -S "${CONSUMER_DIR}" -B "${build}" -G "${GENERATOR}"
  "-DCMAKE_PREFIX_PATH=${prefix}" "-DCMAKE_BUILD_TYPE=${CONFIG}" "-DCMAKE_C_FLAGS=${C_FLAGS}")
run_step("${CMAKE_COMMAND}" --build "${build}" --config "${CONFIG}")
run_step("${build}/consumer")

# The installed tool finds the installed library beside it.
run_step("${prefix}/bin/nimbhost" call zfVersion)
