# Makes DELAYED, a delay-load import library, from IMPORTS, the ordinary import library of LIBRARY.dll.
execute_process(COMMAND ${NM} --defined-only ${IMPORTS} OUTPUT_VARIABLE symbols ERROR_QUIET
                COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL " T [^\n]+" functions "${symbols}")
list(TRANSFORM functions REPLACE "^ T " "")
list(SORT functions)
list(REMOVE_DUPLICATES functions)
list(JOIN functions "\n" names)
file(WRITE ${DELAYED}.def "LIBRARY ${LIBRARY}.dll\nEXPORTS\n${names}\n")
execute_process(COMMAND ${DLLTOOL} -d ${DELAYED}.def -D ${LIBRARY}.dll -y ${DELAYED} COMMAND_ERROR_IS_FATAL ANY)
