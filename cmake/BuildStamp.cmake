# Writes OUTPUT from TEMPLATE with the short commit id of SOURCE_DIR, empty outside a repository.
execute_process(COMMAND git rev-parse --short HEAD
    WORKING_DIRECTORY ${SOURCE_DIR}
    OUTPUT_VARIABLE COMMIT_SHORT OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET RESULT_VARIABLE failed)
if(failed)
    set(COMMIT_SHORT "")
endif()
configure_file(${TEMPLATE} ${OUTPUT} @ONLY) # leaves an unchanged file alone
