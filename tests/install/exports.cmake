# Proves what libov3dobject.so.1 shows to the world: exactly the interface's names, its soname, and libGL among what it
# needs. Needs LIBRARY, NM and READELF.

set(expected
    _Z12SetRunHandlePFviPPKcPvE
    _Z14getOpenglMatchv
    _Z14render3DObjectPcR6QImageii
    _Z17endRender3DObjectv
    _Z19beginRender3DObjectv
    _Z23createObject_ov3dobjectiib
    cntx g_3d_handle g_app_path g_app_path_log g_begin_render g_dirNum g_dir_map g_end_render g_image_render g_match
    g_object_id g_progress g_run g_run_view m_pyramidUpdate whell_call)

function(read_or_fail result)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE errors)
    if(NOT status EQUAL 0)
        message(FATAL_ERROR "${ARGN} failed (${status}): ${errors}")
    endif()
    set(${result} "${output}" PARENT_SCOPE)
endfunction()

read_or_fail(table ${NM} -D --defined-only "${LIBRARY}")
string(REGEX MATCHALL "[^\n]+" lines "${table}")
set(found "")
foreach(line IN LISTS lines)
    string(REGEX REPLACE "^.* " "" name "${line}")
    list(APPEND found "${name}")
endforeach()

set(missing ${expected})
set(surplus ${found})
if(found)
    list(REMOVE_ITEM missing ${found})
endif()
list(REMOVE_ITEM surplus ${expected})
if(missing)
    message(FATAL_ERROR "not exported: ${missing}")
endif()
if(surplus)
    message(FATAL_ERROR "exported beyond the interface: ${surplus}")
endif()
list(LENGTH found count)
if(NOT count EQUAL 22)
    message(FATAL_ERROR "${count} names instead of 22: ${found}")
endif()

read_or_fail(dynamic ${READELF} -d -W "${LIBRARY}")
foreach(form "SONAME[^\n]*\\[libov3dobject\\.so\\.1\\]" "NEEDED[^\n]*\\[libGL\\.so\\.1\\]" "FLAGS_1[^\n]*NODELETE")
    if(NOT dynamic MATCHES "${form}")
        message(FATAL_ERROR "the dynamic section has no ${form}:\n${dynamic}")
    endif()
endforeach()

# A host that is linked with the plug-in takes copies of the variables, and the plug-in must use those.
if(dynamic MATCHES "SYMBOLIC")
    message(FATAL_ERROR "linked with -Bsymbolic:\n${dynamic}")
endif()
read_or_fail(symbols ${READELF} --dyn-syms -W "${LIBRARY}")
if(symbols MATCHES "PROTECTED")
    message(FATAL_ERROR "exported with protected visibility:\n${symbols}")
endif()
