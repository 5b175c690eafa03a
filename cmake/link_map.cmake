# Lets the linker write <program>.map, the list of everything that is linked in. The bill of materials is
# made from it.
function(zellauncher_link_map program)
  target_link_options(${program} PRIVATE -Wl,-Map=${CMAKE_BINARY_DIR}/${program}.map)
endfunction()
