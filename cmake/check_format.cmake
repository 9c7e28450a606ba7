# Fails when clang-format would change any C++ file of the project.
file(GLOB_RECURSE files ${ROOT}/src/*.h ${ROOT}/src/*.cpp ${ROOT}/tests/*.h ${ROOT}/tests/*.cpp
     ${ROOT}/bench/*.h ${ROOT}/bench/*.cpp)
execute_process(COMMAND ${CLANG_FORMAT} --dry-run -Werror ${files}
                RESULT_VARIABLE rc ERROR_VARIABLE err)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "Not formatted (run: make format):\n${err}")
endif()
