# Builds the plug-in with -DOV3D_HOST_SDK=tests/hostsdk and runs that library's own program over the result.
#
# Needs SOURCE, BUILD, GENERATOR and COMPILER. No include of the project's own host headers may slip in, so the
# compiler's own record of what it read is searched for them.

set(sdk "${SOURCE}/tests/hostsdk")

function(run_or_fail what)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "${what} failed (${result}):\n${output}")
    endif()
endfunction()

run_or_fail("configuring" ${CMAKE_COMMAND} -S "${SOURCE}" -B "${BUILD}" -G "${GENERATOR}"
    "-DCMAKE_CXX_COMPILER=${COMPILER}" -DCMAKE_BUILD_TYPE=Debug "-DOV3D_HOST_SDK=${sdk}"
    -DOV3D_BUILD_VIEWER=OFF -DOV3D_BUILD_APPS=OFF -DOV3D_BUILD_TESTS=OFF)
run_or_fail("building" ${CMAKE_COMMAND} --build "${BUILD}" -j 2)

if(GENERATOR STREQUAL "Ninja")
    execute_process(COMMAND ninja -C "${BUILD}" -t deps OUTPUT_VARIABLE dependencies)
    string(FIND "${dependencies}" "hostsdk/host/framework/framework.h" used)
    if(used EQUAL -1)
        message(FATAL_ERROR "nothing was compiled against ${sdk}/host/framework/framework.h")
    endif()
    file(GLOB own_headers "${SOURCE}/host/framework/*.h" "${SOURCE}/host/qimageex/*.h")
    file(RELATIVE_PATH up "${BUILD}" "${SOURCE}")
    foreach(header IN LISTS own_headers)
        file(RELATIVE_PATH inside "${SOURCE}" "${header}")
        foreach(spelling "${SOURCE}/${inside}" " ${up}/${inside}")
            string(FIND "${dependencies}" "${spelling}\n" slipped)
            if(NOT slipped EQUAL -1)
                message(FATAL_ERROR "the plug-in was compiled against ${header}")
            endif()
        endforeach()
    endforeach()
endif()

run_or_fail("the program over the second host library" "${BUILD}/bin/hostsdk_check" "${BUILD}/lib/libov3dobject.so.1")
