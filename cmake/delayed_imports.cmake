# Makes the programs that link `target` load these system libraries at the first use of one of their
# functions instead of at program start. The loader would look for an ordinary import beside the program,
# before any of the program's code can restrict the search. The toolchain's import libraries have the
# functions' names.
function(zellauncher_delay_imports target)
  set(linker ${CMAKE_CXX_COMPILER})
  if(ZELLAUNCHER_LINKER)  # the toolchain links with another compiler
    set(linker ${ZELLAUNCHER_LINKER})
  endif()
  foreach(library ${ARGN})
    execute_process(COMMAND ${linker} -print-file-name=lib${library}.a
                    OUTPUT_VARIABLE imports OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    set(delayed ${CMAKE_CURRENT_BINARY_DIR}/lib${library}_delayed.a)
    add_custom_command(
      OUTPUT ${delayed}
      COMMAND ${CMAKE_COMMAND} -DNM=${CMAKE_NM} -DDLLTOOL=${CMAKE_DLLTOOL} -DIMPORTS=${imports} -DLIBRARY=${library}
              -DDELAYED=${delayed} -P ${CMAKE_SOURCE_DIR}/cmake/make_delayed_imports.cmake
      DEPENDS ${imports} ${CMAKE_SOURCE_DIR}/cmake/make_delayed_imports.cmake
      VERBATIM)
    add_custom_target(${target}_${library}_delayed DEPENDS ${delayed})
    add_dependencies(${target} ${target}_${library}_delayed)
    target_link_libraries(${target} PUBLIC ${delayed})
  endforeach()
  target_link_libraries(${target} PUBLIC delayimp)
endfunction()
