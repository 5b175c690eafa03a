# What Windows shows of the programs. Every text is a cache value, so a packager puts his own name on them
# without touching a source:
#
#   cmake --preset windows -DZELLAUNCHER_COMPANY="Example Ltd" -DZELLAUNCHER_ICON=/path/to/own.svg
set(ZELLAUNCHER_FILE_VERSION "" CACHE STRING
    "FileVersion of the programs, four numbers up to 65535. An installer replaces a file only by a higher one. Empty: the project's")
set(ZELLAUNCHER_PRODUCT_VERSION "" CACHE STRING "ProductVersion of the programs, any text. Empty: what -version reports")
set(ZELLAUNCHER_COMPANY "The zellauncher authors" CACHE STRING "CompanyName of the programs")
set(ZELLAUNCHER_PRODUCT "zellauncher" CACHE STRING "ProductName of the programs")
set(ZELLAUNCHER_COPYRIGHT "Copyright The zellauncher authors" CACHE STRING "LegalCopyright of the programs")
set(ZELLAUNCHER_DESCRIPTION "zellauncher" CACHE STRING "FileDescription of the launcher: its name in the task manager")
set(ZELLAUNCHER_ICON ${CMAKE_SOURCE_DIR}/packaging/icons/zellauncher.svg CACHE FILEPATH
    "Icon of the launcher: a drawing (.svg) or an icon (.ico)")
set(ZELEXPLAIN_DESCRIPTION "Explains a start of the launcher" CACHE STRING "FileDescription of zelexplain")
set(ZELEXPLAIN_ICON ${CMAKE_SOURCE_DIR}/packaging/icons/zelexplain.svg CACHE FILEPATH
    "Icon of zelexplain: a drawing (.svg) or an icon (.ico)")

find_program(RSVG_CONVERT rsvg-convert REQUIRED)
find_program(ICOTOOL icotool REQUIRED)

# Sets `result` to an .ico with the sizes that Windows asks for, made from a drawing. An .ico stays itself.
function(zellauncher_icon result drawing name)
  get_filename_component(drawing ${drawing} ABSOLUTE BASE_DIR ${CMAKE_SOURCE_DIR})
  if(NOT EXISTS ${drawing})
    message(FATAL_ERROR "there is no icon ${drawing}")
  endif()
  if(drawing MATCHES "\\.ico$")
    set(${result} ${drawing} PARENT_SCOPE)
    return()
  endif()
  set(icon ${CMAKE_CURRENT_BINARY_DIR}/generated/${name}.ico)
  set(commands "")
  set(images "")
  set(largest_plain 32)
  foreach(size 16 20 24 32 40 48 64 256)
    set(image ${CMAKE_CURRENT_BINARY_DIR}/generated/${name}-${size}.png)
    if(size GREATER largest_plain)
      list(APPEND images --raw=${image})
    else()
      list(APPEND images ${image})
    endif()
    list(APPEND commands COMMAND ${RSVG_CONVERT} --width ${size} --height ${size} --output ${image} ${drawing})
  endforeach()
  # Windows wants the largest one compressed, and older programs the small ones plain. Those between would be a
  # tenth of the launcher if they were plain.
  add_custom_command(OUTPUT ${icon} ${commands}
                     COMMAND ${ICOTOOL} --create --output ${icon} ${images}
                     DEPENDS ${drawing} VERBATIM)
  set(${result} ${icon} PARENT_SCOPE)
endfunction()

# A text as the resource compiler reads it between quotes.
function(zellauncher_resource_text result text)
  string(REPLACE "\\" "\\\\" text "${text}")
  string(REPLACE "\"" "\"\"" text "${text}")
  set(${result} "${text}" PARENT_SCOPE)
endfunction()

# Sets `result` to the resource of a program: version, texts, icon and manifest.
function(zellauncher_resource result name description drawing)
  set(version ${ZELLAUNCHER_FILE_VERSION})
  if(NOT version)
    set(version ${PROJECT_VERSION})
  endif()
  # The resource compiler reads 010 as 8, and keeps only the low 16 bits of a larger number.
  string(REPLACE "." ";" parts "${version}")
  list(LENGTH parts count)
  foreach(part IN LISTS parts)
    if(NOT part MATCHES "^(0|[1-9][0-9]?[0-9]?[0-9]?[0-9]?)$" OR part GREATER 65535)
      set(count 0)
    endif()
  endforeach()
  if(NOT count EQUAL 4)
    message(FATAL_ERROR "ZELLAUNCHER_FILE_VERSION is not four numbers up to 65535: ${version}")
  endif()
  string(REPLACE "." "," version_numbers ${version})
  set(product_version ${ZELLAUNCHER_PRODUCT_VERSION})
  if(NOT product_version)
    set(product_version ${ZELLAUNCHER_VERSION_TEXT})
  endif()
  zellauncher_icon(icon ${drawing} ${name})
  zellauncher_resource_text(company "${ZELLAUNCHER_COMPANY}")
  zellauncher_resource_text(product "${ZELLAUNCHER_PRODUCT}")
  zellauncher_resource_text(product_version "${product_version}")
  zellauncher_resource_text(copyright "${ZELLAUNCHER_COPYRIGHT}")
  zellauncher_resource_text(description "${description}")
  set(manifest ${CMAKE_CURRENT_BINARY_DIR}/generated/${name}.manifest)
  set(resource ${CMAKE_CURRENT_BINARY_DIR}/generated/${name}.rc)
  set(templates ${CMAKE_SOURCE_DIR}/src/platform/windows)
  configure_file(${templates}/program.manifest.in ${manifest} @ONLY)
  configure_file(${templates}/program.rc.in ${resource} @ONLY)
  set_source_files_properties(${resource} PROPERTIES OBJECT_DEPENDS "${icon};${manifest}")
  set(${result} ${resource} PARENT_SCOPE)
endfunction()
