# Settings that hold for every target, and the two functions that make libraries, programs and tests.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
    set(CMAKE_BUILD_TYPE RelWithDebInfo CACHE STRING "" FORCE)
endif()
set(CMAKE_CXX_FLAGS_RELWITHDEBINFO "-O3 -g1")

# The tree runs where it stands and after installation: libraries are found beside the programs.
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/lib")
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/lib/static")
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")
set(CMAKE_BUILD_WITH_INSTALL_RPATH ON)

# Installed folders are those of GNUInstallDirs, and libraries go to lib unless CMAKE_INSTALL_LIBDIR says otherwise: the
# installed tree then has the shape of the build's, and can be moved as a whole.
if(NOT DEFINED CMAKE_INSTALL_LIBDIR)
    set(CMAKE_INSTALL_LIBDIR lib CACHE PATH "Where libraries are installed")
endif()
include(GNUInstallDirs)
set(OV3D_INSTALL_INCLUDEDIR "${CMAKE_INSTALL_INCLUDEDIR}/ov3dobject")
file(RELATIVE_PATH OV3D_LIBRARIES_FROM_PROGRAMS "${CMAKE_INSTALL_FULL_BINDIR}" "${CMAKE_INSTALL_FULL_LIBDIR}")
file(RELATIVE_PATH OV3D_LIBEXEC_FROM_LIBRARIES "${CMAKE_INSTALL_FULL_LIBDIR}" "${CMAKE_INSTALL_FULL_LIBEXECDIR}")
set(CMAKE_INSTALL_RPATH "$ORIGIN/../lib" "$ORIGIN" "$ORIGIN/${OV3D_LIBRARIES_FROM_PROGRAMS}")
list(REMOVE_DUPLICATES CMAKE_INSTALL_RPATH)

find_program(OV3D_CCACHE ccache)
if(OV3D_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_CXX_COMPILER_LAUNCHER "${OV3D_CCACHE}")
endif()

if(OV3D_SANITIZE)
    add_compile_options(-fsanitize=${OV3D_SANITIZE} -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${OV3D_SANITIZE})
endif()

# Warnings, include paths and definitions for code of ours. Every include is relative to the repository's root.
function(ov3d_configure_target target)
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion
                                             $<$<BOOL:${OV3D_WERROR}>:-Werror>)
    target_include_directories(${target} PRIVATE "${PROJECT_SOURCE_DIR}")
    target_compile_definitions(${target} PRIVATE QT_NO_CAST_TO_ASCII QT_NO_KEYWORDS QT_DEPRECATED_WARNINGS)
endfunction()

# ov3d_add_test(name SOURCES ... [LIBRARIES ...] [LABELS ...] [TIMEOUT seconds] [ENVIRONMENT VAR=VALUE ...] [ARGUMENTS ...])
#
# One executable a topic. Every test runs without a display server and with a working folder of its own. (The address
# sanitizer's alternate signal stack does not survive the end of a thread that was terminated.)
function(ov3d_add_test name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "SERIAL" "TIMEOUT" "SOURCES;LIBRARIES;LABELS;ENVIRONMENT;ARGUMENTS")
    add_executable(${name} ${arg_SOURCES})
    set_target_properties(${name} PROPERTIES AUTOMOC ON RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/tests")
    ov3d_configure_target(${name})
    target_link_libraries(${name} PRIVATE ${arg_LIBRARIES} ov3d_test_support Qt5::Test)
    if(NOT arg_TIMEOUT)
        set(arg_TIMEOUT 120)
    endif()
    set(folder "${CMAKE_BINARY_DIR}/tests/run/${name}")
    file(MAKE_DIRECTORY "${folder}")
    add_test(NAME ${name} COMMAND ${name} ${arg_ARGUMENTS} WORKING_DIRECTORY "${folder}")
    set_tests_properties(${name} PROPERTIES TIMEOUT ${arg_TIMEOUT} LABELS "${arg_LABELS}"
        ENVIRONMENT "QT_QPA_PLATFORM=offscreen;LC_ALL=C.UTF-8;LSAN_OPTIONS=suppressions=${PROJECT_SOURCE_DIR}/tests/support/lsan.supp:print_suppressions=0;ASAN_OPTIONS=use_sigaltstack=0;${arg_ENVIRONMENT}")
    if(arg_SERIAL)
        set_tests_properties(${name} PROPERTIES RUN_SERIAL ON)
    endif()
endfunction()
