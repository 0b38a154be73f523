# The .pc file holds the prefix of the configuration; a package moved elsewhere is found by overriding it.
cmake_minimum_required(VERSION 3.25)

set(ENV{PKG_CONFIG_PATH} ${PREFIX}/${LIBRARY_FOLDER}/pkgconfig)
execute_process(COMMAND ${PKG_CONFIG} --define-variable=prefix=${PREFIX}
                        --define-variable=libdir=${PREFIX}/${LIBRARY_FOLDER} --define-variable=includedir=${PREFIX}/include
                        --cflags --libs skario
                OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
separate_arguments(flags UNIX_COMMAND "${flags}")
execute_process(COMMAND ${COMPILER} -std=c++20 ${SOURCE} -o ${PROGRAM} ${flags} -Wl,-rpath,${PREFIX}/${LIBRARY_FOLDER}
                COMMAND_ERROR_IS_FATAL ANY)
file(MAKE_DIRECTORY ${PROGRAM}_store)
execute_process(COMMAND ${PROGRAM} ${PROGRAM}_store COMMAND_ERROR_IS_FATAL ANY)
