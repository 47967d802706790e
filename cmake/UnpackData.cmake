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
file(REMOVE_RECURSE "${TARGET}")
file(RENAME "${fresh}" "${TARGET}")
