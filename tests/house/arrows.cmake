# Preprocesses a source that asks for every room in turn, with the include folders of the room ROOM: only those in
# REACHED may be found. Each room's folder holds a CMakeLists.txt, which serves as the file to ask for.
cmake_minimum_required(VERSION 3.25)

string(REPLACE "," ";" all "${ALL}")
string(REPLACE "," ";" reached "${REACHED}")
string(REPLACE "|" ";" includes "${INCLUDES}")
list(REMOVE_DUPLICATES includes)
list(TRANSFORM includes PREPEND -I)

set(source "")
foreach(room IN LISTS all)
    string(APPEND source "#if __has_include(\"${room}/CMakeLists.txt\")\nfound ${room}\n#endif\n")
endforeach()
string(RANDOM LENGTH 12 suffix)
set(file ${CMAKE_CURRENT_BINARY_DIR}/arrows_${ROOM}_${suffix}.cpp)
file(WRITE ${file} "${source}")
execute_process(COMMAND ${COMPILER} -std=c++20 -E -P ${includes} ${file} OUTPUT_VARIABLE output
                RESULT_VARIABLE result)
file(REMOVE ${file})
if(result)
    message(FATAL_ERROR "the preprocessor failed for room ${ROOM}")
endif()

foreach(room IN LISTS all)
    string(REGEX MATCH "found ${room}\n" seen "${output}\n")
    if(room IN_LIST reached AND NOT seen)
        message(FATAL_ERROR "room ${ROOM} should reach ${room} and does not: see LINKS in its CMakeLists.txt")
    elseif(seen AND NOT room IN_LIST reached)
        message(FATAL_ERROR "room ${ROOM} reaches ${room} against the direction of the house")
    endif()
endforeach()
message(STATUS "room ${ROOM} reaches: ${REACHED}")
