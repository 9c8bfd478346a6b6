# What the tests of this folder share.

# Runs a command and stops with its output when it fails.
function(run_or_fail what)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "${what} failed (${result}):\n${output}")
    endif()
endfunction()

# Builds a project of this folder as an outsider has it: a copy of it, a fresh build folder, and nothing of ours but the
# installed tree. build_installed(NAME PREFIX [CMAKE ARGUMENTS...]) builds BUILD/NAME; needs BUILD, GENERATOR, COMPILER.
function(build_installed name prefix)
    set(source "${BUILD}/source/${name}")
    set(build "${BUILD}/${name}")
    file(REMOVE_RECURSE "${source}" "${build}")
    file(COPY "${CMAKE_CURRENT_LIST_DIR}/${name}" DESTINATION "${BUILD}/source")
    run_or_fail("configuring ${name}" ${CMAKE_COMMAND} -S "${source}" -B "${build}" -G "${GENERATOR}"
        "-DCMAKE_CXX_COMPILER=${COMPILER}" -DCMAKE_BUILD_TYPE=Release "-DCMAKE_PREFIX_PATH=${prefix}" ${ARGN})
    run_or_fail("building ${name}" ${CMAKE_COMMAND} --build "${build}" -j 2)

    # Headers come from the installed tree, and from the system.
    file(READ "${build}/compile_commands.json" commands)
    string(REGEX MATCHALL "(-I|-isystem |-iquote )[^ ]+" folders "${commands}")
    foreach(folder IN LISTS folders)
        string(REGEX REPLACE "^(-I|-isystem |-iquote )" "" folder "${folder}")
        string(FIND "${folder}" "${prefix}/" inside)
        if(NOT inside EQUAL 0 AND NOT folder MATCHES "^/usr/")
            message(FATAL_ERROR "${name} is built with the headers of ${folder}")
        endif()
    endforeach()
endfunction()
