# Has nm list the symbols of a library beside it: cmake -D NM=nm -D LIBRARY=file.dll -P list.cmake
cmake_path(REPLACE_EXTENSION LIBRARY LAST_ONLY .nm OUTPUT_VARIABLE list)
execute_process(COMMAND ${NM} -n ${LIBRARY} OUTPUT_FILE ${list} COMMAND_ERROR_IS_FATAL ANY)
