# Only the platform room, its public header included, knows the operating system; rooms are entered through their
# doorways; files stay readable.
cmake_minimum_required(VERSION 3.25)

set(system_headers
    "<(unistd|fcntl|dirent|dlfcn|pthread|pwd|grp|poll|termios|spawn|sched|semaphore|windows|io|direct|process|libgen|glob|ftw|utime|syslog)\\.h>"
    "<(sys|linux|asm|net|netinet|arpa|bits)/[^>]+>")
set(line_limit 900)
set(findings "")

file(GLOB_RECURSE code RELATIVE ${ROOT} ${ROOT}/core/*.cpp ${ROOT}/core/*.h ${ROOT}/bathy/*.cpp ${ROOT}/bathy/*.h
     ${ROOT}/Source/*.cpp ${ROOT}/Source/*.h ${ROOT}/include/*.h ${ROOT}/tools/*.cpp ${ROOT}/tools/*.h)
file(GLOB_RECURSE others RELATIVE ${ROOT} ${ROOT}/tests/*.cpp ${ROOT}/tests/*.h ${ROOT}/fuzz/*.cpp ${ROOT}/bench/*.cpp
     ${ROOT}/tests/*.c)
list(LENGTH code count)
if(count EQUAL 0)
    message(FATAL_ERROR "no sources below ${ROOT}")
endif()

foreach(file IN LISTS code)
    file(STRINGS ${ROOT}/${file} includes REGEX "^[ \t]*#[ \t]*include")
    foreach(include IN LISTS includes)
        if(NOT file MATCHES "^Source/platform/|^include/skar/platform\\.h$")
            foreach(pattern IN LISTS system_headers)
                if(include MATCHES "${pattern}")
                    list(APPEND findings "${file}: ${include} belongs into Source/platform")
                endif()
            endforeach()
        endif()
        if(include MATCHES "\"\\.\\./")
            list(APPEND findings "${file}: ${include} goes around the doorway of a room")
        endif()
    endforeach()
endforeach()

foreach(file IN LISTS code others)
    file(READ ${ROOT}/${file} text)
    string(REGEX REPLACE "[^\n]+" "" ends "${text}")
    string(LENGTH "${ends}" lines)
    if(lines GREATER line_limit)
        list(APPEND findings "${file}: ${lines} lines, more than ${line_limit}")
    endif()
endforeach()

# <skar/skario.h> alone is enough to call everything.
file(STRINGS ${ROOT}/include/skar/skario.h whole REGEX "^#include <skar/")
file(GLOB headers RELATIVE ${ROOT}/include ${ROOT}/include/skar/*.h)
list(REMOVE_ITEM headers skar/skario.h)
foreach(header IN LISTS headers)
    if(NOT "#include <${header}>" IN_LIST whole)
        list(APPEND findings "include/skar/skario.h does not include <${header}>")
    endif()
endforeach()

if(findings)
    list(JOIN findings "\n  " text)
    message(FATAL_ERROR "the house rules are broken:\n  ${text}")
endif()
message(STATUS "${count} files follow the rules")
