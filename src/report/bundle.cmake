# Makes one page of its template, style sheet, scripts, plot library and licence texts, and a C++ source
# that holds the page as a string.
#
# cmake -DTEMPLATE= -DSTYLE= -DSCRIPTS=a.js,b.js -DLIBRARY= -DLICENCES= -DPAGE= -DSOURCE= -DSYMBOL= -P bundle.cmake
#
# The scripts are modules that import each other by name. In the page they stand in one scope in the
# given order, without their import lines and export words.

function(put mark text)
    string(FIND "${page}" "@${mark}@" place)
    if(place EQUAL -1)
        message(FATAL_ERROR "${TEMPLATE}: no place for @${mark}@")
    endif()
    string(REPLACE "@${mark}@" "${text}" page "${page}")
    set(page "${page}" PARENT_SCOPE)
endfunction()

# A text inside of a script element must not end it.
function(check_script file text)
    string(TOLOWER "${text}" lower)
    foreach(end "</script" "<!--")
        string(FIND "${lower}" "${end}" place)
        if(NOT place EQUAL -1)
            message(FATAL_ERROR "${file} holds ${end}, which would end its script element")
        endif()
    endforeach()
endfunction()

file(READ "${TEMPLATE}" page)
file(READ "${STYLE}" style)
put(ORVIX_STYLE "${style}")

if(LIBRARY)
    file(READ "${LIBRARY}" library)
    check_script("${LIBRARY}" "${library}")
    put(ORVIX_PLOT_LIBRARY "${library}")
    string(REPLACE "," ";" licence_files "${LICENCES}")
    set(licence "")
    foreach(file ${licence_files})
        file(READ "${file}" text)
        string(APPEND licence "${text}\n")
    endforeach()
    string(REPLACE "&" "&amp;" licence "${licence}")
    string(REPLACE "<" "&lt;" licence "${licence}")
    put(ORVIX_PLOT_LICENCE "${licence}")
endif()

string(REPLACE "," ";" script_files "${SCRIPTS}")
set(script "")
foreach(file ${script_files})
    file(READ "${file}" text)
    check_script("${file}" "${text}")
    string(REGEX REPLACE "(^|\n)import {[^}]*} from \"[^\"]*\";" "\\1" text "${text}")
    string(REGEX REPLACE "(^|\n)export (async |)(function|class|const)" "\\1\\2\\3" text "${text}")
    string(REGEX MATCH "(^|\n)(import|export) [^\n]*" rest "${text}")
    if(rest)
        message(FATAL_ERROR "${file}: a form of import or export that the bundle can't take: ${rest}")
    endif()
    string(APPEND script "${text}\n")
endforeach()
put(ORVIX_SCRIPT "${script}")

string(FIND "${page}" "@ORVIX_RECORD@" place)
string(FIND "${page}" "@ORVIX_RECORD@" last REVERSE)
if(place EQUAL -1 OR NOT place EQUAL last)
    message(FATAL_ERROR "${TEMPLATE}: expected @ORVIX_RECORD@ exactly once in the page")
endif()
file(WRITE "${PAGE}" "${page}")

string(FIND "${page}" ")orvixpage\"" place)
if(NOT place EQUAL -1)
    message(FATAL_ERROR "${PAGE} holds the end of its own string literal")
endif()
file(WRITE "${SOURCE}" "#include \"report/pages.h\"

namespace orvix::report {
const std::string_view ${SYMBOL} = R\"orvixpage(${page})orvixpage\";
}  // namespace orvix::report
")
