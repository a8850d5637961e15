# `cpack -G ZIP`: libraries, headers and the DLLs that they need in one archive.
set(CPACK_PACKAGE_VENDOR Brennic)
set(CPACK_GENERATOR ZIP)
set(BRN_ZIP_NAME "${PROJECT_NAME}-${PROJECT_VERSION}-win64")
set(CPACK_PACKAGE_FILE_NAME ${BRN_ZIP_NAME})
set(CPACK_STRIP_FILES ON)
include(CPack)
