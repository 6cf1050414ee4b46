# Copies a pristine third-party tree into the build tree and applies the project's patches in
# order (patch -p1). Arguments: SRC (pristine directory), DST (output directory), PATCHES (a
# ;-list of patch files, may be empty), STAMP (file written on success).
file(REMOVE_RECURSE "${DST}")
file(COPY "${SRC}/" DESTINATION "${DST}")
foreach(p IN LISTS PATCHES)
    execute_process(COMMAND patch -p1 --quiet --forward --no-backup-if-mismatch -d "${DST}" -i "${p}"
                    RESULT_VARIABLE rc)
    if(NOT rc EQUAL 0)
        message(FATAL_ERROR "Applying ${p} to ${DST} failed")
    endif()
endforeach()
file(TOUCH "${STAMP}")
