# PROGRAM, a list, must print what the file PINNED holds; else the test shows the lines that differ. SCRATCH is a file to
# write.
execute_process(COMMAND ${PROGRAM} OUTPUT_VARIABLE printed)
string(REPLACE "\r" "" printed "${printed}")
file(READ ${PINNED} pinned)
if(NOT printed STREQUAL pinned)
    file(WRITE ${SCRATCH} "${printed}")
    execute_process(COMMAND diff ${PINNED} ${SCRATCH})
    message(FATAL_ERROR "not what ${PINNED} holds; `make pinned` writes it anew")
endif()
