# Configures, builds and runs tests/consumer against the Halyward source tree.
foreach(step
    "${CMAKE_COMMAND};-S;${SOURCE}/tests/consumer;-B;${BINARY};-G;${GENERATOR};-DHALYWARD_SOURCE_DIR=${SOURCE};-DCMAKE_BUILD_TYPE=Debug"
    "${CMAKE_COMMAND};--build;${BINARY};--target;consumer"
    "${BINARY}/consumer")
  execute_process(COMMAND ${step} RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "step failed (${status}): ${step}\n${out}\n${err}")
  endif()
endforeach()
