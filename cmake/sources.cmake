# Source lists are explicit. This function checks them: a listed file that is missing, or a *.cpp file
# of the directory that is not listed, fails the configuration. So a renamed test file cannot drop out
# of the build unnoticed. Sets `result` to the paths.
function(zellauncher_sources result directory)
  set(paths ${ARGN})
  list(TRANSFORM paths PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/${directory}/)
  file(GLOB present CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${directory}/*.cpp)
  foreach(path ${paths})
    if(NOT EXISTS ${path})
      message(FATAL_ERROR "${path} is in a source list but does not exist")
    endif()
  endforeach()
  list(REMOVE_ITEM present ${paths})
  if(present)
    message(FATAL_ERROR "in no source list: ${present}")
  endif()
  set(${result} ${paths} PARENT_SCOPE)
endfunction()
