# Fails unless PROGRAM, run by EMULATOR, ends well and prints the content of EXPECTED.
execute_process(COMMAND ${EMULATOR} ${PROGRAM} OUTPUT_VARIABLE output COMMAND_ERROR_IS_FATAL ANY)
string(REPLACE "\r" "" output "${output}")
file(READ ${EXPECTED} expected)
if(NOT output STREQUAL expected)
    message(FATAL_ERROR "expected:\n${expected}\nprinted:\n${output}")
endif()
