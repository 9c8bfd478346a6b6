# Builds and installs the plug-in with its host library where neither the viewer's libraries nor the tests' may be used,
# then compiles programs against nothing but what was installed and runs them.
#
# Needs SOURCE, BUILD, GENERATOR, COMPILER and READELF.

include("${CMAKE_CURRENT_LIST_DIR}/steps.cmake")

set(prefix "${BUILD}/prefix")
file(REMOVE_RECURSE "${prefix}" "${BUILD}/run")

set(without "")
foreach(package VTK assimp lib3mf KF5Archive Qt5Test OpenGL PkgConfig benchmark)
    list(APPEND without "-DCMAKE_DISABLE_FIND_PACKAGE_${package}=ON")
endforeach()
run_or_fail("configuring" ${CMAKE_COMMAND} -S "${SOURCE}" -B "${BUILD}/tree" -G "${GENERATOR}"
    "-DCMAKE_CXX_COMPILER=${COMPILER}" -DCMAKE_BUILD_TYPE=Debug -DOV3D_WERROR=ON "-DCMAKE_INSTALL_PREFIX=${prefix}"
    -DOV3D_HOST_SDK= -DOV3D_BUILD_VIEWER=OFF -DOV3D_BUILD_APPS=OFF -DOV3D_BUILD_TESTS=OFF ${without})
run_or_fail("building" ${CMAKE_COMMAND} --build "${BUILD}/tree" -j 2)
run_or_fail("installing" ${CMAKE_COMMAND} --install "${BUILD}/tree")

execute_process(COMMAND ${READELF} -d -W "${prefix}/lib/libov3dobject.so.1" OUTPUT_VARIABLE dynamic)
string(REGEX MATCHALL "NEEDED[^\n]*\\[[^\n]*\\]" needed "${dynamic}")
if(NOT needed)
    message(FATAL_ERROR "no needed libraries found:\n${dynamic}")
endif()
foreach(entry IN LISTS needed)
    if(NOT entry MATCHES "\\[(libframework\\.so\\.1|libqimageex\\.so\\.1|libQt5[A-Za-z]+\\.so\\.5|libGL\\.so\\.1|libstdc\\+\\+\\.so\\.6|libm\\.so\\.6|libgcc_s\\.so\\.1|libc\\.so\\.6|ld-linux-x86-64\\.so\\.2)\\]")
        message(FATAL_ERROR "the plug-in needs more than Qt and the host: ${entry}")
    endif()
endforeach()

build_installed(headers "${prefix}")
build_installed(consumer "${prefix}")
foreach(program loading_host linked_host)
    # The log goes into the working folder, where a "resources" folder has to stand.
    set(folder "${BUILD}/run/${program}")
    file(MAKE_DIRECTORY "${folder}/resources")
    run_or_fail("${program}" ${CMAKE_COMMAND} -E chdir "${folder}"
        "${BUILD}/consumer/${program}" "${prefix}/lib/libov3dobject.so.1")
endforeach()
