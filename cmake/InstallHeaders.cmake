# orvix_public_headers(<result> <header>...): the headers, relative to src, that a user of the library
# needs to include the given ones: these and what they include themselves.
function(orvix_public_headers result)
    set(open ${ARGN})
    set(found "")
    while(open)
        list(POP_FRONT open header)
        if(header IN_LIST found)
            continue()
        endif()
        list(APPEND found ${header})
        file(STRINGS ${PROJECT_SOURCE_DIR}/src/${header} lines REGEX "^#include \"")
        foreach(line ${lines})
            string(REGEX REPLACE "^#include \"([^\"]*)\".*" "\\1" included ${line})
            list(APPEND open ${included})
        endforeach()
    endwhile()
    set(${result} ${found} PARENT_SCOPE)
endfunction()

# orvix_install_headers(<header>...): installs them under include/orvix, folders kept.
function(orvix_install_headers)
    foreach(header ${ARGN})
        get_filename_component(folder ${header} DIRECTORY)
        install(FILES ${PROJECT_SOURCE_DIR}/src/${header} COMPONENT development
                DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/orvix/${folder})
    endforeach()
endfunction()
