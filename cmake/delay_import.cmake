# Delay-load import libraries for the Windows libraries that are not Known DLLs.
#
# A library imported the ordinary way is mapped by the loader before the program's first line, and
# the loader looks in the program's own folder first: a DLL planted there under that name runs. A
# library imported through one of these is not mapped at start; MinGW-w64's delay-load helper
# (__delayLoadHelper2, in libmingwex) loads it with LoadLibrary on the first call into it, so it
# honours the default DLL directories that wWinMain restricts to System32 before anything else.
#
# nv_delay_import_libraries(<out-var> <name>...): for each lib<name>.a of the toolchain, a library
# with the same functions (data exports cannot be delay-loaded, and none is used) made at configure
# time into <build>/delay-import/; <out-var> receives their paths.
function(nv_delay_import_libraries out)
  set(dir ${CMAKE_BINARY_DIR}/delay-import)
  file(MAKE_DIRECTORY ${dir})
  set(made)
  foreach(name ${ARGN})
    find_library(NV_IMPORT_${name} NAMES lib${name}.a REQUIRED NO_CACHE)
    execute_process(COMMAND ${CMAKE_DLLTOOL} --identify ${NV_IMPORT_${name}}
                    OUTPUT_VARIABLE dll OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    execute_process(COMMAND ${CMAKE_NM} -g --defined-only ${NV_IMPORT_${name}}
                    OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)
    # A function has both its thunk (T name) and its address slot (I __imp_name).
    string(REGEX MATCHALL "[0-9a-f]+ T [A-Za-z_][A-Za-z0-9_@]*" thunks "${symbols}")
    set(exports)
    foreach(thunk ${thunks})
      string(REGEX REPLACE "^[0-9a-f]+ T " "" function "${thunk}")
      if(symbols MATCHES " I __imp_${function}\n")
        list(APPEND exports "  ${function}")
      endif()
    endforeach()
    list(REMOVE_DUPLICATES exports)
    list(SORT exports)
    list(JOIN exports "\n" exports)
    file(WRITE ${dir}/${name}.def "LIBRARY \"${dll}\"\nEXPORTS\n${exports}\n")
    execute_process(COMMAND ${CMAKE_DLLTOOL} --dllname ${dll} --def ${dir}/${name}.def
                            --output-delaylib ${dir}/lib${name}-delay.a
                    WORKING_DIRECTORY ${dir} COMMAND_ERROR_IS_FATAL ANY)
    list(APPEND made ${dir}/lib${name}-delay.a)
  endforeach()
  set(${out} ${made} PARENT_SCOPE)
endfunction()
