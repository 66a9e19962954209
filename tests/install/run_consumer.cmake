# Installs the build into WORK_DIR/prefix, then builds the consumer twice:
# through find_package(zeqj) and through pkg-config, and runs both.
file(REMOVE_RECURSE ${WORK_DIR})
set(prefix ${WORK_DIR}/prefix)

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "failed: ${ARGN}\n${out}\n${err}")
  endif()
  message(STATUS "${out}")
endfunction()

run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})

run(${CMAKE_COMMAND} -S ${CONSUMER_DIR} -B ${WORK_DIR}/cmake-consumer -DCMAKE_PREFIX_PATH=${prefix}
    -DCMAKE_C_COMPILER=${C_COMPILER})
run(${CMAKE_COMMAND} --build ${WORK_DIR}/cmake-consumer)
run(${WORK_DIR}/cmake-consumer/consumer)

file(GLOB_RECURSE pcfile ${prefix}/*/zeqj.pc)
get_filename_component(pcdir ${pcfile} DIRECTORY)
set(ENV{PKG_CONFIG_PATH} ${pcdir})
execute_process(COMMAND pkg-config --cflags --libs zeqj OUTPUT_VARIABLE flags RESULT_VARIABLE rc
                OUTPUT_STRIP_TRAILING_WHITESPACE)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "pkg-config does not know zeqj")
endif()
separate_arguments(flags UNIX_COMMAND "${flags}")
file(GLOB_RECURSE libzeqj ${prefix}/*/libzeqj.so)
get_filename_component(libdir ${libzeqj} DIRECTORY)
run(${C_COMPILER} -std=c99 ${CONSUMER_DIR}/main.c ${flags} -Wl,-rpath,${libdir} -o ${WORK_DIR}/pc-consumer)
run(${WORK_DIR}/pc-consumer)
