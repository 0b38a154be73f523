# The first program of the README, built as the README says.
cmake_minimum_required(VERSION 3.25)

file(READ ${README} text)
if(NOT text MATCHES "```cpp\n(.*)")
    message(FATAL_ERROR "${README} shows no program")
endif()
string(FIND "${CMAKE_MATCH_1}" "\n```" end)
string(SUBSTRING "${CMAKE_MATCH_1}" 0 ${end} program)
set(SOURCE ${PROGRAM}.cpp)
file(WRITE ${SOURCE} "${program}\n")
file(MAKE_DIRECTORY store)
include(${CMAKE_CURRENT_LIST_DIR}/pkg_config.cmake)
