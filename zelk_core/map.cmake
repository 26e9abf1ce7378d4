# Takes the folders of absolute paths out of a map that the linker has written, so that it is the same wherever it was made:
# cmake -D MAP=file -P map.cmake
file(READ ${MAP} text)
string(REGEX REPLACE "([ \n(])(/|[A-Za-z]:[/\\\\])[^\r\n()]*[/\\\\]" "\\1" text "${text}")
file(WRITE ${MAP} "${text}")
