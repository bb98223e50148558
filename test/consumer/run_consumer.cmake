# Installs the built library into a scratch prefix, then configures, builds and
# runs a separate project that uses it through find_package(zelbase).
file(REMOVE_RECURSE ${WORK_DIR})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${WORK_DIR}/prefix
  RESULT_VARIABLE rc OUTPUT_QUIET)
if(rc)
  message(FATAL_ERROR "install failed: ${rc}")
endif()
# Only the API is installed: no *_internal.h header.
file(GLOB internal ${WORK_DIR}/prefix/include/zelbase/*_internal.h)
if(internal)
  message(FATAL_ERROR "internal headers installed: ${internal}")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} -S ${SOURCE_DIR} -B ${WORK_DIR}/build -G Ninja
    -DCMAKE_PREFIX_PATH=${WORK_DIR}/prefix
    -DCMAKE_C_COMPILER=${C_COMPILER} -DCMAKE_CXX_COMPILER=${CXX_COMPILER}
    "-DCMAKE_C_FLAGS=${FLAGS}" "-DCMAKE_CXX_FLAGS=${FLAGS}" "-DCMAKE_EXE_LINKER_FLAGS=${FLAGS}"
  RESULT_VARIABLE rc)
if(rc)
  message(FATAL_ERROR "configure of the consumer failed: ${rc}")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} --build ${WORK_DIR}/build RESULT_VARIABLE rc)
if(rc)
  message(FATAL_ERROR "build of the consumer failed: ${rc}")
endif()
execute_process(COMMAND ${WORK_DIR}/build/consumer RESULT_VARIABLE rc)
if(rc)
  message(FATAL_ERROR "consumer exited with ${rc}")
endif()
# The pkg-config file names the installed library.
file(READ ${WORK_DIR}/prefix/lib/pkgconfig/zelbase.pc pc)
if(NOT pc MATCHES "-lzelbase")
  message(FATAL_ERROR "zelbase.pc does not name the library")
endif()
