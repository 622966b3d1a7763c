# The firmware's libraries as they are given (SIMULATOR=OFF): each is found under its name, or where the cache variable
# BMC_LIBRARY_<name> says; together they have every function that platform/ declares. What is missing is told here, all
# of it at once, and not by the loader on a board.

# The functions that the headers declare in their extern "C" blocks.
function(declared_functions result)
    set(functions)
    foreach(header ${ARGN})
        set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${header})
        file(READ ${header} text)
        string(REGEX REPLACE "//[^\n]*" "" text "${text}")
        string(REPLACE "[[nodiscard]]" "" text "${text}")
        if(NOT text MATCHES "\nextern \"C\" {\n") # the machine itself, or records
            continue()
        endif()
        string(REGEX REPLACE "^.*\nextern \"C\" {\n" "" text "${text}")
        string(FIND "${text}" "\n}\n" end) # what is inline stands behind it
        string(SUBSTRING "${text}" 0 ${end} text)
        foreach(declaration ${text}) # each ends in a semicolon, as the items of a list do
            if(declaration MATCHES "([A-Za-z_][A-Za-z_0-9]*)\\(")
                list(APPEND functions ${CMAKE_MATCH_1})
            endif()
        endforeach()
    endforeach()
    set(${result} ${functions} PARENT_SCOPE)
endfunction()

# The functions that a library defines.
function(defined_functions result library)
    set(dynamic -D)
    if(library MATCHES "\\.a$")
        set(dynamic)
    endif()
    execute_process(COMMAND ${CMAKE_NM} ${dynamic} --defined-only --format=posix ${library}
        OUTPUT_VARIABLE symbols RESULT_VARIABLE failed ERROR_VARIABLE error)
    if(failed)
        message(FATAL_ERROR "${library} cannot be read: ${error}")
    endif()
    string(REGEX MATCHALL "[A-Za-z_][A-Za-z_0-9]*(@@?[A-Za-z_0-9.]+)? [TWiV] " functions "\n${symbols}")
    list(TRANSFORM functions REPLACE "(@.*)? [TWiV] $" "")
    set(${result} ${functions} PARENT_SCOPE)
endfunction()

# A library without a name of its own (SONAME) is linked by -l: its path here would be looked for on the board.
function(import_library name library)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${library})
    add_library(${name} UNKNOWN IMPORTED)
    set_target_properties(${name} PROPERTIES IMPORTED_LOCATION ${library})
    execute_process(COMMAND ${CMAKE_READELF} -d ${library} OUTPUT_VARIABLE dynamic ERROR_QUIET)
    if(NOT dynamic MATCHES "\\(SONAME\\)")
        set_target_properties(${name} PROPERTIES IMPORTED_NO_SONAME ON)
    endif()
endfunction()

set(missing)
set(defined)
foreach(name ${BMC_LIBRARIES})
    # A directory that is given is meant as it stands; only then the target's own are looked through.
    find_library(BMC_LIBRARY_${name} ${name} PATHS ${CMAKE_LIBRARY_PATH} NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH
        DOC "the firmware's lib${name}")
    find_library(BMC_LIBRARY_${name} ${name})
    if(NOT BMC_LIBRARY_${name})
        list(APPEND missing "  lib${name}: not found, and -DBMC_LIBRARY_${name}=FILE not given")
        continue()
    endif()
    import_library(${name} ${BMC_LIBRARY_${name}})
    defined_functions(functions ${BMC_LIBRARY_${name}})
    list(APPEND defined ${functions})
endforeach()

if(NOT missing)
    set(count 0)
    file(GLOB headers CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/platform/*.h)
    foreach(header ${headers})
        declared_functions(functions ${header})
        foreach(function ${functions})
            math(EXPR count "${count} + 1")
            if(NOT function IN_LIST defined)
                cmake_path(GET header FILENAME file)
                list(APPEND missing "  ${function}: declared in platform/${file}, in none of the libraries")
            endif()
        endforeach()
    endforeach()
    message(STATUS "The firmware's libraries are asked for ${count} functions")
endif()
if(missing)
    list(JOIN missing "\n" missing)
    message(FATAL_ERROR "The firmware's libraries are not complete:\n${missing}\nDirectories are given by -DCMAKE_LIBRARY_PATH, files by the cache variables named.")
endif()

# What the libraries need themselves is the image's to have.
target_link_options(commonFlags INTERFACE -Wl,--allow-shlib-undefined)
