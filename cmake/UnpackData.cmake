# Lays out the ready table directory: the small tables as they stand and the packed ones unpacked.
# Called with -DSOURCE=<data directory> -DTARGET=<table directory>. The directory is made beside its
# final place and renamed, so a broken-off build leaves no half of it.
set(fresh "${TARGET}.new")
file(REMOVE_RECURSE "${fresh}")
file(MAKE_DIRECTORY "${fresh}")
file(GLOB tables "${SOURCE}/tab/*.tab")
foreach(table ${tables})
    file(COPY "${table}" DESTINATION "${fresh}")
endforeach()
file(GLOB archives "${SOURCE}/packed/*.tar.xz")
foreach(archive ${archives})
    file(ARCHIVE_EXTRACT INPUT "${archive}" DESTINATION "${fresh}")
endforeach()
# An image of the tables knows them by their times; those of the archives are all the same.
file(GLOB laid_out "${fresh}/*")
file(TOUCH ${laid_out})
# What `sha256sum -c` and `orvix data verify` compare with.
set(sums "")
foreach(table ${laid_out})
    file(SHA256 "${table}" sum)
    get_filename_component(name "${table}" NAME)
    string(APPEND sums "${sum}  ${name}\n")
endforeach()
file(WRITE "${fresh}/SHA256SUMS" "${sums}")
file(REMOVE_RECURSE "${TARGET}")
file(RENAME "${fresh}" "${TARGET}")
