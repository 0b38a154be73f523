# A room is one folder of the library. Its headers can be reached only by the rooms that link it: every room
# has an include folder of its own in the build tree with a single link in it, so that an include against the
# direction of the house does not compile.
#
#   skar_room(NAME <name> LINKS <targets>...)      in the room's own CMakeLists.txt
#
# makes the static target skar_<name> from the sources beside it; others include "<name>/header.h".
function(skar_room)
    cmake_parse_arguments(ROOM "" "NAME" "LINKS;PRIVATE_LINKS;EXTRA_SOURCES" ${ARGN})
    file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp ${CMAKE_CURRENT_SOURCE_DIR}/*.h)
    add_library(skar_${ROOM_NAME} STATIC ${sources} ${ROOM_EXTRA_SOURCES})
    set(doorway ${PROJECT_BINARY_DIR}/rooms/${ROOM_NAME})
    file(MAKE_DIRECTORY ${doorway})
    file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR} ${doorway}/${ROOM_NAME} SYMBOLIC)
    target_include_directories(skar_${ROOM_NAME} PUBLIC ${doorway} ${PROJECT_SOURCE_DIR}/include
                                                        ${PROJECT_BINARY_DIR}/include)
    target_compile_definitions(skar_${ROOM_NAME} PRIVATE SKAR_BUILDING=1)
    # Exceptions name the source file they were thrown from: its path in the tree, not the builder's, which a
    # compiler cache may have made relative to the build folder.
    file(RELATIVE_PATH from_build ${CMAKE_BINARY_DIR} ${PROJECT_SOURCE_DIR})
    target_compile_options(skar_${ROOM_NAME} PRIVATE -fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=
                                                     -fmacro-prefix-map=${from_build}=)
    target_link_libraries(skar_${ROOM_NAME} PUBLIC ${ROOM_LINKS} PRIVATE skar_warnings ${ROOM_PRIVATE_LINKS})
    set_property(GLOBAL APPEND PROPERTY SKAR_ROOMS skar_${ROOM_NAME})
endfunction()

# Takes every object of every room into a target. Whole archives would say the same, but CMake refuses them for
# libraries that also come as the need of one another.
function(skar_link_rooms target)
    get_property(rooms GLOBAL PROPERTY SKAR_ROOMS)
    foreach(room ${rooms})
        target_sources(${target} PRIVATE $<TARGET_OBJECTS:${room}>)
    endforeach()
    target_link_libraries(${target} PRIVATE ${rooms})
endfunction()
