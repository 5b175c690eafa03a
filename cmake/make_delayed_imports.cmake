# Makes DELAYED, a delay-load import library, from IMPORTS, the ordinary import library of LIBRARY.dll.
execute_process(COMMAND ${NM} --defined-only ${IMPORTS} OUTPUT_VARIABLE symbols ERROR_QUIET
                COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL " T [^\n]+" functions "${symbols}")
list(TRANSFORM functions REPLACE "^ T " "")
list(SORT functions)
list(REMOVE_DUPLICATES functions)
list(JOIN functions "\n" names)
file(WRITE ${DELAYED}.def "LIBRARY ${LIBRARY}.dll\nEXPORTS\n${names}\n")
# The path of the result becomes part of the names of symbols, which must not depend on the directory of the build.
get_filename_component(directory ${DELAYED} DIRECTORY)
get_filename_component(result ${DELAYED} NAME)
execute_process(COMMAND ${DLLTOOL} -d ${result}.def -D ${LIBRARY}.dll -y ${result} WORKING_DIRECTORY ${directory}
                COMMAND_ERROR_IS_FATAL ANY)
